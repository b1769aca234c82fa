#pragma once

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "support/temporary_folder.h"

namespace test_support {

struct program_result {
    int code;  // of the exit; the number of the signal, negative, that ended the program
    std::string out;
    std::string err;
};

enum class output { kept, closed_pipe, full_device };

// Runs the program `brindlemoss` with a home of its own, which is gone afterwards. One that runs
// for longer than a minute is ended by SIGALRM.
inline program_result run_program(std::vector<std::string> arguments, std::string_view input = {},
                                  output target = output::kept) {
    constexpr unsigned most_seconds = 60;
    const temporary_folder folder;
    folder.file("in", input);
    arguments.insert(arguments.begin(), BRINDLEMOSS_PROGRAM);
    std::vector<char*> raw_arguments;
    for (std::string& argument : arguments) raw_arguments.push_back(argument.data());
    raw_arguments.push_back(nullptr);

    const auto redirect = [](int descriptor, const std::string& path, int flags) {
        const int opened = ::open(path.c_str(), flags | O_CREAT, 0600);
        if (opened < 0 || ::dup2(opened, descriptor) < 0) ::_exit(127);
        ::close(opened);
    };
    const pid_t child = ::fork();
    if (child < 0) throw std::runtime_error("cannot start a process");
    if (child == 0) {
        redirect(STDIN_FILENO, folder.path("in"), O_RDONLY);
        redirect(STDERR_FILENO, folder.path("err"), O_WRONLY);
        redirect(STDOUT_FILENO, target == output::full_device ? "/dev/full" : folder.path("out"),
                 O_WRONLY);
        if (target == output::closed_pipe) {
            int ends[2];
            if (::pipe(ends) != 0 || ::dup2(ends[1], STDOUT_FILENO) < 0) ::_exit(127);
            ::close(ends[0]);
            ::close(ends[1]);
        }
        ::setenv("BRINDLEMOSS_HOME", folder.path("home").c_str(), 1);
        ::alarm(most_seconds);
        ::execv(BRINDLEMOSS_PROGRAM, raw_arguments.data());
        ::_exit(127);
    }
    int status = 0;
    while (::waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) throw std::system_error(errno, std::generic_category(), "waitpid");
    }
    const int code = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    return {code, folder.read("out"), folder.read("err")};
}

}  // namespace test_support
