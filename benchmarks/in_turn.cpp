// What programs cost from their start to their end, run in turn so that other work on the machine
// meets all alike:
//   in_turn FILE ROUNDS ITEMS -- NAME PROGRAM ARGUMENT... -- NAME PROGRAM ARGUMENT... < INPUT
//
// Each gets the input from its beginning; its output is thrown away. FILE gets, in the form of the
// benchmarks, each run's time by the clock and on a processor (in the program and in the kernel for
// it), the most memory it held, and how many of the items that a run works through it did in a
// second of either time. Before several rounds stands one that does not count. "in_turn --nothing"
// ends at once: what a C++ program costs that does nothing.

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr int ended_by_failure = 2;  // above it: of all programs that are compared here

struct contestant {
    std::string name;
    std::vector<char*> arguments;  // with a null behind them
};

struct cost {
    double passed = 0;  // milliseconds
    double worked = 0;
    double peak = 0;  // megabytes
};

double milliseconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
}

cost run(const contestant& which) {
    ::lseek(STDIN_FILENO, 0, SEEK_SET);  // where it is no file there is nothing to wind back
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);

    const auto start = std::chrono::steady_clock::now();
    pid_t child = 0;
    const int error = ::posix_spawnp(&child, which.arguments[0], &actions, nullptr,
                                     which.arguments.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    if (error != 0) throw std::runtime_error("cannot start " + which.name);
    int status = 0;
    rusage usage{};
    ::wait4(child, &status, 0, &usage);
    const std::chrono::duration<double, std::milli> passed =
        std::chrono::steady_clock::now() - start;
    if (!WIFEXITED(status) || WEXITSTATUS(status) > ended_by_failure) {
        throw std::runtime_error(which.name + " failed");
    }
    return {passed.count(), milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime),
            static_cast<double>(usage.ru_maxrss) / 1024};
}

std::vector<contestant> contestants(char** begin, char** end) {
    std::vector<contestant> all;
    for (char** each = begin; each != end; ++each) {
        const bool opens_another = std::strcmp(*each, "--") == 0;
        if (opens_another && each + 1 != end) {
            all.push_back({*++each, {}});
        } else if (all.empty()) {
            throw std::runtime_error("no name of a program");
        } else {
            all.back().arguments.push_back(*each);
        }
    }
    for (contestant& each : all) {
        if (each.arguments.empty()) throw std::runtime_error("no program for " + each.name);
        each.arguments.push_back(nullptr);
    }
    return all;
}

void measure(std::ofstream& out, int rounds, double items, const std::vector<contestant>& all) {
    if (rounds > 1) {
        for (const contestant& each : all) run(each);
    }
    const char* before = "{\"benchmarks\": [\n";
    for (int round = 0; round < rounds; ++round) {
        for (const contestant& each : all) {
            const cost taken = run(each);
            out << before << "{\"name\": \"" << each.name << "\", \"real_time\": " << taken.passed
                << ", \"cpu_time\": " << taken.worked
                << ", \"time_unit\": \"ms\", \"peak_mb\": " << taken.peak
                << ", \"items_per_second\": " << items / taken.passed * 1e3
                << ", \"items_per_cpu_second\": " << items / taken.worked * 1e3 << "}";
            before = ",\n";
        }
    }
    out << "\n]}\n";
}

}  // namespace

int main(int argument_count, char** arguments) {
    if (argument_count == 2 && std::strcmp(arguments[1], "--nothing") == 0) return 0;
    try {
        const int rounds = argument_count > 4 ? std::atoi(arguments[2]) : 0;
        const double items = argument_count > 4 ? std::atof(arguments[3]) : 0;
        if (rounds < 1 || items < 1) {
            std::fprintf(stderr,
                         "usage: in_turn FILE ROUNDS ITEMS -- NAME PROGRAM [ARGUMENT]...\n");
            return 2;
        }
        std::ofstream out(arguments[1]);
        measure(out, rounds, items, contestants(arguments + 4, arguments + argument_count));
        return out ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "in_turn: %s\n", error.what());
        return 1;
    }
}
