#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "image/rect.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// Cells of a grid, edges inclusive.
struct cell_range {
    bool holds(std::int32_t column, std::int32_t row) const {
        return column >= left && column <= right && row >= top && row <= bottom;
    }

    std::int32_t left, top, right, bottom;
};

// Things by place: squares of a grid, each with what was entered there. What lies outside the
// extent counts to the cells at its rim.
template <typename entry>
class cell_grid {
public:
    explicit cell_grid(const rect& extent)
        : extent_(extent),
          columns_(count_of(width_of(extent))),
          rows_(count_of(height_of(extent))),
          cells_(static_cast<std::size_t>(columns_) * static_cast<std::size_t>(rows_)) {}

    // The cells that a rectangle reaches into.
    cell_range cells_of(const rect& place) const {
        return {number_of(std::int64_t{place.left} - extent_.left, columns_),
                number_of(std::int64_t{place.top} - extent_.top, rows_),
                number_of(std::int64_t{place.right} - extent_.left, columns_),
                number_of(std::int64_t{place.bottom} - extent_.top, rows_)};
    }

    std::vector<entry>& at(std::int32_t column, std::int32_t row) {
        return cells_[static_cast<std::size_t>(row) * static_cast<std::size_t>(columns_) +
                      static_cast<std::size_t>(column)];
    }

private:
    static constexpr std::int64_t side = 64;  // pixels; lines of text are some tens of pixels high

    static std::int32_t count_of(std::int64_t length) {
        return static_cast<std::int32_t>(std::max<std::int64_t>((length + side - 1) / side, 1));
    }
    static std::int32_t number_of(std::int64_t offset, std::int32_t count) {
        return static_cast<std::int32_t>(
            std::clamp<std::int64_t>(offset < 0 ? 0 : offset / side, 0, count - 1));
    }

    rect extent_;
    std::int32_t columns_;
    std::int32_t rows_;
    std::vector<std::vector<entry>> cells_;
};

}  // namespace brindlemoss::analysis::plugins::image_analysis
