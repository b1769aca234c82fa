#pragma once

namespace brindlemoss::cli {

struct stats_options {
    bool json = false;
};

// Prints the usage counters; one that nothing has counted yet is 0. Gives the exit code.
int run_stats(const stats_options& options);

}  // namespace brindlemoss::cli
