#include "community/communication.h"

#include "component/classes.h"
#include "component/component_object.h"
#include "component/guarded.h"

namespace brindlemoss::component {

namespace {

class communication final : public component_object<ICommunication> {
public:
    using component_object::component_object;

    status Reset(truth& Result) noexcept override {
        Result = no;
        return guarded(subsystem::communication, "Reset", [&] {
            spam::communication::instance()->reset();
            Result = yes;
        });
    }

    status Failing(truth&) noexcept override { return not_implemented; }
    status Roundtrip(std::int32_t&) noexcept override { return not_implemented; }
    status Score(std::u16string_view, std::int32_t&) noexcept override { return not_implemented; }
    status Vote(std::u16string_view, std::int32_t, std::int32_t&) noexcept override {
        return not_implemented;
    }

    status Ping(truth& Result) noexcept override {
        Result = no;
        return guarded(subsystem::communication, "Ping",
                       [&] { Result = as_truth(spam::communication::instance()->ping()); });
    }

    status Offline(truth& Result) noexcept override {
        Result = no;
        return guarded(subsystem::communication, "Offline",
                       [&] { Result = as_truth(spam::communication::offline()); });
    }

    status Shutdown() noexcept override {
        return guarded(subsystem::communication, "Shutdown",
                       [] { spam::communication::shutdown(); });
    }
};

}  // namespace

std::unique_ptr<object> make_communication(const class_row& row) {
    return std::make_unique<communication>(row);
}

}  // namespace brindlemoss::component
