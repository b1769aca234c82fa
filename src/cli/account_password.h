#pragma once

#include <optional>
#include <string>

namespace brindlemoss::cli {

// The password for a new account: `given`, else typed twice at the terminal, which does not show
// it, or where standard input is no terminal its first line. Throws refusal when there is none, or
// an empty one.
std::string wanted_password(const std::optional<std::string>& given);

}  // namespace brindlemoss::cli
