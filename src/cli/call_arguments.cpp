#include "cli/call_arguments.h"

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>
#include <nlohmann/json.hpp>
#include <optional>

#include "cli/console.h"
#include "cli/json_text.h"
#include "cli/registry_access.h"
#include "cli/registry_value.h"
#include "message/character_set.h"
#include "platform/file.h"

namespace brindlemoss::cli {

using component::value;
using nlohmann::json;

namespace {

std::string bytes_of_file(const std::string& path) {
    if (path != "-") return replay::platform::read_file(path);
    const obey_interrupts obeying;
    return replay::platform::read_descriptor(STDIN_FILENO, "standard input");
}

value content_of_file(const std::string& path) {
    std::string why;
    try {
        return replay::unicode::to_wide(bytes_of_file(path), replay::unicode::byte_for_byte);
    } catch (const replay::platform::file_error& error) {
        why = error.code().message();
    } catch (const std::bad_alloc&) {
        why = "too large for the memory of this machine";
    }
    throw refusal("cannot read '" + printable(path) + "': " + why);
}

refusal no_value(const std::string& given, const char* why) {
    return refusal("the argument '" + printable(given) + "' is JSON, but " + why);
}

value text_as_it_stands(const std::string& given) {
    try {
        return wide_argument(given);
    } catch (const unfit_data&) {
        throw refusal("the argument '" + printable(given) + "' is not UTF-8; '@FILE' gives bytes");
    }
}

value number_of(const json& parsed, const std::string& given) {
    using limits = std::numeric_limits<std::int32_t>;
    const bool fits = parsed.is_number_unsigned()
                          ? parsed.get<std::uint64_t>() <= std::uint64_t{limits::max()}
                          : parsed.get<std::int64_t>() >= limits::min();
    if (!fits) throw no_value(given, "a number beyond 32 bits");
    return parsed.get<std::int32_t>();
}

value value_of(const std::string& given) {
    if (const auto text = json_text(given)) return *text;
    const json parsed = json::parse(given, nullptr, false);
    if (parsed.is_discarded()) return text_as_it_stands(given);
    if (parsed.is_null()) return std::monostate();
    if (parsed.is_boolean()) return parsed.get<bool>();
    if (parsed.is_number_integer()) return number_of(parsed, given);
    throw no_value(given, "neither a text, a whole number, true nor false");
}

}  // namespace

std::vector<value> read_call_arguments(std::span<const std::string> given) {
    std::vector<value> values;
    bool has_input = false;
    for (const std::string& each : given) {
        if (!each.starts_with('@')) {
            values.push_back(value_of(each));
            continue;
        }
        const bool is_input = each == "@-";
        if (is_input && has_input) throw refusal("standard input can be given but once");
        has_input = has_input || is_input;
        values.push_back(content_of_file(each.substr(1)));
    }
    return values;
}

}  // namespace brindlemoss::cli
