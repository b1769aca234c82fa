#pragma once

#include <string>

namespace CLI {
class App;
}

namespace brindlemoss::cli {

struct doctor_options {
    std::string version;  // of the program
    bool json = false;
};

// The subcommand `doctor`. The options must outlive the program's parsing.
CLI::App* add_doctor(CLI::App& program, doctor_options& options);

// Tells where everything lies and whether it works: a line each with "ok", or with "WRONG", what
// is and what to do about it. With json one object {"ok", "checks": [{"name", "ok", "text"}]}.
// Makes the folders and stores that are missing, as every use does. Gives the exit code.
int run_doctor(const doctor_options& options);

}  // namespace brindlemoss::cli
