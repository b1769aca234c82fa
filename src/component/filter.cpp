#include "component/filter.h"

#include <exception>
#include <string>

#include "analysis/filter_engine.h"
#include "foundation/ascii.h"
#include "foundation/module.h"
#include "message/character_set.h"
#include "message/part.h"

namespace brindlemoss::component {

namespace unicode = replay::unicode;
using analysis::filter_engine;
using brindlemoss::module;
using replay::internet::message2::header;
using replay::internet::message2::part;

namespace {

constexpr int failure_level = 3;

void log_failure(std::string_view line) noexcept try {
    module::instance().log_of(subsystem::filter).write(failure_level, line);
} catch (...) {  // then there is nobody left to tell
}

part parse(std::u16string_view message) {
    return part(unicode::from_wide(message, unicode::byte_for_byte));
}

std::u16string merged(std::u16string_view message, std::u16string_view head) {
    part target = parse(message);
    const part source = parse(head);
    for (const header& each : source.headers) {
        if (replay::ascii::equals_ignoring_case(each.name, "received")) {
            target.add_header(each.name, each.value);
        }
    }
    std::string text;
    target.unparse([&](std::string_view line) { text.append(line).append("\r\n"); });
    return unicode::to_wide(text, unicode::byte_for_byte);
}

}  // namespace

std::int32_t filter::score(std::u16string_view message, bool orphan) const noexcept try {
    module::instance().load(module::armed_by::library);
    part parsed = parse(message);
    const auto when = orphan ? analysis::occasion::first : analysis::occasion::again;
    return filter_engine::instance().score(parsed, when).rating;
} catch (const std::exception& error) {
    log_failure(std::string("Unhandled Exception: ") + error.what());
    return 0;
}

std::int32_t filter::vote(std::u16string_view message, std::int32_t score) const noexcept try {
    module::instance().load(module::armed_by::library);
    const part parsed = parse(message);
    if (score >= 0) {
        filter_engine::instance().report(parsed);
    } else {
        filter_engine::instance().revoke(parsed);
    }
    return 1;
} catch (...) {
    log_failure("Unhandled Exception");
    return 1;
}

std::u16string filter::merge_header(std::u16string_view message,
                                    std::u16string_view header) const noexcept try {
    return merged(message, header);
} catch (...) {
    return std::u16string(message);
}

}  // namespace brindlemoss::component
