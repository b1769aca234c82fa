#include "cli/help_texts.h"

#include <gtest/gtest.h>

#include <CLI/CLI.hpp>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "cli/command_line.h"
#include "message/character_set.h"
#include "services/string_table.h"

namespace {

using brindlemoss::cli::command_line;
using brindlemoss::cli::help_group;
using brindlemoss::cli::put_help_texts;
using brindlemoss::services::string_table;
using std::string;
using item_list = std::set<std::u16string>;
namespace fs = std::filesystem;
namespace unicode = replay::unicode;

string_table table_of(const string& language) {
    return string_table::read(string(BRINDLEMOSS_LANGUAGES) + "/" + language + "0.ini");
}

std::u16string item_key(const string& item) {
    string lower = item;
    for (char& each : lower) {
        if (each >= 'A' && each <= 'Z') each = static_cast<char>(each - 'A' + 'a');
    }
    return unicode::to_wide(lower, unicode::utf8);
}

// Every help that a program shows, by command.
std::map<string, string> all_help(CLI::App& command, const string& path) {
    std::map<string, string> found{{path, command.help(path)}};
    for (CLI::App* const each : command.get_subcommands({})) {
        if (each->get_group().empty()) continue;
        found.merge(all_help(*each, path + " " + each->get_name()));
    }
    return found;
}

// The help in the texts of a table; what was used of it goes to `used`.
std::map<string, string> help_in(const string_table& table, item_list& used) {
    command_line line("1.2.3", {});
    put_help_texts(line.app(), [&](const string& item) -> std::optional<string> {
        const std::u16string* const text = table.find(help_group, item_key(item));
        if (text == nullptr) return std::nullopt;
        used.insert(item_key(item));
        return unicode::from_wide(*text, unicode::utf8);
    });
    return all_help(line.app(), "brindlemoss");
}

item_list items_of(const string_table& table, const std::u16string& group) {
    item_list items;
    const auto found = table.all().find(group);
    if (found == table.all().end()) return items;
    for (const auto& [item, text] : found->second) {
        EXPECT_FALSE(text.empty()) << unicode::from_wide(item, unicode::utf8);
        items.insert(item);
    }
    return items;
}

std::size_t marks_in(const std::u16string& text) {
    std::size_t count = 0;
    for (std::size_t at = text.find(u"\\n"); at != text.npos; at = text.find(u"\\n", at + 1)) {
        ++count;
    }
    return count;
}

TEST(help_texts, english_ones_are_those_of_the_code_and_none_is_without_use) {
    const string_table english = table_of("EN");
    item_list used;
    const auto shown = help_in(english, used);
    command_line plain("1.2.3", {});
    const auto wanted = all_help(plain.app(), "brindlemoss");
    EXPECT_GT(wanted.size(), 30u);
    EXPECT_EQ(shown, wanted);
    EXPECT_EQ(used, items_of(english, help_group));
}

// Every text that is shown is told by its item: one that has none would show without the mark.
TEST(help_texts, no_description_is_without_a_text) {
    command_line line("1.2.3", {});
    const string_table english = table_of("EN");
    put_help_texts(line.app(), [&](const string& item) -> std::optional<string> {
        if (english.find(help_group, item_key(item)) == nullptr) return std::nullopt;
        return "@";
    });
    const std::function<void(CLI::App&)> check = [&](CLI::App& command) {
        SCOPED_TRACE(command.get_name());
        if (command.get_group().empty()) return;
        EXPECT_EQ(command.get_description(), "@");
        EXPECT_EQ(command.get_footer(), command.get_footer().empty() ? "" : "@");
        for (const CLI::Option* const option : command.get_options()) {
            if (option->get_group().empty()) continue;
            EXPECT_EQ(option->get_description(), "@") << option->get_name();
            EXPECT_EQ(option->get_group(), "@");
        }
        for (CLI::App* const each : command.get_subcommands({})) check(*each);
    };
    check(line.app());
}

TEST(help_texts, every_language_has_every_text) {
    const string_table english = table_of("EN");
    std::set<string> languages;
    for (const auto& entry : fs::directory_iterator(BRINDLEMOSS_LANGUAGES)) {
        const string name = entry.path().filename().string();
        SCOPED_TRACE(name);
        languages.insert(name);
        const string_table table = string_table::read(entry.path().string());
        EXPECT_EQ(table.all().size(), english.all().size());
        for (const auto& [group, items] : english.all()) {
            EXPECT_EQ(items_of(table, group), items_of(english, group));
            for (const auto& [item, text] : items) {
                const std::u16string* const other = table.find(group, item);
                if (other == nullptr) continue;
                EXPECT_EQ(other->find(u'\uFFFD'), other->npos);
                EXPECT_EQ(marks_in(text) != 0, marks_in(*other) != 0);
            }
        }
    }
    EXPECT_EQ(languages,
              (std::set<string>{"DA0.ini", "DE0.ini", "EN0.ini", "ES0.ini", "FR0.ini", "SV0.ini"}));
}

}  // namespace
