#include "cli/registry_value.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <utility>

#include "cli/registry_access.h"
#include "foundation/registry_values.h"
#include "foundation/translate.h"
#include "platform/utf8.h"

namespace brindlemoss::cli {

namespace platform = replay::platform;
namespace registry = replay::registry2;
namespace value_type = replay::platform::value_type;
using platform::stored_value;
using registry::text_list;
using replay::coding::translate::base16_encode;

namespace {

struct named_type {
    std::int32_t type;
    std::string_view name;
};

constexpr named_type named_types[] = {
    {value_type::none, "none"},
    {value_type::text, "text"},
    {value_type::expandable_text, "expandable"},
    {value_type::binary, "binary"},
    {value_type::integer, "integer"},
    {value_type::multi_text, "multi_text"},
    {value_type::integer64, "integer64"},
};

template <typename number>
std::optional<number> number_in(std::string_view digits) {
    number value{};
    const char* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, value);
    if (error != std::errc() || stop != end) return std::nullopt;
    return value;
}

// JSON that libraries read holds no surrogate without its partner.
bool is_sound(const std::u16string& text) {
    std::string ignored;
    return platform::encode_utf8(text, platform::on_error::stop, ignored) ==
           platform::conversion_status::done;
}

bool is_text(std::int32_t type) {
    return type == value_type::text || type == value_type::expandable_text;
}

bool has_data_of_its_own(std::int32_t type) {
    return is_text(type) || type == value_type::integer || type == value_type::integer64 ||
           type == value_type::multi_text;
}

std::uint64_t integer64_in(std::string_view bytes) {
    const std::uint64_t high = registry::integer_in(bytes.substr(4));
    return high << 32 | registry::integer_in(bytes.substr(0, 4));
}

stored_value integer_of(std::uint64_t number) {
    if (number > std::numeric_limits<std::uint32_t>::max()) {
        throw unfit_data("an integer is 0 to 4294967295");
    }
    return registry::integer_value(static_cast<std::uint32_t>(number));
}

stored_value list_of(const text_list& lines) {
    for (const std::u16string& line : lines) {
        if (line.empty()) throw unfit_data("a list cannot hold an empty line");
        if (line.find(u'\0') != line.npos) throw unfit_data("a line cannot hold a NUL");
    }
    return registry::multi_text_value(registry::views_of(lines));
}

[[noreturn]] void throw_unfit(std::int32_t type) {
    if (is_text(type)) throw unfit_data("the type " + type_name(type) + " wants one text");
    if (type == value_type::multi_text) throw unfit_data("a list wants lines of text");
    if (has_data_of_its_own(type)) {
        throw unfit_data("the type " + type_name(type) + " wants one number, 0 or above");
    }
    throw unfit_data("the type " + type_name(type) + " wants hexadecimal digits");
}

std::uint64_t number_of_arguments(std::int32_t type, const std::vector<std::string>& arguments) {
    if (arguments.size() != 1) throw_unfit(type);
    const std::optional<std::uint64_t> number = number_in<std::uint64_t>(arguments.front());
    if (number) return *number;
    const bool all_digits = !arguments.front().empty() &&
                            arguments.front().find_first_not_of("0123456789") == std::string::npos;
    if (!all_digits) throw_unfit(type);
    throw unfit_data("the number is too large");
}

text_list lines_of_arguments(const std::vector<std::string>& arguments) {
    text_list lines;
    for (const std::string& argument : arguments) lines.push_back(wide_argument(argument));
    return lines;
}

}  // namespace

std::string type_name(std::int32_t type) {
    for (const named_type& each : named_types) {
        if (each.type == type) return std::string(each.name);
    }
    return std::to_string(type);
}

std::optional<std::int32_t> type_named(std::string_view name) {
    for (const named_type& each : named_types) {
        if (each.name == name) return each.type;
    }
    return number_in<std::int32_t>(name);
}

value_data decode(const stored_value& value) {
    const std::string& bytes = value.bytes;
    if (is_text(value.type)) {
        std::u16string text = registry::text_in(bytes);
        if (is_sound(text) && registry::text_value(text).bytes == bytes) return text;
    } else if (value.type == value_type::integer && bytes.size() == 4) {
        return std::uint64_t{registry::integer_in(bytes)};
    } else if (value.type == value_type::integer64 && bytes.size() == 8) {
        return integer64_in(bytes);
    } else if (value.type == value_type::multi_text) {
        text_list lines = registry::lines_in(bytes);
        const bool sound = std::all_of(lines.begin(), lines.end(), is_sound);
        if (sound && registry::multi_text_value(registry::views_of(lines)).bytes == bytes)
            return lines;
    }
    return plain_bytes{bytes};
}

stored_value encode(std::int32_t type, const value_data& data) {
    if (const auto* plain = std::get_if<plain_bytes>(&data)) return {type, plain->bytes};
    if (const auto* text = std::get_if<std::u16string>(&data); text && is_text(type)) {
        return {type, registry::text_value(*text).bytes};
    }
    if (const auto* lines = std::get_if<text_list>(&data);
        lines && type == value_type::multi_text) {
        return list_of(*lines);
    }
    if (const auto* number = std::get_if<std::uint64_t>(&data)) {
        if (type == value_type::integer) return integer_of(*number);
        if (type == value_type::integer64) return registry::integer64_value(*number);
    }
    throw_unfit(type);
}

stored_value value_of_arguments(std::int32_t type, const std::vector<std::string>& arguments) {
    if (type == value_type::multi_text) return encode(type, lines_of_arguments(arguments));
    if (type == value_type::integer || type == value_type::integer64) {
        return encode(type, number_of_arguments(type, arguments));
    }
    if (arguments.empty() || (is_text(type) && arguments.size() != 1)) throw_unfit(type);
    if (is_text(type)) return encode(type, wide_argument(arguments.front()));
    plain_bytes bytes;
    for (const std::string& argument : arguments) bytes.bytes += bytes_of_hex(argument);
    return encode(type, bytes);
}

std::u16string wide_argument(std::string_view utf8) {
    std::u16string wide;
    if (platform::decode_utf8(utf8, platform::on_error::stop, wide) !=
        platform::conversion_status::done) {
        throw unfit_data("this is no UTF-8");
    }
    return wide;
}

std::string bytes_of_hex(std::string_view digits) {
    if (digits.size() % 2 != 0) throw unfit_data("an odd number of hexadecimal digits");
    std::string bytes;
    bytes.reserve(digits.size() / 2);
    for (std::size_t at = 0; at < digits.size(); at += 2) {
        unsigned char byte = 0;
        const char* const end = digits.data() + at + 2;
        const auto [stop, error] = std::from_chars(digits.data() + at, end, byte, 16);
        if (error != std::errc() || stop != end) throw unfit_data("no hexadecimal digits");
        bytes += static_cast<char>(byte);
    }
    return bytes;
}

void write_value_fields(const stored_value& value, json_writer& json) {
    json.key("type").utf8(type_name(value.type));
    const value_data data = decode(value);
    const auto* const plain = std::get_if<plain_bytes>(&data);
    json.key(plain && has_data_of_its_own(value.type) ? "raw" : "data");
    if (plain) {
        json.utf8(base16_encode(std::string_view(plain->bytes)));
    } else if (const auto* number = std::get_if<std::uint64_t>(&data)) {
        json.unsigned_number(*number);
    } else if (const auto* text = std::get_if<std::u16string>(&data)) {
        json.text(*text);
    } else {
        json.begin_array();
        for (const std::u16string& line : std::get<text_list>(data)) json.text(line);
        json.end_array();
    }
}

std::vector<std::string> shown_lines(const stored_value& value) {
    const value_data data = decode(value);
    if (const auto* plain = std::get_if<plain_bytes>(&data)) {
        return {base16_encode(std::string_view(plain->bytes))};
    }
    if (const auto* number = std::get_if<std::uint64_t>(&data)) return {std::to_string(*number)};
    if (const auto* text = std::get_if<std::u16string>(&data)) return {shown(*text)};
    std::vector<std::string> lines;
    for (const std::u16string& line : std::get<text_list>(data)) lines.push_back(shown(line));
    return lines;
}

}  // namespace brindlemoss::cli
