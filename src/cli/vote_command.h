#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace brindlemoss::cli {

struct vote_options {
    std::string verdict;  // "spam" or "ham"
    std::vector<std::string> paths;
    bool json = false;
    bool mailbox = false;  // each file holds many messages
};

// The subcommand `vote`. The options must outlive the program's parsing.
CLI::App* add_vote(CLI::App& program, vote_options& options);

// Gives the user's word on messages, and prints a line for each. Gives the exit code.
int run_vote(const vote_options& options);

}  // namespace brindlemoss::cli
