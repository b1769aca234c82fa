#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// Classes and lower case of single 16-bit units, by version 15 of the Unicode character database.
// The one place where the program tells a letter from a blank in wide text.
namespace replay::platform {

// What a unit is: an or of these. Surrogates, marks, numbers that are no decimal digits, private
// and unassigned units are none of them. Tabs, line ends and U+0085 are both space and control.
namespace character_class {

using flags = std::uint8_t;

inline constexpr flags space = 1 << 0;        // U+0009 to U+000D, U+0085, Zs, Zl, Zp
inline constexpr flags control = 1 << 1;      // Cc, Cf
inline constexpr flags punctuation = 1 << 2;  // P*, S*: all of ASCII's 32 are among them
inline constexpr flags alpha = 1 << 3;        // L*
inline constexpr flags digit = 1 << 4;        // Nd
inline constexpr flags printable = 1 << 5;    // alpha, digit, punctuation and U+0020 alone

}  // namespace character_class

// All units at one load each. Loops over text take the table once, with characters(), in front.
class character_table {
public:
    character_table(const character_table&) = delete;
    character_table& operator=(const character_table&) = delete;

    character_class::flags classes(char16_t unit) const noexcept { return classes_[unit]; }

    bool is_space(char16_t unit) const noexcept { return is(unit, character_class::space); }
    bool is_control(char16_t unit) const noexcept { return is(unit, character_class::control); }
    bool is_punctuation(char16_t unit) const noexcept {
        return is(unit, character_class::punctuation);
    }
    bool is_alpha(char16_t unit) const noexcept { return is(unit, character_class::alpha); }
    bool is_digit(char16_t unit) const noexcept { return is(unit, character_class::digit); }
    bool is_printable(char16_t unit) const noexcept { return is(unit, character_class::printable); }

    // The simple lower case mapping: always one unit, whatever stands around it; U+0130 gives "i".
    // A unit without one, a surrogate for one, is its own.
    char16_t to_lower(char16_t unit) const noexcept {
        return static_cast<char16_t>(unit + to_lower_[unit]);
    }

    // Lower-cases `size` units in place.
    void make_lower(char16_t* units, std::size_t size) const noexcept;

private:
    friend const character_table& characters() noexcept;

    static constexpr std::size_t units = 0x10000;

    constexpr character_table() noexcept;

    bool is(char16_t unit, character_class::flags flag) const noexcept {
        return (classes_[unit] & flag) != 0;
    }

    std::array<character_class::flags, units> classes_;
    std::array<char16_t, units> to_lower_;  // what to add, modulo 65536
};

// The table. It is part of the program's file, of which only the pages that are looked at are ever
// read.
const character_table& characters() noexcept;

// `text` with each unit lower-cased; as long as before.
std::u16string to_lower(std::u16string_view text);

}  // namespace replay::platform
