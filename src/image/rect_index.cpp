#include "image/rect_index.h"

#include <algorithm>

namespace brindlemoss::analysis::plugins::image_analysis {

namespace {

bool contains(const rect& outer, const rect& inner) {
    return outer.left <= inner.left && outer.top <= inner.top && outer.right >= inner.right &&
           outer.bottom >= inner.bottom;
}

}  // namespace

rect_index::rect_index(const rect& extent) : cells_(extent) {}

void rect_index::add(std::size_t id, const rect& place) {
    if (is_empty(place)) return;
    const auto number = static_cast<std::uint32_t>(entries_.size());
    entries_.push_back({id, place, false});
    const cell_range range = cells_.cells_of(place);
    for (std::int32_t row = range.top; row <= range.bottom; ++row) {
        for (std::int32_t column = range.left; column <= range.right; ++column) {
            cells_.at(column, row).push_back(number);
        }
    }
}

void rect_index::take(const rect& area, std::vector<std::size_t>& found, const rect* emptied) {
    if (is_empty(area)) return;
    const cell_range range = cells_.cells_of(area);
    // The cells at the rim of the area emptied may hold rectangles outside it.
    cell_range done{0, 0, -1, -1};
    if (emptied != nullptr && contains(area, *emptied)) {
        done = cells_.cells_of(*emptied);
        done = {done.left + 1, done.top + 1, done.right - 1, done.bottom - 1};
    }
    for (std::int32_t row = range.top; row <= range.bottom; ++row) {
        for (std::int32_t column = range.left; column <= range.right; ++column) {
            if (done.holds(column, row)) {
                column = done.right;
                continue;
            }
            std::vector<std::uint32_t>& numbers = cells_.at(column, row);
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
