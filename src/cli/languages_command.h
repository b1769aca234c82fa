#pragma once

#include <string>

namespace CLI {
class App;
}

namespace brindlemoss::cli {

struct languages_options {
    std::string chosen;  // ISO code to keep as the user's choice; empty: none
    bool json = false;
};

// The subcommand `languages`. The options must outlive the program's parsing.
CLI::App* add_languages(CLI::App& program, languages_options& options);

// Prints the languages that the front ends can speak, or keeps the user's choice among them. A line
// for each, with "*" in front of the one in force: ISO code, own name, English name. With json an
// object a language {"iso", "name", "english_name", "chosen"}. Gives the exit code.
int run_languages(const languages_options& options);

}  // namespace brindlemoss::cli
