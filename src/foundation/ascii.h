#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <string_view>

// Byte classes and comparisons of the classic locale, without a locale: bytes above 127 belong to
// no class and have no other case.
namespace replay::ascii {

namespace detail {

constexpr std::array<char, 256> make_lower_table() {
    std::array<char, 256> table{};
    for (int byte = 0; byte < 256; ++byte) {
        table[byte] = static_cast<char>(byte >= 'A' && byte <= 'Z' ? byte + ('a' - 'A') : byte);
    }
    return table;
}

inline constexpr std::array<char, 256> lower_table = make_lower_table();

}  // namespace detail

constexpr char to_lower(char byte) {
    return detail::lower_table[static_cast<unsigned char>(byte)];
}

// Space, tab, LF, VT, FF and CR.
constexpr bool is_space(char byte) {
    return byte == ' ' || (byte >= '\t' && byte <= '\r');
}

constexpr bool is_digit(char byte) {
    return byte >= '0' && byte <= '9';
}

constexpr bool is_letter_or_digit(char byte) {
    const char lower = to_lower(byte);
    return is_digit(byte) || (lower >= 'a' && lower <= 'z');
}

inline std::string to_lower(std::string_view text) {
    std::string lowered(text);
    for (char& byte : lowered) byte = to_lower(byte);
    return lowered;
}

// True when both texts are equal once lower-cased.
constexpr bool equals_ignoring_case(std::string_view left, std::string_view right) {
    return left.size() == right.size() &&
           std::equal(left.begin(), left.end(), right.begin(),
                      [](char a, char b) { return to_lower(a) == to_lower(b); });
}

// The decimal number that `text` begins with, 0 when it begins with no digit. A number over the
// largest 32-bit signed one gives that largest one.
constexpr std::int32_t leading_number(std::string_view text) {
    constexpr std::int64_t largest = INT32_MAX;
    std::int64_t number = 0;
    for (const char byte : text) {
        if (!is_digit(byte)) break;
        number = std::min(number * 10 + (byte - '0'), largest);
    }
    return static_cast<std::int32_t>(number);
}

}  // namespace replay::ascii
