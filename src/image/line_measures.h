#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <list>
#include <vector>

#include "image/rect.h"
#include "image/text_line.h"

namespace brindlemoss::analysis::plugins::image_analysis {

inline rect hull_of_lines(const std::list<text_line*>& lines) {
    rect hull = inverted_rect;
    for (const text_line* line : lines) hull = hull_of(hull, line->box);
    return hull;
}

inline std::vector<std::int64_t> heights_of(const std::list<text_line*>& lines) {
    std::vector<std::int64_t> heights;
    for (const text_line* line : lines) heights.push_back(height_of(line->box));
    return heights;
}

// Of an even number of values the higher one in the middle. There must be one at least.
inline std::int64_t upper_median(std::vector<std::int64_t> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
