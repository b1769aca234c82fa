#pragma once

#include <brindlemoss/component.h>

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace brindlemoss::cli {

// What arguments of the command line say to a method that is called by its name, in their order.
// Each is
//
// - "@FILE": the bytes of the file, one a unit; "@-" is standard input, once;
// - a JSON value (RFC 8259): a text, where surrogates may stand alone, a whole number of 32 bits,
//   true, false, or null for no value;
// - anything else: a text as it stands, in UTF-8.
//
// Throws refusal for what cannot be read or is no value that a method takes.
std::vector<component::value> read_call_arguments(std::span<const std::string> given);

}  // namespace brindlemoss::cli
