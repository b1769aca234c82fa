#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace brindlemoss::analysis::plugins::image_analysis {

// Grey levels of a picture, row by row from the top, without padding.
struct plane {
    plane() = default;

    // All zero. Both measures are at least 0.
    plane(std::int32_t plane_width, std::int32_t plane_height)
        : width(plane_width),
          height(plane_height),
          levels(static_cast<std::size_t>(plane_width) * static_cast<std::size_t>(plane_height)) {}

    std::uint8_t* row(std::int32_t y) {
        return levels.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(width);
    }
    const std::uint8_t* row(std::int32_t y) const {
        return levels.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(width);
    }
    std::uint8_t at(std::int32_t x, std::int32_t y) const { return row(y)[x]; }

    std::int32_t width = 0;
    std::int32_t height = 0;
    std::vector<std::uint8_t> levels;
};

}  // namespace brindlemoss::analysis::plugins::image_analysis
