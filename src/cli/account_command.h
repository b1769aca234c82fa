#pragma once

#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace brindlemoss::cli {

struct account_options {
    enum class action { create, login, update, setting };

    action wanted = action::login;
    std::string name;                     // of the account to create, or of the setting
    std::optional<std::string> password;  // to create; none: it is asked for
    bool json = false;
};

// The subcommand `account`. The options must outlive the program's parsing.
CLI::App* add_account(CLI::App& program, account_options& options);

// Logs on to the user's account, creates one, and tells its settings. Gives the exit code.
int run_account(const account_options& options);

}  // namespace brindlemoss::cli
