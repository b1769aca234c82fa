#pragma once

namespace CLI {
class App;
}

namespace brindlemoss::cli {

struct stats_options {
    bool json = false;
};

// The subcommand `stats`. The options must outlive the program's parsing.
CLI::App* add_stats(CLI::App& program, stats_options& options);

// Prints the usage counters; one that nothing has counted yet is 0. Gives the exit code.
int run_stats(const stats_options& options);

}  // namespace brindlemoss::cli
