#include "cli/languages_command.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

#include "cli/console.h"
#include "cli/json_writer.h"
#include "cli/registry_access.h"
#include "foundation/registry.h"
#include "message/character_set.h"
#include "platform/character_class.h"
#include "services/localization.h"

namespace brindlemoss::cli {

namespace registry = replay::registry2;
using replay::platform::to_lower;

namespace {

struct offered_language {
    std::u16string iso;
    std::u16string name;
    std::u16string english_name;
};

// Takes the text up to `mark`, and both from `rest`.
std::u16string_view taken(std::u16string_view& rest, char16_t mark) {
    const std::size_t end = rest.find(mark);
    const std::u16string_view text = rest.substr(0, end);
    rest.remove_prefix(end == std::u16string_view::npos ? rest.size() : end + 1);
    return text;
}

// By ISO code, since the order of a folder tells nobody anything.
std::vector<offered_language> offered_languages(const services::localization& texts) {
    const std::u16string rows = texts.get_languages();
    std::vector<offered_language> languages;
    for (std::u16string_view rest = rows; !rest.empty();) {
        std::u16string_view row = taken(rest, u'\r');
        offered_language& added = languages.emplace_back();
        for (auto* const field : {&added.iso, &added.name}) *field = taken(row, u'\t');
        added.english_name = row;
    }
    std::sort(languages.begin(), languages.end(),
              [](const auto& one, const auto& other) { return one.iso < other.iso; });
    return languages;
}

bool is_same(std::u16string_view one, std::u16string_view other) {
    return to_lower(one) == to_lower(other);
}

std::u16string chosen_language() {
    constexpr const registry::setting& row =
        registry::setting_of(registry::tree_key::user_root, u"Language");
    return registry::get_text(row, registry::write_back::no);
}

std::string as_json(const offered_language& each, bool is_chosen) {
    json_writer json;
    json.begin_object().key("iso").text(each.iso).key("name").text(each.name);
    json.key("english_name").text(each.english_name).key("chosen").boolean(is_chosen);
    return json.end_object().line() + "\n";
}

// "* DA  Dansk      Danish"
std::string as_text(const offered_language& each, bool is_chosen) {
    constexpr std::size_t name_width = 12;
    std::string line = is_chosen ? "* " : "  ";
    line.append(printable(utf8_of(each.iso))).append("  ");
    line.append(printable(utf8_of(each.name)));
    line.append(name_width - std::min(name_width, each.name.size()), ' ').append("  ");
    return line.append(printable(utf8_of(each.english_name))).append("\n");
}

void print_all(const std::vector<offered_language>& languages, bool json) {
    if (languages.empty()) throw refusal("no languages are installed: all texts are English");
    const std::u16string chosen = chosen_language();
    for (const offered_language& each : languages) {
        const bool is_chosen = is_same(each.iso, chosen);
        print(json ? as_json(each, is_chosen) : as_text(each, is_chosen));
    }
}

// The code is kept as the language's file spells it.
void choose(services::localization& texts, const std::vector<offered_language>& languages,
            const std::string& wanted) {
    const std::u16string iso = replay::unicode::to_wide(wanted, replay::unicode::utf8);
    for (const offered_language& each : languages) {
        if (is_same(each.iso, iso)) return texts.set_language(each.iso);
    }
    throw refusal("the language '" + printable(wanted) +
                  "' is not installed: 'brindlemoss languages' names those that are");
}

}  // namespace

CLI::App* add_languages(CLI::App& program, languages_options& options) {
    CLI::App* command = program.add_subcommand(
        "languages", "Print the languages that there are texts in, and choose one");
    command->add_option("--set", options.chosen, "Speak this language from now on, by its code");
    command->add_flag("--json", options.json, "Print one JSON object a language");
    return command;
}

int run_languages(const languages_options& options) {
    return with_stores([&] {
        services::localization texts;
        const std::vector<offered_language> languages = offered_languages(texts);
        if (!options.chosen.empty()) choose(texts, languages, options.chosen);
        print_all(languages, options.json);
        return int{exit_done};
    });
}

}  // namespace brindlemoss::cli
