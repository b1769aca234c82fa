#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace soak {

struct soak_options {
    std::chrono::milliseconds length{};
    double rate = 20;  // operations a second and thread
    int threads = 4;
};

// Runs mixed load on the library, in a home and with servers of its own, while the servers fall
// silent, talk nonsense, go and come, and the library is unloaded and loaded again. Prints a line
// each minute. Gives what went wrong, a line each:
//
// - memory that grew, from the first eighth of the run on, or its first five minutes where that is
//   less;
// - handles or threads that are left when all is ended;
// - counters and lists that are not what was acknowledged;
// - calls that neither succeeded nor failed in a way that was to be expected.
std::vector<std::string> run(const soak_options& options);

}  // namespace soak
