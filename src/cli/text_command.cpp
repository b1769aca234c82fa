#include "cli/text_command.h"

#include <CLI/CLI.hpp>

#include "cli/console.h"
#include "cli/json_writer.h"
#include "cli/registry_access.h"
#include "message/character_set.h"
#include "services/localization.h"

namespace brindlemoss::cli {

namespace {

void show(const text_options& options) {
    services::localization texts;
    texts.reload();
    const auto wide = [](const std::string& name) {
        return replay::unicode::to_wide(name, replay::unicode::utf8);
    };
    const auto text = texts.get_string(wide(options.group), wide(options.item));
    if (!text) {
        throw refusal("there is no text '" + printable(options.item) + "' in the group '" +
                      printable(options.group) + "'");
    }
    if (!options.json) return print(shown(*text) + "\n");
    json_writer json;
    json.begin_object().key("group").utf8(options.group).key("item").utf8(options.item);
    print(json.key("text").text(*text).end_object().line() + "\n");
}

}  // namespace

CLI::App* add_text(CLI::App& program, text_options& options) {
    CLI::App* command =
        program.add_subcommand("text", "Print a text of the user's language, else the English one");
    command->add_option("GROUP", options.group, "The group, such as \"settings\"")->required();
    command->add_option("ITEM", options.item, "The item within the group")->required();
    command->add_flag("--json", options.json, "Print one JSON object");
    return command;
}

int run_text(const text_options& options) {
    return with_stores([&] {
        show(options);
        return int{exit_done};
    });
}

}  // namespace brindlemoss::cli
