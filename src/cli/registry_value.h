#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "cli/json_writer.h"
#include "foundation/registry.h"

// Values of the registry as people and JSON see them.
namespace brindlemoss::cli {

// The name of a type (platform::value_type), "integer64"; its number in digits where it has none.
// And back; nullopt for what is neither.
std::string type_name(std::int32_t type);
std::optional<std::int32_t> type_named(std::string_view name);

struct plain_bytes {
    std::string bytes;
};

using value_data =
    std::variant<std::uint64_t, std::u16string, replay::registry2::text_list, plain_bytes>;

// What a value says. A number, text or list only where encode() makes exactly these bytes of it
// again and JSON can say it, so that nothing is lost; else, and of other types, the plain bytes.
value_data decode(const replay::platform::stored_value& value);

// Data that do not suit the type; the text says why.
class unfit_data : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The value of a type that says `data`. Plain bytes suit every type, other data their own. Throws
// unfit_data.
replay::platform::stored_value encode(std::int32_t type, const value_data& data);

// The value that arguments of the command line say: one text or decimal number, the lines of a
// list, or hexadecimal digits. Throws unfit_data.
replay::platform::stored_value value_of_arguments(std::int32_t type,
                                                  const std::vector<std::string>& arguments);

// Throws unfit_data.
std::u16string wide_argument(std::string_view utf8);
std::string bytes_of_hex(std::string_view digits);

// Text of a JSON value: "type" and "data", which is a number, a text, an array of texts or
// hexadecimal digits; or, for bytes that do not suit their type, "type" and "raw" with the digits.
void write_value_fields(const replay::platform::stored_value& value, json_writer& json);

// For people; one line for all but lists, which have any number. Bytes are hexadecimal.
std::vector<std::string> shown_lines(const replay::platform::stored_value& value);

}  // namespace brindlemoss::cli
