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

// Gives the user's word on messages, and prints a line for each. Where servers of the community are
// named it waits until the vote is on its way to them or has failed, and tells which. Gives the
// exit code.
int run_vote(const vote_options& options);

}  // namespace brindlemoss::cli
