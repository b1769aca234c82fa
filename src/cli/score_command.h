#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace brindlemoss::cli {

struct score_options {
    std::vector<std::string> paths;
    bool json = false;
    bool explain = false;  // print the report of each analysis
    bool rescan = false;   // judge as one that was judged before
    bool check = false;    // tell by the exit code whether a rating reached the threshold
    bool mailbox = false;  // each file holds many messages
    unsigned jobs = 1;
};

// The subcommand `score`. The options must outlive the program's parsing.
CLI::App* add_score(CLI::App& program, score_options& options);

// Rates messages and prints a line for each. Gives the exit code.
int run_score(const score_options& options);

}  // namespace brindlemoss::cli
