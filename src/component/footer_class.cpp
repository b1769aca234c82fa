#include "component/classes.h"
#include "component/component_object.h"
#include "component/guarded.h"
#include "services/footer_engine.h"

namespace brindlemoss::component {

using services::footer_engine;

namespace {

class footer final : public component_object<IFooter> {
public:
    using component_object::component_object;

    status Insert(std::u16string& Serialized, truth& Result) noexcept override {
        Result = no;
        return guarded(subsystem::footer, "Insert", [&] {
            std::string message = bytes_of(Serialized);
            if (!footer_engine::instance().insert(message)) return;
            Serialized = wide_bytes(message);
            Result = yes;
        });
    }

    status GetFooter(std::u16string_view ContentType, std::u16string& Footer,
                     truth& Insert) noexcept override {
        Insert = no;
        return guarded(subsystem::footer, "GetFooter", [&] {
            auto found = footer_engine::instance().get_footer(ContentType);
            if (!found) return;
            Footer = *std::move(found);
            Insert = yes;
        });
    }
};

}  // namespace

std::unique_ptr<object> make_footer(const class_row& row) {
    return std::make_unique<footer>(row);
}

}  // namespace brindlemoss::component
