#pragma once

#include <string>
#include <vector>

#include "cli/community_settings.h"
#include "community/discovery.h"

namespace CLI {
class App;
}

namespace brindlemoss::cli {

struct community_options {
    enum class action { servers, ping, reset, use };

    action wanted = action::servers;
    std::vector<std::string> servers;  // to use, HOST or HOST:PORT
    bool none = false;                 // use no server
    bool json = false;
};

// The subcommand `community`. The options must outlive the program's parsing.
CLI::App* add_community(CLI::App& program, community_options& options);

// Shows and chooses the servers that messages are looked up at. Gives the exit code.
int run_community(const community_options& options);

// Looks which of the named servers answer: at most 3 s, and the look-up of their names. Throws what
// the transport throws.
analysis::community::discovery_result find_servers(const community_settings& settings);

// Why it found none, for people.
std::string why_none(const analysis::community::discovery_result& found,
                     const community_settings& settings);

}  // namespace brindlemoss::cli
