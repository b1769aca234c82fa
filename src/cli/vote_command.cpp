#include "cli/vote_command.h"

#include <CLI/CLI.hpp>
#include <exception>
#include <string_view>

#include "analysis/filter_engine.h"
#include "cli/console.h"
#include "cli/inputs.h"
#include "cli/json_writer.h"
#include "foundation/module.h"
#include "message/part.h"

namespace brindlemoss::cli {

using analysis::filter_engine;

namespace {

// What went wrong, empty where nothing did.
std::string vote_on(std::string_view raw, bool is_spam) {
    try {
        const replay::internet::message2::part message(raw);
        const filter_engine& engine = filter_engine::instance();
        const bool done = is_spam ? engine.report(message) : engine.revoke(message);
        return done ? "" : "not all of the vote was done, the log tells why";
    } catch (const std::exception& error) {
        return std::string("there is no message in it: ") + error.what();
    }
}

void print_vote(std::string_view name, const vote_options& options) {
    if (!options.json) return print(options.verdict + "  " + printable(name) + "\n");
    json_writer json;
    json.begin_object().key("file").utf8(name).key("vote").utf8(options.verdict).end_object();
    print(json.line() + "\n");
}

void print_failure(std::string_view name, const std::string& what, const vote_options& options) {
    if (options.json) print(json_error_line(name, what));
    flush_output();
    complain("'" + printable(name) + "': " + printable(what));
}

// False if anything went wrong.
bool vote_on_input(const input& source, const vote_options& options) {
    const auto format = options.mailbox ? file_format::mailbox : file_format::one_message;
    bool all_done = true;
    const std::string error = for_each_message(source, format, [&](const raw_message& message) {
        if (interrupted()) return;
        const std::string fault = vote_on(message.text, options.verdict == "spam");
        if (fault.empty()) return print_vote(message.name, options);
        print_failure(message.name, fault, options);
        all_done = false;
    });
    if (error.empty()) return all_done;
    print_failure(source.path, "cannot be read: " + error, options);
    return false;
}

}  // namespace

CLI::App* add_vote(CLI::App& program, vote_options& options) {
    CLI::App* command = program.add_subcommand("vote", "Say that messages are spam, or are not");
    command->add_option("VERDICT", options.verdict, "spam or ham")
        ->required()
        ->check(CLI::IsMember({"spam", "ham"}));
    command
        ->add_option("PATH", options.paths, "Files, folders (Maildir too), or - for standard input")
        ->required();
    command->add_flag("--json", options.json, "Print one JSON object a message");
    command->add_flag("--mbox", options.mailbox,
                      "Split each file into messages at its \"From \" lines");
    command->footer(
        "A vote for ham puts the sender on the allowed list and takes it off the denied one;\n"
        "a vote for spam takes the sender's trust away.");
    return command;
}

int run_vote(const vote_options& options) {
    module::instance().load(module::armed_by::program);
    const std::vector<input> inputs = find_inputs(options.paths);
    bool all_done = true;
    progress shown(inputs.size());
    for (const input& each : inputs) {
        if (interrupted()) break;
        all_done &= vote_on_input(each, options);
        shown.advance();
    }
    flush_output();
    if (interrupted()) return exit_interrupted;
    return all_done ? exit_done : exit_bad_input;
}

}  // namespace brindlemoss::cli
