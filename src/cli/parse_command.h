#pragma once

#include <string>
#include <vector>

namespace brindlemoss::cli {

struct parse_options {
    std::vector<std::string> paths;
    bool json = false;
};

// Prints the tree of each message. Gives the exit code.
int run_parse(const parse_options& options);

}  // namespace brindlemoss::cli
