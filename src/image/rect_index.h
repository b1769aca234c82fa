#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "image/cell_grid.h"
#include "image/rect.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// Rectangles by place, so that neighbours are found without looking at all of them: cells of a
// grid, each with the rectangles that reach into it.
class rect_index {
public:
    // `extent` should hold most of what will be added; what lies outside counts to the cells at its
    // edge.
    explicit rect_index(const rect& extent);

    // `id` is the caller's name for the rectangle; one at a time with that name. A rectangle that
    // is inverted meets nothing and is left out.
    void add(std::size_t id, const rect& place);

    // Removes every rectangle that intersects `area` and appends its id to `found`, in no
    // particular order. All that intersects `emptied`, where given, must have been taken before:
    // cells within it are not looked at again, so that an area that grows costs only its growth.
    void take(const rect& area, std::vector<std::size_t>& found, const rect* emptied = nullptr);

private:
    struct entry {
        std::size_t id;
        rect place;
        bool taken;
    };

    cell_grid<std::uint32_t> cells_;  // indices into entries_
    std::vector<entry> entries_;
};

}  // namespace brindlemoss::analysis::plugins::image_analysis
