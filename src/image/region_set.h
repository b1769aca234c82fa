#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "image/cell_grid.h"
#include "image/checkpoints.h"
#include "image/rect.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// Regions of which no two touch: one that comes in swallows those that it touches, with one pixel
// of tolerance on all sides, and then those that the hull of all of them touches. Also takes
// regions whose right edge lies left of their left one; such a region touches what spans both
// edges.
//
// Neighbours are found in the cells of a grid. A region that grows keeps its cells, and only the
// part of it that is new is searched for neighbours, so that one huge region which swallows many
// small ones costs no more than they do.
class region_set {
public:
    // `extent` should hold all regions; cells at its rim serve for what lies outside.
    region_set(const rect& extent, const checkpoints& checkpoint);

    void add(const rect& region);

    // In the order in which they got the shape that they have.
    std::vector<rect> regions() const;

private:
    enum class standing { in_set, swallowed, gone };
    struct entry {
        rect place;
        std::size_t arrival;  // of the last region that it took in
        standing state;
    };

    void swallow_touching(const rect& area, const rect& quiet,
                          std::vector<std::uint32_t>& swallowed);
    void swallow_in(const cell_range& range, const rect& searched,
                    std::vector<std::uint32_t>& swallowed);
    std::uint32_t survivor_of(const std::vector<std::uint32_t>& swallowed);
    void settle(std::uint32_t number, const rect& place, const cell_range& settled);
    cell_range cells_of(const rect& place) const;

    cell_grid<std::uint32_t> cells_;  // indices into entries_
    std::vector<entry> entries_;
    std::size_t arrivals_ = 0;
    const checkpoints& checkpoint_;
};

}  // namespace brindlemoss::analysis::plugins::image_analysis
