#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace brindlemoss::analysis::plugins::image_analysis {

// A row of pixels as bits, 64 a word, the lowest bit leftmost.

using bit_word = std::uint64_t;

inline constexpr std::int32_t word_bits = 64;

inline std::size_t word_of(std::int32_t x) {
    return static_cast<std::size_t>(x / word_bits);
}

inline std::size_t words_for(std::int32_t width) {
    return word_of(width + word_bits - 1);
}

// The bits of a row's word that lie between two columns, edges included.
inline bit_word bits_between(std::size_t index, std::int32_t left, std::int32_t right) {
    bit_word bits = ~bit_word{0};
    if (index == word_of(left)) bits &= ~bit_word{0} << (left % word_bits);
    if (index == word_of(right)) bits &= ~bit_word{0} >> (word_bits - 1 - right % word_bits);
    return bits;
}

// The first place from `from` on whose bit is as wanted; `end` if there is none before.
inline std::int32_t find_bit(const bit_word* bits, std::int32_t from, std::int32_t end,
                             bool wanted) {
    while (from < end) {
        const bit_word here = wanted ? bits[word_of(from)] : ~bits[word_of(from)];
        const bit_word rest = here >> (from % word_bits);
        if (rest != 0) return std::min(from + std::countr_zero(rest), end);
        from += word_bits - from % word_bits;
    }
    return end;
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
