#include "cli/account_password.h"

#include "cli/registry_access.h"
#include "platform/file.h"
#include "platform/hidden_input.h"

namespace brindlemoss::cli {

namespace platform = replay::platform;

namespace {

std::string password_typed_twice() {
    platform::hidden_input input;
    const auto first = input.ask("Password: ");
    const auto second = first ? input.ask("Once more: ") : std::nullopt;
    if (!second) throw refusal("no password is given");
    if (*first != *second) throw refusal("the two passwords differ");
    return *first;
}

std::string password_from_input() {
    try {
        if (const auto line = platform::read_input_line()) return *line;
    } catch (const platform::file_error& error) {
        throw refusal("the password cannot be read from standard input: " + error.code().message());
    }
    throw refusal("no password is given: it is the first line of standard input");
}

}  // namespace

std::string wanted_password(const std::optional<std::string>& given) {
    std::string password = given                           ? *given
                           : platform::input_is_terminal() ? password_typed_twice()
                                                           : password_from_input();
    if (password.empty()) throw refusal("the password is empty");
    return password;
}

}  // namespace brindlemoss::cli
