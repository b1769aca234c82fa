#pragma once

#include <cstdint>
#include <vector>

#include "image/text_line.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// The stretches of every row of a picture that look like text. Those of one row stand from left to
// right and do not overlap.
struct row_segments {
    explicit row_segments(std::int32_t height) : rows(static_cast<std::size_t>(height)) {}

    std::vector<text_segment>& of(std::int32_t y) { return rows[static_cast<std::size_t>(y)]; }
    const std::vector<text_segment>& of(std::int32_t y) const {
        return rows[static_cast<std::size_t>(y)];
    }
    void clear() {
        for (std::vector<text_segment>& row : rows) row.clear();
        next_row = 0;
    }

    std::vector<std::vector<text_segment>> rows;
    std::int32_t next_row = 0;  // above it every segment has been used
};

}  // namespace brindlemoss::analysis::plugins::image_analysis
