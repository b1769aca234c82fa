#include <CLI/CLI.hpp>
#include <cstdlib>
#include <exception>
#include <iostream>

#include "cli/console.h"
#include "cli/parse_command.h"
#include "cli/score_command.h"

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

CLI::App* add_parse(CLI::App& program, parse_options& options) {
    CLI::App* command = program.add_subcommand("parse", "Print the tree of parts of each message");
    command
        ->add_option("PATH", options.paths, "Files, folders (Maildir too), or - for standard input")
        ->required();
    command->add_flag("--json", options.json, "Print one JSON object a message");
    return command;
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
    const CLI::App* score_command = add_score(program, score);
    add_parse(program, parse);
    try {
        program.parse(argument_count, arguments);
    } catch (const CLI::ParseError& error) {
        const int code = program.exit(error) == 0 ? exit_done : exit_bad_input;
        if (!std::cout.flush()) throw output_error("the help could not be written");
        return code;
    }
    score.json = score.json || json;
    parse.json = parse.json || json;
    if (!home.empty()) ::setenv("BRINDLEMOSS_HOME", home.c_str(), 1);
    return score_command->parsed() ? run_score(score) : run_parse(parse);
}

}  // namespace

int main(int argument_count, char** arguments) {
    catch_interrupts();
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
