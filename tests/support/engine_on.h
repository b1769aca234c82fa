#pragma once

#include <utility>

#include "image/row_segments.h"
#include "image/text_engine.h"

namespace test_support {

namespace image_analysis = brindlemoss::analysis::plugins::image_analysis;

// An engine whose preprocessed plane is `levels`, with all of it under consideration.
inline image_analysis::text_engine engine_on(image_analysis::plane levels,
                                             image_analysis::checkpoint_hook* hook = nullptr) {
    image_analysis::text_engine engine({levels.width, levels.height, nullptr, 0}, {}, hook);
    engine.crop = {0, 0, levels.width - 1, levels.height - 1};
    engine.background_level = 255;
    engine.pp_plane = std::move(levels);
    return engine;
}

// The runs of set cells in every row of a grid, as segments.
template <typename cell_function>
image_analysis::row_segments segments_where(std::int32_t width, std::int32_t height,
                                            cell_function is_set) {
    image_analysis::row_segments segments(height);
    for (std::int32_t y = 0; y < height; ++y) {
        for (std::int32_t x = 0; x < width; ++x) {
            if (!is_set(x, y)) continue;
            auto& row = segments.of(y);
            if (row.empty() || row.back().right != x - 1) row.push_back({x, x, y});
            row.back().right = x;
        }
    }
    return segments;
}

}  // namespace test_support
