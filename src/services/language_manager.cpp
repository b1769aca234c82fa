#include "services/language_manager.h"

#include <algorithm>
#include <cstdio>
#include <mutex>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

#include "account/installation.h"
#include "foundation/module.h"
#include "foundation/registry.h"
#include "foundation/variant.h"
#include "message/character_set.h"
#include "message/html_reader.h"

namespace brindlemoss::services {

namespace registry = replay::registry2;
namespace unicode = replay::unicode;
using language::identification;
using registry::setting_of;
using registry::tree_key;
using replay::internet::message2::part;
using replay::internet::message2::part_map;

namespace {

constexpr int detail_level = 0;

// No identifier is taken to bear two threads at a time, whoever made it.
std::mutex identifying;

// Languages by their weights. Of equal weights the higher number stands behind.
class weights {
public:
    void add(std::uint32_t language, std::uint16_t weight) {
        const auto before = std::find_if(pairs_.begin(), pairs_.end(),
                                         [&](const auto& pair) { return pair.second == language; });
        if (before != pairs_.end()) {
            weight = static_cast<std::uint16_t>(weight + before->first);
            pairs_.erase(before);
        }
        pairs_.insert({weight, language});
    }

    std::uint32_t heaviest() const { return pairs_.empty() ? 0 : pairs_.rbegin()->second; }

private:
    std::set<std::pair<std::uint16_t, std::uint32_t>> pairs_;
};

bool is_text_to_read(const part& item, std::uint32_t level) {
    constexpr std::uint32_t root_level = 0;
    if (item.attachment().is_attachment && level != root_level) return false;
    return item.content_type.starts_with("text/");
}

// The text of a part as a reader sees it; `converted` holds it where it is not the part's own.
std::u16string_view plain_text(part& item, std::u16string& converted) {
    if (item.content_type != "text/html") return item.text();
    replay::html::convert_to_text converter;
    replay::html::parse(item.text(), converter);
    converted = std::move(converter.result);
    return converted;
}

std::string report_line(const part& item, const identification& found) {
    std::string line;
    unicode::append_bytes(unicode::to_wide(item.content_type, unicode::byte_for_byte),
                          unicode::utf8, line);
    if (found.status < identification::recognised) {
        return line + ": Status: " + std::to_string(found.status);
    }
    return line + ": LCID: " + std::to_string(static_cast<std::int32_t>(found.language)) +
           " Weight: " + std::to_string(found.weight);
}

// What the identifier can do without is not worth failing for.
std::u16string text_or_nothing(const registry::setting& row) {
    try {
        return registry::get_text(row, registry::write_back::no);
    } catch (const registry::generic&) {
        return {};
    }
}

std::unique_ptr<language::identifier> make_manager() {
    constexpr tree_key key = tree_key::machine_language_recognition;
    const std::u16string folder =
        text_or_nothing(setting_of(tree_key::machine_installation, u"Directory")) +
        u"/Language Recognition";
    return std::make_unique<language::manager>(folder,
                                               text_or_nothing(setting_of(key, u"Configuration")),
                                               text_or_nothing(setting_of(key, u"Database")));
}

}  // namespace

language_manager& language_manager::instance() {
    static language_manager& only =
        *new language_manager(module::instance().log_of(subsystem::language), make_manager);
    return only;
}

language_manager::language_manager(replay::log& log, identifier_maker make_identifier)
    : log_(log), make_identifier_(std::move(make_identifier)) {}

language::identifier& language_manager::identifier() {
    const replay::scope guard(making_);
    if (!identifier_) identifier_ = make_identifier_();
    return *identifier_;
}

identification language_manager::identify(std::u16string_view text) {
    language::identifier& asked = identifier();
    const std::lock_guard guard(identifying);
    return asked.identify(text);
}

std::uint32_t language_manager::classify(part& message) {
    part_map parts;
    message.flatten(parts, true);
    weights found;
    std::vector<std::string> report;
    for (const auto& [level, entry] : parts) {
        part& item = *entry.item;
        if (!is_text_to_read(item, level)) continue;
        std::u16string converted;
        const std::u16string_view text = plain_text(item, converted);
        if (text.empty()) continue;
        const identification told = identify(text);
        report.push_back(report_line(item, told));
        if (told.status >= identification::recognised) found.add(told.language, told.weight);
    }
    for (const std::string& line : report) log_.write(detail_level, line);
    return found.heaviest();
}

bool language_manager::accept(part& message, int& language) {
    constexpr const registry::setting& mode_row =
        setting_of(tree_key::user_language_recognition, u"Mode");
    const std::uint32_t mode = registry::get_integer(mode_row, registry::write_back::yes);
    const auto entries =
        registry::at(tree_key::user_language_recognition).shared_multi_text(u"Languages");
    if (entries->empty()) return true;

    const std::uint32_t told = classify(message);
    language = static_cast<int>(told);
    if (told == 0) return true;
    const bool is_listed =
        std::any_of(entries->begin(), entries->end(),
                    [&](std::u16string_view entry) { return language_of_entry(entry) == told; });
    return std::uint32_t{is_listed} != mode;
}

std::uint32_t language_of_entry(std::u16string_view entry) {
    return static_cast<std::uint32_t>(replay::variant(std::u16string(entry)).as_integer());
}

}  // namespace brindlemoss::services
