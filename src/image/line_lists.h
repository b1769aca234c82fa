#pragma once

#include <list>
#include <vector>

#include "image/reading_order.h"
#include "image/text_line.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// In the order of `lines`.
inline std::list<text_line*> valid_lines(std::list<text_line>& lines) {
    std::list<text_line*> result;
    for (text_line& line : lines) {
        if (line.valid) result.push_back(&line);
    }
    return result;
}

inline void sort_in_reading_order(std::list<text_line*>& lines) {
    sort_in_reading_order(lines, [](const text_line* line) -> const rect& { return line->box; });
}

// The boxes of lines, components, words or blocks, or of what points to them.
template <typename boxed_range>
std::vector<rect> boxes_of(const boxed_range& range) {
    std::vector<rect> boxes;
    for (const auto& each : range) {
        if constexpr (requires { each->box; }) {
            boxes.push_back(each->box);
        } else {
            boxes.push_back(each.box);
        }
    }
    return boxes;
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
