#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace brindlemoss::cli {

struct language_options {
    enum class action { classify, list, accept, refuse };

    action wanted = action::list;
    std::vector<std::string> paths;      // to classify
    std::vector<std::string> languages;  // to accept or refuse: numbers (LCID), names, tags
    bool all = false;                    // list what mail can be recognised as, not the choice
    bool json = false;
};

// The subcommand `language`. The options must outlive the program's parsing.
CLI::App* add_language(CLI::App& program, language_options& options);

// Names the language of messages; shows and changes the user's choice of languages. Gives the exit
// code.
int run_language(const language_options& options);

}  // namespace brindlemoss::cli
