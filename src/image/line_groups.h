#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <optional>
#include <queue>
#include <string_view>
#include <vector>

#include "image/checkpoints.h"
#include "image/rect.h"
#include "image/rect_index.h"
#include "image/text_line.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// Lines that belong together, in the order in which they joined.
struct line_group {
    rect hull;
    std::list<text_line*> lines;
};

// Each grouping takes the first remaining line as the seed of a group, then again and again the
// first remaining line, in list order, that belongs to the hull so far, until none does. Groups
// stand in the order of their seeds. Neighbours are found by an index: the cost is about linear in
// the lines, not quadratic. A line with an inverted box stands alone. All lines of the list are
// grouped: what is to be passed over is left out of it.

// Lines whose rows overlap.
std::vector<line_group> horizontal_groups(const std::list<text_line*>& lines,
                                          const checkpoints& checkpoint);

// Lines whose columns overlap.
std::vector<line_group> vertical_groups(const std::list<text_line*>& lines,
                                        const checkpoints& checkpoint);

// Lines that share columns and lie less than 25 rows apart, or share rows and lie less than 17
// columns apart.
std::vector<line_group> proximity_groups(const std::list<text_line*>& lines,
                                         const checkpoints& checkpoint);

// How near a line must be to belong to a hull.
struct reach {
    std::int32_t rows;     // at most this vertical_gap(), for lines that share columns; at least 1
    std::int32_t columns;  // at most this horizontal_gap(), for lines that share rows; at least 1
    bool corners = false;  // whether it is enough to touch() at a corner
};

// What is reported of a grouping; an empty label is not.
struct group_labels {
    std::string_view seed;   // the line that starts a group
    std::string_view tail;   // each line that joins it
    std::string_view group;  // the hull of a finished group
};

// Gives the groups one by one.
class reach_grouping {
public:
    // The lines are borrowed, the labels and the checkpoints too; boxes are read here and not
    // again.
    reach_grouping(const std::list<text_line*>& lines, const reach& near,
                   const group_labels& labels, const checkpoints& checkpoint);

    // Nothing once all lines have been given.
    std::optional<line_group> next();

private:
    using first_in_list_order =
        std::priority_queue<std::size_t, std::vector<std::size_t>, std::greater<>>;

    struct member {
        text_line* line;
        rect box;
        bool taken = false;
    };

    void find_neighbours(const rect& hull, const rect* hull_before, first_in_list_order& waiting);
    void take(const rect& hull, const rect* hull_before, std::int32_t columns, std::int32_t rows);
    void report(std::string_view label, const rect& place) const;

    std::vector<member> members_;  // in list order
    rect_index index_;
    reach near_;
    group_labels labels_;
    const checkpoints& checkpoint_;
    std::size_t next_seed_ = 0;
    std::vector<std::size_t> found_;  // scratch of find_neighbours()
};

std::vector<line_group> grouped_by_reach(const std::list<text_line*>& lines, const reach& near,
                                         const group_labels& labels, const checkpoints& checkpoint);

}  // namespace brindlemoss::analysis::plugins::image_analysis
