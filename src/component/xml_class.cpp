#include <mutex>
#include <utility>

#include "account/settings_document.h"
#include "component/classes.h"
#include "component/component_object.h"
#include "component/guarded.h"

namespace brindlemoss::component {

using brindlemoss::account::settings_document;

namespace {

class xml final : public component_object<IXML> {
public:
    using component_object::component_object;

    status Parse(std::u16string_view Document) noexcept override {
        return guarded(main_log(), "XML: Parse",
                       [&] { keep(std::make_shared<const settings_document>(Document)); });
    }

    status Setting(std::u16string_view Name, std::u16string& Result) noexcept override {
        Result.clear();
        return guarded(main_log(), "XML: Setting", [&] {
            if (const auto document = kept()) Result = document->setting(Name);
        });
    }

private:
    using document_pointer = std::shared_ptr<const settings_document>;

    void keep(document_pointer document) {
        const std::lock_guard guard(lock_);
        document_.swap(document);  // the old one may be large and ends with the parameter, unlocked
    }

    document_pointer kept() {
        const std::lock_guard guard(lock_);
        return document_;
    }

    std::mutex lock_;
    document_pointer document_;  // guarded by lock_; null until there is one
};

}  // namespace

std::unique_ptr<object> make_xml(const class_row& row) {
    return std::make_unique<xml>(row);
}

}  // namespace brindlemoss::component
