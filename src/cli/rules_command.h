#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace brindlemoss::cli {

struct rules_options {
    enum class list { allowed, denied, trusted };
    enum class action { list, add, remove, clear, import_file, export_text, check };

    list which = list::allowed;
    action wanted = action::list;
    std::vector<std::string> senders;  // addresses, and domains where there is no "@"
    std::string name;                  // of those to add
    std::string comment;               // of those to add
    std::string file;                  // to import, "-" for standard input
    bool domains = false;              // import or export them, not the addresses
    bool json = false;
};

// The subcommand `rules`. The options must outlive the program's parsing.
CLI::App* add_rules(CLI::App& program, rules_options& options);

// Shows and changes the user's sender lists. What an import brings is checked beforehand. Gives
// the exit code.
int run_rules(const rules_options& options);

}  // namespace brindlemoss::cli
