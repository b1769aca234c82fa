#pragma once

#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace brindlemoss::cli {

struct registry_options {
    enum class action { list, get, set, remove, export_key, import_file };

    action wanted = action::list;
    std::string key;  // below the program's root, names parted by "\" or "/"
    std::optional<std::string> value;
    std::vector<std::string> data;  // to set
    std::string type;               // to set; empty: as the value there, or as in the table
    std::string file;               // to import, "-" for standard input
    bool machine = false;           // the tree of the machine, not the user's
    bool json = false;
};

// The subcommand `registry`. The options must outlive the program's parsing.
CLI::App* add_registry(CLI::App& program, registry_options& options);

// Shows and changes the registry. What an import writes it checks beforehand. Gives the exit code.
int run_registry(const registry_options& options);

}  // namespace brindlemoss::cli
