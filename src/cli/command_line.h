#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <vector>

#include "cli/account_command.h"
#include "cli/call_command.h"
#include "cli/community_command.h"
#include "cli/doctor_command.h"
#include "cli/footer_command.h"
#include "cli/image_command.h"
#include "cli/language_command.h"
#include "cli/languages_command.h"
#include "cli/parse_command.h"
#include "cli/registry_command.h"
#include "cli/rules_command.h"
#include "cli/score_command.h"
#include "cli/stats_command.h"
#include "cli/text_command.h"
#include "cli/vote_command.h"

namespace brindlemoss::cli {

// What can be asked of the program: the options of every command, and its own.
struct program_options {
    bool json = false;
    std::string home;  // the folder of all lasting state, empty: the usual places

    score_options score;
    vote_options vote;
    rules_options rules;
    language_options language;
    image_options image;
    community_options community;
    account_options account;
    footer_options footer;
    text_options text;
    languages_options languages;
    registry_options registry;
    stats_options stats;
    doctor_options doctor;
    parse_options parse;
    call_options call;
};

// The command line of the program: all commands, what they were given, and what they run.
class command_line {
public:
    // Holds the commands that the program's arguments name, wherever they stand: to describe one
    // takes longer than to rate a small mail. All of them where the arguments name none.
    command_line(const std::string& version, std::vector<std::string> arguments);
    command_line(const command_line&) = delete;
    command_line& operator=(const command_line&) = delete;

    // Reads the arguments. Throws CLI::ParseError, also where help or the version is asked for:
    // exit() of app() prints what there is to say. What options() holds of the program itself is
    // then as far as it was read.
    void parse();

    // Runs the command that was called and gives its exit code. Throws what the command throws.
    int run() const;

    CLI::App& app() { return app_; }
    const program_options& options() const { return options_; }

private:
    struct command {
        CLI::App* app;
        std::function<int()> run;
    };

    enum class which { named, all };

    template <typename options_type>
    void add(const char* name, CLI::App* (*add_to)(CLI::App&, options_type&),
             int (*run)(const options_type&), options_type& options);
    void add_commands(which wanted);

    const std::vector<std::string> arguments_;
    which wanted_ = which::named;
    CLI::App app_;
    program_options options_;
    std::vector<command> commands_;
    std::vector<bool*> json_of_commands_;
};

}  // namespace brindlemoss::cli
