#pragma once

#include <string>
#include <string_view>
#include <vector>

// The program that the account server may have started to set up what the user's account needs.
namespace brindlemoss::account::configuration_program {

// As the log calls it. The file may also have the name in lower case and without its ending.
inline constexpr std::string_view name = "MOSSCFG.EXE";

// Whether a process with this file is the configuration program, which is not to start itself.
bool is_host(std::string_view host_path);

// Starts it with the command that the server gave, UTF-8, and leaves it to itself. Nothing happens
// without an installation or when it cannot be started. Throws what reading installation::directory
// throws.
void launch(std::string_view command);

// The arguments in a command: pieces between blanks. A double quote begins and ends a stretch in
// which blanks are nothing special. No other character means anything, and none is for a shell to
// see. What follows a NUL is dropped.
std::vector<std::string> arguments_of(std::string_view command);

}  // namespace brindlemoss::account::configuration_program
