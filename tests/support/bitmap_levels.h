#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "image/bitmap.h"

namespace test_support {

// The blue of each pixel, from the top row down: in grey pictures, the level.
inline std::vector<std::uint8_t> levels_of(
    const brindlemoss::analysis::plugins::image_analysis::bitmap& picture) {
    std::vector<std::uint8_t> levels;
    if (!picture.has_24_bits()) return levels;
    const auto pixels = picture.pixels();
    for (std::int32_t row = pixels.height - 1; row >= 0; --row) {
        for (std::int32_t column = 0; column < pixels.width; ++column) {
            levels.push_back(pixels.bits[std::ptrdiff_t{row} * pixels.pitch + column * 3]);
        }
    }
    return levels;
}

}  // namespace test_support
