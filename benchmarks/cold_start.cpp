// What a program costs from its start to its end: cold_start PROGRAM MAIL [RUNS]
//
// Runs "PROGRAM score MAIL", "PROGRAM --version", a C++ program that does nothing and, where it is
// installed, "bogofilter -v -I MAIL" with a word list made of the mails beside MAIL, in turn, so
// that other work on the machine meets all alike. Prints the median of the time that passed and of
// the time on a processor, in milliseconds, and each as a part of bogofilter's. All that is kept
// lies below TMPDIR: put that on a disk, where lasting writes cost what they do for users.

#include <fcntl.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr char nothing[] = "--nothing";  // as the only argument: this program ends at once
constexpr int ended_by_failure = 2;      // of all programs started here

using argument_list = std::vector<std::string>;

struct cost {
    double passed = 0;  // milliseconds
    double worked = 0;  // on a processor, in the program and in the kernel for it
};

struct contestant {
    std::string name;
    argument_list arguments;
    std::vector<cost> costs;
};

double milliseconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
}

// Starts the program, its output thrown away, and waits for its end.
cost run(const argument_list& arguments) {
    std::vector<char*> pointers;
    for (const std::string& each : arguments) pointers.push_back(const_cast<char*>(each.c_str()));
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);

    const auto start = std::chrono::steady_clock::now();
    pid_t child = 0;
    const int error =
        ::posix_spawnp(&child, pointers[0], &actions, nullptr, pointers.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    if (error != 0) throw std::runtime_error("cannot start " + arguments[0]);
    int status = 0;
    rusage usage{};
    ::wait4(child, &status, 0, &usage);
    const std::chrono::duration<double, std::milli> passed =
        std::chrono::steady_clock::now() - start;
    if (!WIFEXITED(status) || WEXITSTATUS(status) > ended_by_failure) {
        throw std::runtime_error(arguments[0] + " failed");
    }
    return {passed.count(), milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime)};
}

double median(const std::vector<cost>& costs, double cost::*which) {
    std::vector<double> values;
    for (const cost& each : costs) values.push_back(each.*which);
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

bool is_installed(const std::string& program) {
    try {
        run({program, "--version"});
        return true;
    } catch (const std::runtime_error&) {
        return false;
    }
}

// Half of the mails count as spam, which ones makes no difference to the time.
void make_word_list(const std::string& folder, const std::filesystem::path& mails) {
    bool is_spam = false;
    for (const auto& each : std::filesystem::directory_iterator(mails)) {
        if (!each.is_regular_file()) continue;
        run({"bogofilter", "-d", folder, is_spam ? "-s" : "-n", "-I", each.path().string()});
        is_spam = !is_spam;
    }
}

std::vector<contestant> contestants(const std::string& program, const std::string& mail,
                                    const std::string& own_path, const std::string& folder) {
    std::vector<contestant> all = {
        {"score", {program, "score", mail}, {}},
        {"--version", {program, "--version"}, {}},
        {"an empty C++ program", {own_path, nothing}, {}},
    };
    if (is_installed("bogofilter")) {
        make_word_list(folder, std::filesystem::absolute(mail).parent_path());
        all.push_back({"bogofilter", {"bogofilter", "-d", folder, "-v", "-I", mail}, {}});
    }
    return all;
}

void print(const std::vector<contestant>& all) {
    const contestant& last = all.back();
    const bool compared = last.name == "bogofilter";
    std::printf("%-22s %10s %10s%s\n", "milliseconds", "passed", "worked",
                compared ? "   of bogofilter's" : "");
    for (const contestant& each : all) {
        const double passed = median(each.costs, &cost::passed);
        const double worked = median(each.costs, &cost::worked);
        std::printf("%-22s %10.2f %10.2f", each.name.c_str(), passed, worked);
        if (compared) {
            std::printf("   %5.2f  %5.2f", passed / median(last.costs, &cost::passed),
                        worked / median(last.costs, &cost::worked));
        }
        std::printf("\n");
    }
}

void measure(const std::string& program, const std::string& mail, int runs,
             const std::string& own_path, const std::string& folder) {
    ::setenv("BRINDLEMOSS_HOME", folder.c_str(), 1);
    std::vector<contestant> all = contestants(program, mail, own_path, folder);
    for (const contestant& each : all) run(each.arguments);  // what is made once is there
    for (int round = 0; round < runs; ++round) {
        for (contestant& each : all) each.costs.push_back(run(each.arguments));
    }
    print(all);
}

}  // namespace

int main(int argument_count, char** arguments) {
    if (argument_count == 2 && std::string(arguments[1]) == nothing) return 0;
    const int runs = argument_count == 4 ? std::atoi(arguments[3]) : 300;
    if (argument_count < 3 || argument_count > 4 || runs < 1) {
        std::fprintf(stderr, "usage: cold_start PROGRAM MAIL [RUNS]\n");
        return 2;
    }
    std::string folder = (std::filesystem::temp_directory_path() / "cold_start.XXXXXX").string();
    if (::mkdtemp(folder.data()) == nullptr) {
        std::fprintf(stderr, "no temporary folder\n");
        return 1;
    }
    int code = 0;
    try {
        measure(arguments[1], arguments[2], runs, arguments[0], folder);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        code = 1;
    }
    std::filesystem::remove_all(folder);
    return code;
}
