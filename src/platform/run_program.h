#pragma once

#include <optional>
#include <string>
#include <vector>

namespace replay::platform {

struct program_result {
    int exit_code;       // 128 and the number of the signal, when one ended it
    std::string output;  // of its standard output, at most 64 KiB
};

// Runs a program to its end, without a shell, with nothing to read and its errors thrown away.
// `arguments` begins with the full path of the program. nullopt when it cannot be started.
std::optional<program_result> run_program(const std::vector<std::string>& arguments);

// Starts a program in a folder and leaves it to itself, without a shell: in a session of its own,
// with nothing to read, its output thrown away, and no open file of this process. It is nobody's
// child that would have to be waited for. `arguments` begins with the full path of the program.
// False when it cannot be started.
bool start_program(const std::vector<std::string>& arguments, const std::string& folder);

}  // namespace replay::platform
