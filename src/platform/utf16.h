#pragma once

// Surrogates, the halves of characters beyond 16 bits.
namespace replay::platform {

constexpr bool is_high_surrogate(char16_t unit) {
    return (unit & 0xFC00) == 0xD800;
}
constexpr bool is_low_surrogate(char16_t unit) {
    return (unit & 0xFC00) == 0xDC00;
}
constexpr bool is_surrogate(char16_t unit) {
    return (unit & 0xF800) == 0xD800;
}

// Stands for what has no meaning.
inline constexpr char16_t replacement_character = 0xFFFD;

}  // namespace replay::platform
