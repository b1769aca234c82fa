#pragma once

#include <CLI/CLI.hpp>

namespace brindlemoss::cli {

// Adds an action to a subcommand: `options.wanted` becomes `wanted` where it is called, and
// `options.json` is set by its "--json". The options must outlive the program's parsing.
template <typename options_type>
CLI::App* add_action(CLI::App& command, options_type& options, typename options_type::action wanted,
                     const char* name, const char* description) {
    CLI::App* added = command.add_subcommand(name, description);
    added->add_flag("--json", options.json, "Print one JSON object a line");
    added->callback([&options, wanted] { options.wanted = wanted; });
    return added;
}

}  // namespace brindlemoss::cli
