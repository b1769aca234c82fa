#include <string>

#include "analysis/filter_engine.h"
#include "component/classes.h"
#include "component/component_object.h"
#include "component/guarded.h"
#include "component/rating.h"
#include "foundation/ascii.h"
#include "message/part.h"

namespace brindlemoss::component {

using analysis::filter_engine;
using replay::internet::message2::header;
using replay::internet::message2::part;

namespace {

void log_failure(std::string_view line) noexcept try {
    module::instance().log_of(subsystem::filter).write(3, line);
} catch (...) {  // then there is nobody left to tell
}

// The rating of the raw message that `read` gives; 0 when anything goes wrong.
template <typename reader>
std::int32_t rating_of(reader&& read, bool orphan) noexcept try {
    const running_call call;
    part message(read());
    const auto when = orphan ? analysis::occasion::first : analysis::occasion::again;
    return filter_engine::instance().score(message, when).rating;
} catch (const std::exception& error) {
    log_unhandled(error);
    return 0;
} catch (...) {
    log_failure("Unhandled Exception");
    return 0;
}

std::string merged(std::string_view message, std::string_view head) {
    part target{message};
    const part source{head};
    for (const header& each : source.headers) {
        if (replay::ascii::equals_ignoring_case(each.name, "received")) {
            target.add_header(each.name, each.value);
        }
    }
    return target.unparse_text(message.size());
}

void vote(std::u16string_view message, std::int32_t score) {
    const part parsed(bytes_of(message));
    if (score >= 0) {
        filter_engine::instance().report(parsed);
    } else {
        filter_engine::instance().revoke(parsed);
    }
}

class filter final : public component_object<IFilter> {
public:
    using component_object::component_object;

    status Score(std::u16string_view Message, truth Orphan,
                 std::int32_t& Result) noexcept override {
        Result = rating_of([&] { return bytes_of(Message); }, Orphan != no);
        return success;
    }

    status Vote(std::u16string_view Message, std::int32_t Score,
                std::int32_t& Result) noexcept override try {
        Result = 1;
        const running_call call;
        vote(Message, Score);
        return success;
    } catch (...) {
        log_failure("Unhandled Exception");
        return success;
    }

    status Signature(std::u16string_view, std::u16string&) noexcept override {
        return not_implemented;
    }
    status UnicodeToUTF8(std::u16string_view, std::u16string&) noexcept override {
        return not_implemented;
    }
    status SignatureFromPart(std::u16string_view, std::u16string_view,
                             std::u16string&) noexcept override {
        return not_implemented;
    }

    status MergeHeader(std::u16string_view Message, std::u16string_view Header,
                       std::u16string& Result) noexcept override try {
        try {
            const running_call call;
            Result = wide_bytes(merged(bytes_of(Message), bytes_of(Header)));
        } catch (const std::exception& error) {
            log_unhandled(error);
            Result = Message;
        } catch (...) {
            log_failure("Unhandled Exception");
            Result = Message;
        }
        return success;
    } catch (...) {  // not even room for a copy
        Result.clear();
        return success;
    }
};

}  // namespace

std::int32_t rate(std::string_view raw, bool orphan) noexcept {
    return rating_of([&] { return raw; }, orphan);
}

void log_unhandled(const std::exception& error) noexcept try {
    log_failure(std::string("Unhandled Exception: ") + error.what());
} catch (...) {
}

std::unique_ptr<object> make_filter(const class_row& row) {
    return std::make_unique<filter>(row);
}

}  // namespace brindlemoss::component
