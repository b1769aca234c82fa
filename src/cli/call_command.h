#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace brindlemoss::cli {

struct call_options {
    std::string class_name;  // its outside name, "Brindlemoss.Filter"
    std::string method;
    std::vector<std::string> arguments;

    bool list = false;
    bool idl = false;  // the list as an interface description
    bool json = false;
};

// The subcommand `call`. The options must outlive the program's parsing.
CLI::App* add_call(CLI::App& program, call_options& options);

// Calls a method of a class of the component by its name, or lists what can be called. Gives the
// exit code.
int run_call(const call_options& options);

}  // namespace brindlemoss::cli
