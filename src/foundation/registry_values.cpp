#include "foundation/registry_values.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "platform/utf8.h"
#include "platform/wide_search.h"

namespace replay::registry2 {

namespace value_type = platform::value_type;

namespace {

std::string little_endian(std::uint64_t number, std::size_t size) {
    std::string bytes(size, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(number);
        number >>= 8;
    }
    return bytes;
}

// Units in memory have that order of bytes already where the low byte stands first.
constexpr bool is_order_of_machine = std::endian::native == std::endian::little;

void append_units(std::u16string_view text, std::string& bytes) {
    if constexpr (is_order_of_machine) {
        bytes.append(reinterpret_cast<const char*>(text.data()), 2 * text.size());
        return;
    }
    for (const char16_t unit : text) {
        bytes += static_cast<char>(unit);
        bytes += static_cast<char>(unit >> 8);
    }
}

}  // namespace

platform::stored_value integer_value(std::uint32_t number) {
    return {value_type::integer, little_endian(number, 4)};
}

platform::stored_value integer64_value(std::uint64_t number) {
    return {value_type::integer64, little_endian(number, 8)};
}

platform::stored_value text_value(std::u16string_view text) {
    platform::stored_value value{value_type::text, {}};
    value.bytes.reserve(2 * text.size() + 2);
    append_units(text, value.bytes);
    value.bytes.append(2, '\0');
    return value;
}

line_views views_of(const std::vector<std::u16string>& lines) {
    return {lines.begin(), lines.end()};
}

platform::stored_value multi_text_value(const line_views& lines) {
    platform::stored_value value{value_type::multi_text, {}};
    std::size_t size = 2;
    for (const std::u16string_view line : lines) size += 2 * line.size() + 2;
    value.bytes.reserve(size);
    for (const std::u16string_view line : lines) {
        append_units(line, value.bytes);
        value.bytes.append(2, '\0');
    }
    value.bytes.append(2, '\0');
    return value;
}

std::uint32_t integer_in(std::string_view bytes) {
    std::uint32_t number = 0;
    for (std::size_t at = bytes.size(); at > 0; --at) {
        number = number << 8 | static_cast<unsigned char>(bytes[at - 1]);
    }
    return number;
}

std::u16string text_in(std::string_view bytes) {
    std::u16string text = units_in(bytes);
    if (!text.empty() && text.back() == u'\0') text.pop_back();
    return text;
}

std::vector<std::u16string> lines_in(std::string_view bytes) {
    const std::u16string units = units_in(bytes);
    const line_views lines = lines_of_units(units);
    return {lines.begin(), lines.end()};
}

std::u16string units_in(std::string_view bytes) {
    std::u16string units(bytes.size() / 2, u'\0');
    if constexpr (is_order_of_machine) {
        if (!units.empty()) std::memcpy(units.data(), bytes.data(), 2 * units.size());
        return units;
    }
    for (std::size_t at = 0; at < units.size(); ++at) {
        const auto low = static_cast<unsigned char>(bytes[2 * at]);
        const auto high = static_cast<unsigned char>(bytes[2 * at + 1]);
        units[at] = static_cast<char16_t>(low | high << 8);
    }
    return units;
}

line_views lines_of_units(std::u16string_view units) {
    line_views lines;
    for (std::size_t begin = 0; begin < units.size();) {
        const std::size_t end = std::min(platform::find_unit(units, u'\0', begin), units.size());
        if (end == begin) break;
        lines.push_back(units.substr(begin, end - begin));
        begin = end + 1;
    }
    return lines;
}

std::string utf8_name(std::u16string_view name) {
    constexpr std::string_view no_text = "\xFF";
    std::string bytes;
    const auto status = platform::encode_utf8(name, platform::on_error::stop, bytes);
    return status == platform::conversion_status::done ? bytes : std::string(no_text);
}

std::u16string wide_name(std::string_view name) {
    return platform::from_utf8(name);
}

std::string narrow(std::u16string_view text) {
    std::string bytes(text.size(), '?');
    std::transform(text.begin(), text.end(), bytes.begin(),
                   [](char16_t unit) { return unit > 0xFF ? '?' : static_cast<char>(unit); });
    return bytes;
}

std::u16string widen(std::string_view bytes) {
    std::u16string text(bytes.size(), u'\0');
    std::transform(bytes.begin(), bytes.end(), text.begin(),
                   [](char byte) { return static_cast<unsigned char>(byte); });
    return text;
}

}  // namespace replay::registry2
