#include <stdexcept>

#include "account/installation.h"
#include "component/classes.h"
#include "component/component_object.h"
#include "component/guarded.h"

namespace brindlemoss::component {

using brindlemoss::account::installation;

namespace {

class version final : public component_object<IVersion> {
public:
    using component_object::component_object;

    status Partner(std::int32_t& Result) noexcept override {
        Result = 0;
        return guarded(subsystem::version, "Partner", [&] {
            Result = static_cast<std::int32_t>(installation::instance().partner());
        });
    }

    status Current(std::u16string& Result) noexcept override {
        Result.clear();
        return guarded(subsystem::version, "Current",
                       [&] { Result = wide_utf8(installation::instance().version()); });
    }

    status Available(std::u16string&) noexcept override { return not_implemented; }

    status Path(std::u16string& Result) noexcept override {
        Result.clear();
        return guarded(subsystem::version, "Path",
                       [&] { Result = wide_utf8(installation::instance().directory()); });
    }

    status Upgrade() noexcept override { return not_implemented; }

    status Remove() noexcept override {
        return guarded(subsystem::version, "Remove", [] {
            if (!installation::instance().remove()) {
                throw std::runtime_error("the product could not be removed");
            }
        });
    }
};

}  // namespace

std::unique_ptr<object> make_version(const class_row& row) {
    return std::make_unique<version>(row);
}

}  // namespace brindlemoss::component
