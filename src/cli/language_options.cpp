#include "cli/language_command.h"

#include "cli/subcommand_action.h"

namespace brindlemoss::cli {

using action = language_options::action;

CLI::App* add_language(CLI::App& program, language_options& options) {
    CLI::App* command =
        program.add_subcommand("language", "Tell the language of mail, and refuse mail by it");
    command->require_subcommand(1);
    command->add_flag("--json", options.json, "Print one JSON object a line");
    command->footer(
        "A LANGUAGE is its number (1049 or 0x419), its name (Russian) or its tag (ru).\n"
        "`language list --all` names them.");

    CLI::App* classify = add_action(*command, options, action::classify, "classify",
                                    "Print the language of each message");
    classify
        ->add_option("PATH", options.paths, "Files, folders (Maildir too), or - for standard input")
        ->required();
    CLI::App* list = add_action(*command, options, action::list, "list",
                                "Print the languages that are refused, or alone accepted");
    list->add_flag("--all", options.all, "Print every language that can be recognised");
    CLI::App* accept = add_action(*command, options, action::accept, "accept",
                                  "Let mail in these languages through");
    CLI::App* refuse =
        add_action(*command, options, action::refuse, "refuse", "Block mail in these languages");
    for (CLI::App* each : {accept, refuse}) {
        each->add_option("LANGUAGE", options.languages, "The languages")->required();
    }
    return command;
}

}  // namespace brindlemoss::cli
