#include "cli/rules_command.h"

#include "cli/subcommand_action.h"

namespace brindlemoss::cli {

namespace {

using action = rules_options::action;

CLI::App* add_list(CLI::App& rules, rules_options& options, rules_options::list which,
                   const char* name, const char* description) {
    CLI::App* command = rules.add_subcommand(name, description);
    command->require_subcommand(1);
    command->add_flag("--json", options.json, "Print one JSON object a line");
    command->callback([&options, which] { options.which = which; });
    add_action(*command, options, action::list, "list", "Print the entries");
    add_action(*command, options, action::clear, "clear", "Remove all entries");
    return command;
}

// What the allowed and the denied list have in common.
void add_sender_list(CLI::App& rules, rules_options& options, rules_options::list which,
                     const char* name, const char* description) {
    CLI::App* command = add_list(rules, options, which, name, description);
    CLI::App* add = add_action(*command, options, action::add, "add",
                               "Add senders, and remove them from the other list");
    add->add_option("SENDER", options.senders, "An address, or a domain if there is no \"@\" in it")
        ->required();
    add->add_option("--name", options.name, "The name that goes with the addresses");
    add->add_option("--comment", options.comment, "A comment");
    add_action(*command, options, action::remove, "remove", "Remove senders")
        ->add_option("SENDER", options.senders,
                     "An address, or a domain if there is no \"@\" in it")
        ->required();

    CLI::App* import_file = add_action(*command, options, action::import_file, "import",
                                       "Put the entries of a file in place of those in the list");
    import_file->add_option("FILE", options.file, "The file, or - for standard input")->required();
    CLI::App* export_text = add_action(*command, options, action::export_text, "export",
                                       "Print the addresses, or the domains, for an import");
    for (CLI::App* each : {import_file, export_text}) {
        each->add_flag("--domains", options.domains, "The domains, not the addresses");
        each->footer(
            "The text is UTF-8, an entry a line: name, address and comment with tabs between\n"
            "them; with --domains domain and comment. A field may be empty.");
    }
}

}  // namespace

CLI::App* add_rules(CLI::App& program, rules_options& options) {
    using list = rules_options::list;
    CLI::App* rules = program.add_subcommand("rules", "Show and change the lists of senders");
    rules->require_subcommand(1);
    rules->add_flag("--json", options.json, "Print one JSON object a line");

    add_sender_list(*rules, options, list::allowed, "allow", "Senders whose mail passes");
    add_sender_list(*rules, options, list::denied, "deny", "Senders whose mail is blocked");

    CLI::App* trust =
        add_list(*rules, options, list::trusted, "trust", "Senders that have earned trust");
    trust->footer(
        "Trust is earned step by step, so there is no import; \"registry export\" and\n"
        "\"registry import\" of Rules/Sender/Trust keep a copy.");
    CLI::App* add = add_action(*trust, options, action::add, "add",
                               "Add a step of trust, as a message that passes does");
    add->add_option("ADDRESS", options.senders, "The addresses")->required();
    add->add_option("--name", options.name, "The name that goes with the addresses");
    add_action(*trust, options, action::remove, "remove", "Take all trust away")
        ->add_option("ADDRESS", options.senders, "The addresses")
        ->required();
    add_action(*trust, options, action::export_text, "export", "Print the entries as they stand");
    CLI::App* import_file = add_action(*trust, options, action::import_file, "import", "Refused");
    import_file->add_option("FILE", options.file)->required();
    import_file->group("");  // not shown; it tells what to do instead

    add_action(*rules, options, action::check, "check", "Tell what the lists say of an address")
        ->add_option("ADDRESS", options.senders, "The addresses")
        ->required();
    return rules;
}

}  // namespace brindlemoss::cli
