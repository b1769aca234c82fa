#pragma once

#include <string>

namespace CLI {
class App;
}

namespace brindlemoss::cli {

struct text_options {
    std::string group;
    std::string item;
    bool json = false;
};

// The subcommand `text`. The options must outlive the program's parsing.
CLI::App* add_text(CLI::App& program, text_options& options);

// Prints a text of the front ends in the user's language. With json one object {"group", "item",
// "text"}. Gives the exit code.
int run_text(const text_options& options);

}  // namespace brindlemoss::cli
