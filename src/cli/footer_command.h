#pragma once

#include <string>

namespace CLI {
class App;
}

namespace brindlemoss::cli {

struct footer_options {
    std::string path;
    bool json = false;
};

// The subcommand `footer`. The options must outlive the program's parsing.
CLI::App* add_footer(CLI::App& program, footer_options& options);

// Prints a message with the footer in it. Where there is to be none, or something goes wrong with
// it, the message comes out byte for byte and standard error tells why. Gives the exit code.
int run_footer(const footer_options& options);

}  // namespace brindlemoss::cli
