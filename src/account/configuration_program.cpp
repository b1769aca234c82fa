#include "account/configuration_program.h"

#include <utility>

#include "account/installation.h"
#include "foundation/ascii.h"
#include "platform/host_process.h"
#include "platform/run_program.h"

namespace brindlemoss::account::configuration_program {

namespace {

constexpr std::string_view lower_name = "mosscfg.exe";
constexpr std::string_view plain_name = "mosscfg";

}  // namespace

bool is_host(std::string_view host_path) {
    const std::string lowered = replay::ascii::to_lower(host_path);
    return lowered.find(lower_name) != std::string::npos ||
           replay::platform::host_process::file_name(lowered) == plain_name;
}

void launch(std::string_view command) {
    std::string folder = installation().directory();  // as in a login's query, not the process's
    // What is not a full path would be looked for where the host happens to work.
    if (!folder.starts_with('/')) return;
    if (!folder.ends_with('/')) folder += '/';
    std::vector<std::string> arguments = arguments_of(command);
    arguments.insert(arguments.begin(), std::string());
    for (const std::string_view file : {name, plain_name}) {
        arguments.front() = folder + std::string(file);
        if (replay::platform::start_program(arguments, folder)) return;
    }
}

std::vector<std::string> arguments_of(std::string_view command) {
    std::vector<std::string> arguments;
    bool is_in_argument = false;
    bool is_quoted = false;
    for (const char byte : command.substr(0, command.find('\0'))) {
        if (byte == ' ' && !is_quoted) {
            is_in_argument = false;
            continue;
        }
        if (!is_in_argument) arguments.emplace_back();
        is_in_argument = true;
        if (byte == '"') {
            is_quoted = !is_quoted;
        } else {
            arguments.back() += byte;
        }
    }
    return arguments;
}

}  // namespace brindlemoss::account::configuration_program
