#include "cli/help_texts.h"

#include <CLI/CLI.hpp>
#include <exception>
#include <filesystem>
#include <string_view>
#include <vector>

#include "cli/registry_access.h"
#include "foundation/registry.h"
#include "message/character_set.h"
#include "services/localization.h"

namespace brindlemoss::cli {

namespace registry = replay::registry2;

namespace {

// What CLI11 puts into the lines of a help, where it can be told other words.
constexpr const char* changeable_words[] = {"Usage",      "Positionals", "OPTIONS",
                                            "SUBCOMMAND", "REQUIRED",    "Env"};

std::string with_line_ends(std::string text) {
    constexpr std::string_view mark = "\\n";
    for (std::size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at + 1)) {
        text.replace(at, mark.size(), "\n");
    }
    return text;
}

// Walks the commands. A path is a list of names, from the program's own commands on.
class help_walk {
public:
    explicit help_walk(const help_source& source) : source_(source) {}

    void visit(CLI::App& command, const std::vector<std::string>& path) {
        if (const auto text =
                source_(path.empty() ? command.get_name() : joined(path, path.size()))) {
            command.description(*text);
        }
        if (!command.get_footer().empty()) {
            if (auto text = nearest(path, "(notes)")) command.footer(with_line_ends(*text));
        }
        for (CLI::Option* const option : command.get_options()) put(*option, path);
        for (CLI::App* const subcommand : command.get_subcommands({})) {
            if (subcommand->get_group().empty()) continue;  // not shown
            std::vector<std::string> below = path;
            below.push_back(subcommand->get_name());
            visit(*subcommand, below);
            put_heading(*subcommand);
        }
    }

private:
    static std::string joined(const std::vector<std::string>& path, std::size_t count) {
        std::string text;
        for (std::size_t i = 0; i < count; ++i) text.append(i == 0 ? "" : " ").append(path[i]);
        return text;
    }

    // The text of a name in the command, else in those around it, the nearest first.
    std::optional<std::string> nearest(const std::vector<std::string>& path,
                                       const std::string& name) const {
        for (std::size_t count = path.size();; --count) {
            std::string full_name = joined(path, count);
            if (count > 0) full_name += ' ';
            if (auto text = source_(full_name += name)) return text;
            if (count == 0) return std::nullopt;
        }
    }

    void put(CLI::Option& option, const std::vector<std::string>& path) const {
        const bool is_shown = !option.get_group().empty() && !option.get_description().empty();
        if (is_shown) {
            const std::string name = option.get_name();
            const std::string item = option.nonpositional() ? name : "<" + name + ">";
            if (const auto text = nearest(path, item)) option.description(*text);
        }
        put_heading(option);
    }

    template <typename grouped>
    void put_heading(grouped& one) const {
        if (one.get_group().empty()) return;
        if (const auto text = source_("heading: " + one.get_group())) one.group(*text);
    }

    const help_source& source_;
};

std::optional<std::string> utf8_text(const services::localization& texts, const std::string& item) {
    const auto text =
        texts.get_string(help_group, replay::unicode::to_wide(item, replay::unicode::utf8));
    if (!text) return std::nullopt;
    return shown(*text);
}

}  // namespace

void put_help_texts(CLI::App& program, const help_source& source) {
    help_walk(source).visit(program, {});
    for (const char* const word : changeable_words) {
        const auto text = source("word: " + std::string(word));
        if (text) program.get_formatter()->label(word, *text);
    }
}

void localize_help(CLI::App& program) noexcept {
    try {
        registry::set_message_sink([](std::string_view) {});
        const std::string kept = registry::store_file(registry::predefined_root::current_user);
        if (!std::filesystem::exists(kept)) return;
        services::localization texts;
        texts.reload();
        put_help_texts(program, [&](const std::string& item) { return utf8_text(texts, item); });
    } catch (const std::exception&) {
        // Help in the words of the code is better than none.
    }
}

}  // namespace brindlemoss::cli
