#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace brindlemoss::cli {

struct image_options {
    std::vector<std::string> paths;
    std::string overlay;  // the PNG file to draw what was found into; empty: none
    std::vector<std::string>
        show;                  // draw the rectangles of these checkpoints, not all that is found
    bool checkpoints = false;  // print every stage with its rectangles
    bool json = false;
};

// The subcommand `image`. The options must outlive the program's parsing.
CLI::App* add_image(CLI::App& program, image_options& options);

// Runs the text engine on picture files and prints what it saw. Gives the exit code.
int run_image(const image_options& options);

}  // namespace brindlemoss::cli
