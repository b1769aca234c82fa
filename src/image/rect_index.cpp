#include "image/rect_index.h"

#include <algorithm>

namespace brindlemoss::analysis::plugins::image_analysis {

namespace {

constexpr std::int64_t cell_side = 64;  // pixels; lines of text are some tens of pixels high

std::int32_t cell_count(std::int64_t length) {
    return static_cast<std::int32_t>(
        std::max<std::int64_t>((length + cell_side - 1) / cell_side, 1));
}

std::int32_t cell_number(std::int64_t offset, std::int32_t count) {
    return static_cast<std::int32_t>(
        std::clamp<std::int64_t>(offset < 0 ? 0 : offset / cell_side, 0, count - 1));
}

bool contains(const rect& outer, const rect& inner) {
    return outer.left <= inner.left && outer.top <= inner.top && outer.right >= inner.right &&
           outer.bottom >= inner.bottom;
}

}  // namespace

rect_index::rect_index(const rect& extent)
    : extent_(extent),
      columns_(cell_count(width_of(extent))),
      rows_(cell_count(height_of(extent))) {
    cells_.resize(static_cast<std::size_t>(columns_) * static_cast<std::size_t>(rows_));
}

rect_index::cell_range rect_index::cells_of(const rect& place) const {
    return {cell_number(std::int64_t{place.left} - extent_.left, columns_),
            cell_number(std::int64_t{place.top} - extent_.top, rows_),
            cell_number(std::int64_t{place.right} - extent_.left, columns_),
            cell_number(std::int64_t{place.bottom} - extent_.top, rows_)};
}

std::vector<std::uint32_t>& rect_index::cell(std::int32_t column, std::int32_t row) {
    return cells_[static_cast<std::size_t>(row) * static_cast<std::size_t>(columns_) +
                  static_cast<std::size_t>(column)];
}

void rect_index::add(std::size_t id, const rect& place) {
    if (width_of(place) <= 0 || height_of(place) <= 0) return;
    const auto number = static_cast<std::uint32_t>(entries_.size());
    entries_.push_back({id, place, false});
    const cell_range range = cells_of(place);
    for (std::int32_t row = range.top; row <= range.bottom; ++row) {
        for (std::int32_t column = range.left; column <= range.right; ++column) {
            cell(column, row).push_back(number);
        }
    }
}

void rect_index::take(const rect& area, std::vector<std::size_t>& found, const rect* emptied) {
    if (width_of(area) <= 0 || height_of(area) <= 0) return;
    const cell_range range = cells_of(area);
    // The cells at the rim of the area emptied may hold rectangles outside it.
    cell_range done{0, 0, -1, -1};
    if (emptied != nullptr && contains(area, *emptied)) {
        done = cells_of(*emptied);
        done = {done.left + 1, done.top + 1, done.right - 1, done.bottom - 1};
    }
    for (std::int32_t row = range.top; row <= range.bottom; ++row) {
        const bool row_done = row >= done.top && row <= done.bottom;
        for (std::int32_t column = range.left; column <= range.right; ++column) {
            if (row_done && column >= done.left && column <= done.right) column = done.right + 1;
            if (column > range.right) break;
            std::vector<std::uint32_t>& numbers = cell(column, row);
            std::erase_if(numbers, [&](std::uint32_t number) {
                entry& each = entries_[number];
                if (!each.taken && intersect(each.place, area)) {
                    each.taken = true;
                    found.push_back(each.id);
                }
                return each.taken;
            });
        }
    }
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
