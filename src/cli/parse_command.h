#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace brindlemoss::cli {

struct parse_options {
    std::vector<std::string> paths;
    bool json = false;
};

// The subcommand `parse`. The options must outlive the program's parsing.
CLI::App* add_parse(CLI::App& program, parse_options& options);

// Prints the tree of each message. Gives the exit code.
int run_parse(const parse_options& options);

}  // namespace brindlemoss::cli
