#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "cli/community_command.h"
#include "cli/console.h"
#include "cli/doctor_command.h"
#include "cli/image_command.h"
#include "cli/language_command.h"
#include "cli/parse_command.h"
#include "cli/registry_command.h"
#include "cli/rules_command.h"
#include "cli/score_command.h"
#include "cli/stats_command.h"
#include "cli/vote_command.h"
#include "community/communication.h"
#include "foundation/module.h"
#include "platform/paths.h"

namespace {

using namespace brindlemoss::cli;

constexpr unsigned most_jobs = 256;

CLI::App* add_score(CLI::App& program, score_options& options) {
    CLI::App* command =
        program.add_subcommand("score", "Rate messages from 0 (pass) to 100 (spam)");
    command
        ->add_option("PATH", options.paths, "Files, folders (Maildir too), or - for standard input")
        ->required();
    command->add_flag("--json", options.json, "Print one JSON object a message");
    command->add_flag("--explain", options.explain,
                      "Print what the analysis of each message found");
    command->add_flag("--rescan", options.rescan, "Rate as messages that were rated before");
    command->add_flag("--check", options.check, "Exit with 1 if a rating reaches the threshold");
    command->add_flag("--mbox", options.mailbox,
                      "Split each file into messages at its \"From \" lines");
    command->add_option("--jobs", options.jobs, "Messages to work on at a time")
        ->check(CLI::Range(1u, most_jobs))
        ->capture_default_str();
    return command;
}

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

CLI::App* add_stats(CLI::App& program, stats_options& options) {
    CLI::App* command = program.add_subcommand("stats", "Print the counters");
    command->add_flag("--json", options.json, "Print one JSON object");
    return command;
}

CLI::App* add_doctor(CLI::App& program, doctor_options& options) {
    CLI::App* command = program.add_subcommand(
        "doctor", "Tell where everything lies, what works and what does not");
    command->add_flag("--json", options.json, "Print one JSON object");
    return command;
}

CLI::App* add_parse(CLI::App& program, parse_options& options) {
    CLI::App* command = program.add_subcommand("parse", "Print the tree of parts of each message");
    command
        ->add_option("PATH", options.paths, "Files, folders (Maildir too), or - for standard input")
        ->required();
    command->add_flag("--json", options.json, "Print one JSON object a message");
    return command;
}

// CLI11 takes "[a,b]" for several arguments where an option takes many. A NUL behind it, which no
// argument can hold, keeps it whole until the option gets it.
std::vector<std::string> kept_whole(int argument_count, char** arguments) {
    std::vector<std::string> reversed;  // as CLI11 wants them
    for (int index = argument_count - 1; index > 0; --index) {
        std::string argument = arguments[index];
        if (argument.starts_with('[') && argument.ends_with(']')) argument += '\0';
        reversed.push_back(std::move(argument));
    }
    return reversed;
}

std::string without_nul(std::string argument) {
    if (argument.ends_with('\0')) argument.pop_back();
    return argument;
}

void take_whole_arguments(CLI::App& command) {
    for (CLI::Option* option : command.get_options()) option->transform(without_nul);
    for (CLI::App* subcommand : command.get_subcommands({})) take_whole_arguments(*subcommand);
}

int run(int argument_count, char** arguments) {
    CLI::App program("Rates mail by what it is: the core of an anti-spam client.", "brindlemoss");
    program.set_version_flag("--version", BRINDLEMOSS_VERSION);
    program.require_subcommand(1);
    program.fallthrough();
    bool json = false;
    program.add_flag("--json", json, "Print one JSON object a line");
    std::string home;
    program.add_option("--home", home, "Keep all lasting state below this folder")
        ->envname("BRINDLEMOSS_HOME");

    score_options score;
    parse_options parse;
    community_options community;
    registry_options registry;
    rules_options rules;
    vote_options vote;
    language_options language;
    image_options image;
    stats_options stats;
    doctor_options doctor;
    doctor.version = BRINDLEMOSS_VERSION;
    const CLI::App* score_command = add_score(program, score);
    const CLI::App* vote_command = add_vote(program, vote);
    const CLI::App* rules_command = add_rules(program, rules);
    const CLI::App* language_command = add_language(program, language);
    const CLI::App* image_command = add_image(program, image);
    const CLI::App* community_command = add_community(program, community);
    const CLI::App* registry_command = add_registry(program, registry);
    const CLI::App* stats_command = add_stats(program, stats);
    const CLI::App* doctor_command = add_doctor(program, doctor);
    add_parse(program, parse);
    take_whole_arguments(program);
    try {
        program.parse(kept_whole(argument_count, arguments));
    } catch (const CLI::ParseError& error) {
        const int code = program.exit(error) == 0 ? exit_done : exit_bad_input;
        if (!std::cout.flush()) throw output_error("the help could not be written");
        return code;
    }
    for (bool* wanted : {&score.json, &vote.json, &rules.json, &language.json, &image.json,
                         &community.json, &parse.json, &registry.json, &stats.json, &doctor.json}) {
        *wanted = *wanted || json;
    }
    if (!home.empty()) replay::platform::paths::set_home(home);
    if (score_command->parsed()) return run_score(score);
    if (vote_command->parsed()) return run_vote(vote);
    if (rules_command->parsed()) return run_rules(rules);
    if (language_command->parsed()) return run_language(language);
    if (image_command->parsed()) return run_image(image);
    if (community_command->parsed()) return run_community(community);
    if (registry_command->parsed()) return run_registry(registry);
    if (stats_command->parsed()) return run_stats(stats);
    if (doctor_command->parsed()) return run_doctor(doctor);
    return run_parse(parse);
}

// Ends what the program has begun: first the threads that use the registry, then the registry.
struct end_of_program {
    ~end_of_program() {
        brindlemoss::spam::communication::shutdown();
        brindlemoss::module::instance().unload();
    }
};

}  // namespace

int main(int argument_count, char** arguments) {
    catch_interrupts();
    const end_of_program ending;
    try {
        return run(argument_count, arguments);
    } catch (const output_error& error) {
        complain(std::string("cannot write to standard output: ") + error.what());
        return exit_bad_input;
    } catch (const std::exception& error) {
        complain(std::string("internal fault: ") + error.what());
        return exit_fault;
    }
}
