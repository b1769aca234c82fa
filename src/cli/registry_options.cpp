#include <CLI/CLI.hpp>

#include "cli/registry_command.h"

namespace brindlemoss::cli {

namespace {

// An action of `registry`, with the flags that all of them have.
CLI::App* add_registry_action(CLI::App& command, registry_options& options,
                              registry_options::action action, const char* name,
                              const char* description) {
    CLI::App* added = command.add_subcommand(name, description);
    added->add_flag("--machine", options.machine, "The tree of the machine, not the user's");
    added->add_flag("--json", options.json, "Print one JSON object");
    added->callback([&options, action] { options.wanted = action; });
    return added;
}

void add_registry_set(CLI::App& command, registry_options& options) {
    CLI::App* set =
        add_registry_action(command, options, registry_options::action::set, "set",
                            "Write a value; its type stays as it is unless another is named");
    set->add_option("KEY", options.key, "The key, made when missing")->required();
    set->add_option("VALUE", options.value, "The name of the value")->required();
    set->add_option("DATA", options.data, "A text, a number, lines of a list, hexadecimal digits");
    set->add_option("--type", options.type, "The type of the value")
        ->check(
            CLI::IsMember({"text", "expandable", "binary", "integer", "multi_text", "integer64"}));
}

}  // namespace

CLI::App* add_registry(CLI::App& program, registry_options& options) {
    using action = registry_options::action;
    CLI::App* command =
        program.add_subcommand("registry", "Show and change what is kept, key by key");
    command->require_subcommand(1);
    command->footer("A KEY is a path such as Thresholds or Rules/Sender/Allow; \".\" is the root.");
    command->add_flag("--machine", options.machine, "The tree of the machine, not the user's");
    command->add_flag("--json", options.json, "Print one JSON object");

    CLI::App* list = add_registry_action(*command, options, action::list, "list",
                                         "Print the keys and values in a key");
    list->add_option("KEY", options.key, "The key; without one the root");
    CLI::App* get = add_registry_action(*command, options, action::get, "get",
                                        "Print what a value holds, a list line by line");
    get->add_option("KEY", options.key, "The key")->required();
    get->add_option("VALUE", options.value, "The name of the value")->required();
    add_registry_set(*command, options);
    CLI::App* remove = add_registry_action(*command, options, action::remove, "delete",
                                           "Delete a value, or a key with its values");
    remove->add_option("KEY", options.key, "The key")->required();
    remove->add_option("VALUE", options.value, "The name of the value; without one all of the key");
    CLI::App* export_key = add_registry_action(*command, options, action::export_key, "export",
                                               "Print a key with all below it as JSON");
    export_key->add_option("KEY", options.key, "The key; without one the root");
    CLI::App* import_file =
        add_registry_action(*command, options, action::import_file, "import",
                            "Write what was exported; what is not in the file stays");
    import_file->add_option("FILE", options.file, "The file, or - for standard input")->required();
    return command;
}

}  // namespace brindlemoss::cli
