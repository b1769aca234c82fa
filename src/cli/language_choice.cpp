#include "cli/language_choice.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <utility>

#include "cli/console.h"
#include "cli/registry_access.h"
#include "message/character_set.h"
#include "services/language_manager.h"
#include "services/language_numbers.h"

namespace brindlemoss::cli {

namespace registry = replay::registry2;
namespace unicode = replay::unicode;
using language::numbered_language;
using registry::line_list;
using registry::line_views;
using registry::setting_of;
using registry::tree_key;
using services::language_of_entry;

namespace {

constexpr const registry::setting& mode_row =
    setting_of(tree_key::user_language_recognition, u"Mode");
constexpr const registry::setting& languages_row =
    setting_of(tree_key::user_language_recognition, u"Languages");

constexpr char way_to_refuse[] =
    "; to refuse single languages, set 'registry set \"Language Recognition\" Mode 1'";

std::optional<std::uint32_t> number_in(std::string_view text) {
    int base = 10;
    if (text.starts_with("0x") || text.starts_with("0X")) {
        base = 16;
        text.remove_prefix(2);
    }
    std::uint32_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, base);
    if (error != std::errc() || stop != end) return std::nullopt;
    return number;
}

std::string quoted(std::string_view argument) {
    return "'" + printable(argument) + "'";
}

[[noreturn]] void refuse_number(std::uint32_t number, std::string_view argument) {
    std::string what = quoted(argument) + " is not the number of a language that mail can be in";
    std::string separator = ": ";
    for (const numbered_language* each : language::relatives_of_number(number)) {
        what += separator + std::string(each->name) + " is " + std::to_string(each->number);
        separator = ", ";
    }
    throw refusal(what + "; 'language list --all' names them all");
}

bool holds(const line_views& entries, std::uint32_t number) {
    return std::any_of(entries.begin(), entries.end(), [&](std::u16string_view entry) {
        return language_of_entry(entry) == number;
    });
}

bool add_to(line_list& entries, std::uint32_t number) {
    if (holds(entries.lines(), number)) return false;
    entries.push_back(unicode::to_wide(std::to_string(number), unicode::byte_for_byte));
    return true;
}

bool remove_from(line_list& entries, std::uint32_t number) {
    line_views others = entries.lines();
    const auto removed = std::erase_if(
        others, [&](std::u16string_view entry) { return language_of_entry(entry) == number; });
    entries.set_lines(std::move(others));
    return removed > 0;
}

bool add_languages(line_list& entries, const std::vector<std::string>& arguments) {
    bool changed = false;
    for (const std::string& argument : arguments) {
        for (const std::uint32_t number : languages_of_argument(argument)) {
            changed = add_to(entries, number) || changed;
        }
    }
    return changed;
}

bool remove_languages(line_list& entries, const std::vector<std::string>& arguments) {
    bool changed = false;
    for (const std::string& argument : arguments) {
        const std::optional<std::uint32_t> number = number_in(argument);
        if (number && *number != 0 && remove_from(entries, *number)) {
            changed = true;
            continue;
        }
        for (const std::uint32_t each : languages_of_argument(argument)) {
            changed = remove_from(entries, each) || changed;
        }
    }
    return changed;
}

// An empty list accepts all, whatever the mode.
bool remove_all_but_last(line_list& entries, const std::vector<std::string>& arguments) {
    if (entries.lines().empty()) {
        throw refusal(
            std::string("the list of accepted languages is empty, which accepts every language") +
            way_to_refuse);
    }
    const bool changed = remove_languages(entries, arguments);
    if (entries.lines().empty()) {
        throw refusal(
            std::string("no accepted language would be left, and an empty list accepts every "
                        "language") +
            way_to_refuse);
    }
    return changed;
}

}  // namespace

language_choice read_language_choice() {
    const registry::key_place& place = registry::place_of(tree_key::user_language_recognition);
    const auto key = open_existing(place.root, place.path);
    if (!key) return {mode_row.integer_default, {}};
    return {
        key->get_integer(mode_row.name, mode_row.integer_default, registry::write_back::no),
        key->get_multi_text(languages_row.name, {}, registry::write_back::no),
    };
}

std::vector<std::uint32_t> languages_of_argument(std::string_view argument) {
    if (const std::optional<std::uint32_t> number = number_in(argument)) {
        if (language::language_of_number(*number) == nullptr) refuse_number(*number, argument);
        return {*number};
    }
    const auto called = language::languages_called(argument);
    if (called.empty()) {
        throw refusal(quoted(argument) +
                      " is no language that is known; 'language list --all' names them");
    }
    std::vector<std::uint32_t> numbers;
    for (const numbered_language* each : called) {
        if (each->number != 0) numbers.push_back(each->number);
    }
    if (numbers.empty()) {
        throw refusal("mail in " + std::string(called.front()->name) +
                      " cannot be told: the language has no number");
    }
    return numbers;
}

void change_languages(language_wish wish, const std::vector<std::string>& arguments) {
    const std::uint32_t mode = read_language_choice().mode;
    if (mode != refuses_listed && mode != accepts_only_listed) {
        throw refusal("every language is accepted, as the mode is " + std::to_string(mode) +
                      way_to_refuse);
    }
    const bool lists_the_wish = (wish == language_wish::refuse) == (mode == refuses_listed);
    registry::at(tree_key::user_language_recognition)
        .change_multi_text(languages_row.name, [&](line_list& entries) {
            if (lists_the_wish) return add_languages(entries, arguments);
            return mode == accepts_only_listed ? remove_all_but_last(entries, arguments)
                                               : remove_languages(entries, arguments);
        });
}

}  // namespace brindlemoss::cli
