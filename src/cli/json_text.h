#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace brindlemoss::cli {

// The text that a JSON string (RFC 8259) says, blanks around it left out; nullopt for anything
// else. Ours for the same reason as json_writer: an escape may say a surrogate without a partner.
std::optional<std::u16string> json_text(std::string_view json);

}  // namespace brindlemoss::cli
