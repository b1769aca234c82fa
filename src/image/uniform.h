#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "image/plane.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// How many pixels in a row may stray before a line of pixels is no longer uniform.
enum class stray_limit : int { layout = 2, detection = 3 };

// Neighbouring pixels of a uniform line differ by no more than this.
inline constexpr std::uint8_t gentle_step = 15;

// The level from which a walk along five samples starts, if they agree well enough.
inline std::optional<std::uint8_t> base_level(const std::uint8_t* sample, std::ptrdiff_t step) {
    const std::uint8_t s0 = sample[0], s1 = sample[step], s2 = sample[2 * step],
                       s3 = sample[3 * step], s4 = sample[4 * step];
    constexpr int near_below = 16;
    const auto near = [](int a, int b) { return a - b < near_below && b - a < near_below; };
    const auto triple = [&](int a, int b, int c) { return near(a, b) && near(a, c) && near(b, c); };
    if (triple(s0, s1, s2) || triple(s0, s1, s4) || triple(s0, s2, s3) || triple(s0, s3, s4)) {
        return s0;
    }
    if (near(s1, s2)) return s1;
    if (triple(s2, s3, s4)) return s2;
    if (triple(s1, s3, s4)) return s1;
    return std::nullopt;
}

// The part of a walk along neighbouring pixels, from `base` on, that surely meets no stray: whole
// chunks whose levels all lie near each other. Moves `base` to the last level passed.
inline std::int32_t gentle_stretch(const std::uint8_t* first, std::int32_t count, int& base) {
    constexpr std::int32_t chunk = 32;
    std::int32_t passed = 0;
    for (; passed + chunk <= count; passed += chunk, first += chunk) {
        std::uint8_t least = 255;
        std::uint8_t most = 0;
        for (std::int32_t index = 0; index < chunk; ++index) {
            const std::uint8_t level = first[index];  // by value, or no vector code comes of it
            least = std::min(least, level);
            most = std::max(most, level);
        }
        if (std::max<int>(most, base) - std::min<int>(least, base) > gentle_step) break;
        base = first[chunk - 1];
    }
    return passed;
}

// Whether `count` pixels, `step` bytes apart, are of one level or change it gently. Fewer than five
// always are.
inline bool is_uniform(const std::uint8_t* first, std::ptrdiff_t step, std::int32_t count,
                       stray_limit limit) {
    constexpr std::int32_t samples = 5;
    if (count < samples) return true;
    const std::optional<std::uint8_t> start = base_level(first, step);
    if (!start) return false;
    int base = *start;
    int strays = 0;
    std::int32_t index = step == 1 ? gentle_stretch(first, count, base) : 0;
    first += index * step;
    for (; index < count; ++index, first += step) {
        const int level = *first;
        if (level - base <= gentle_step && base - level <= gentle_step) {
            base = level;
            strays = 0;
        } else if (++strays == static_cast<int>(limit)) {
            return false;
        }
    }
    return true;
}

// Row y between two columns, and column x between two rows, edges included.

inline bool is_uniform_row(const plane& levels, std::int32_t y, std::int32_t left,
                           std::int32_t right, stray_limit limit) {
    return is_uniform(levels.row(y) + left, 1, right - left + 1, limit);
}

inline bool is_uniform_column(const plane& levels, std::int32_t x, std::int32_t top,
                              std::int32_t bottom, stray_limit limit) {
    return is_uniform(levels.row(top) + x, levels.width, bottom - top + 1, limit);
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
