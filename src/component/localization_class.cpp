#include "component/classes.h"
#include "component/component_object.h"
#include "component/guarded.h"
#include "services/localization.h"

namespace brindlemoss::component {

namespace {

class localization final : public component_object<ILocalization> {
public:
    using component_object::component_object;

    status Reload() noexcept override {
        return guarded(main_log(), "Localization: Reload", [&] { texts_.reload(); });
    }

    status GetString(std::u16string_view Group, std::u16string_view Item,
                     std::u16string& Result) noexcept override {
        return guarded(main_log(), "Localization: GetString", [&] {
            if (auto text = texts_.get_string(Group, Item)) Result = *std::move(text);
        });
    }

    status SetLanguage(std::u16string_view ISO) noexcept override {
        return guarded(main_log(), "Localization: SetLanguage", [&] { texts_.set_language(ISO); });
    }

    status GetLanguages(std::u16string& Result) noexcept override {
        Result.clear();
        return guarded(main_log(), "Localization: GetLanguages",
                       [&] { Result = texts_.get_languages(); });
    }

private:
    services::localization texts_;
};

}  // namespace

std::unique_ptr<object> make_localization(const class_row& row) {
    return std::make_unique<localization>(row);
}

}  // namespace brindlemoss::component
