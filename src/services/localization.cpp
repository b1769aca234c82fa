#include "services/localization.h"

#include <set>
#include <utility>

#include "account/installation.h"
#include "foundation/registry.h"
#include "platform/character_class.h"
#include "platform/store.h"
#include "services/language_files.h"

namespace brindlemoss::services {

namespace registry = replay::registry2;
using registry::setting_of;
using registry::tree_key;
using replay::platform::to_lower;

namespace {

constexpr const registry::setting& language_setting = setting_of(tree_key::user_root, u"Language");

std::uint32_t installed_partner() {
    try {
        return account::installation::instance().partner();
    } catch (const registry::key_error& error) {
        const auto fault = static_cast<replay::platform::store_fault>(error.number());
        if (fault != replay::platform::store_fault::not_found) throw;
        return 0;
    }
}

const std::u16string* text_in(const std::optional<string_table>& table, std::u16string_view group,
                              std::u16string_view item) {
    if (!table) return nullptr;
    const std::u16string* const text = table->find(group, item);
    return text == nullptr || text->empty() ? nullptr : text;
}

std::u16string display_field(const string_table& table, std::u16string_view item) {
    const std::u16string* const text = table.find(u"system", item);
    return text == nullptr ? std::u16string() : *text;
}

}  // namespace

void localization::reload() {
    const replay::scope writing(guard_);
    const std::string folder = language_files::folder();
    const std::uint32_t partner = installed_partner();
    // Without a choice there is no language of the user's, whatever the default of others.
    const std::u16string language =
        registry::at(language_setting.key)
            .get_text(language_setting.name, {}, registry::write_back::no);
    language_table_ = string_table::read(language_files::path_of(folder, language, partner));
    fallback_table_ = string_table::read(language_files::path_of(folder, u"EN", partner));
}

std::optional<std::u16string> localization::get_string(std::u16string_view group,
                                                       std::u16string_view item) const {
    const replay::const_scope reading(guard_);
    const std::u16string group_key = to_lower(group);
    const std::u16string item_key = to_lower(item);
    for (const auto* const table : {&language_table_, &fallback_table_}) {
        if (const std::u16string* const text = text_in(*table, group_key, item_key)) return *text;
    }
    return std::nullopt;
}

void localization::set_language(std::u16string_view iso) {
    const replay::scope writing(guard_);
    registry::at(language_setting.key).set_text(language_setting.name, iso);
}

std::u16string localization::get_languages() const {
    const replay::const_scope reading(guard_);
    std::u16string rows;
    std::set<std::u16string> listed;
    for (const language_files::listed_file& file : language_files::list(language_files::folder())) {
        if (!listed.insert(to_lower(file.iso)).second) continue;
        const string_table table = string_table::read(file.path);
        rows.append(file.iso).append(u"\t").append(display_field(table, u"3"));
        rows.append(u"\t").append(display_field(table, u"4")).append(u"\r");
    }
    return rows;
}

}  // namespace brindlemoss::services
