#include "component/classes.h"
#include "component/component_object.h"

namespace brindlemoss::component {

namespace {

class antivirus final : public component_object<IAntiVirus> {
public:
    using component_object::component_object;

    status Version(std::u16string&, std::u16string&, truth&) noexcept override {
        return not_implemented;
    }
    status Infected(std::u16string_view, std::u16string&, std::u16string&,
                    truth&) noexcept override {
        return not_implemented;
    }
    status AssumeEncryptedInfected(truth) noexcept override { return not_implemented; }
};

}  // namespace

std::unique_ptr<object> make_antivirus(const class_row& row) {
    return std::make_unique<antivirus>(row);
}

}  // namespace brindlemoss::component
