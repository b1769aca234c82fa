#pragma once

#include <string>
#include <vector>

namespace brindlemoss::cli {

struct image_options {
    std::vector<std::string> paths;
    std::string overlay;  // the PNG file to draw what was found into; empty: none
    std::vector<std::string>
        show;                  // draw the rectangles of these checkpoints, not all that is found
    bool checkpoints = false;  // print every stage with its rectangles
    bool json = false;
};

// Runs the text engine on picture files and prints what it saw. Gives the exit code.
int run_image(const image_options& options);

}  // namespace brindlemoss::cli
