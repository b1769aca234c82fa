#include "image/blocks.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <optional>
#include <queue>
#include <utility>
#include <vector>

#include "image/cell_grid.h"
#include "image/line_groups.h"
#include "image/line_lists.h"
#include "image/line_measures.h"

namespace brindlemoss::analysis::plugins::image_analysis {

namespace {

// Blocks in the order in which they were finished, no two of which touch, to be found by place.
//
// The place of a block is kept as pieces. A block that takes in a much larger one keeps the pieces
// of that and adds only what is outside them, so that many such steps stay cheap.
class finished_blocks {
public:
    finished_blocks(const rect& extent, std::list<block>& blocks);

    // Appends the block, after it has taken in those that it touches, the first of them first,
    // until it touches none.
    void add(block&& fresh);

private:
    using first_finished =
        std::priority_queue<std::size_t, std::vector<std::size_t>, std::greater<>>;

    struct record {
        std::list<block>::iterator place;
        std::size_t merged_into;  // its own number for those that still stand
        bool touched;             // by the block that is being added, or that block itself
    };
    struct piece {
        rect area;
        std::size_t owner;
    };

    // Calls `visit` for each cell of the grid into which the area reaches.
    template <typename visitor>
    void for_each_cell(const rect& area, visitor visit);

    std::size_t standing(std::size_t number);
    void find_touched(const rect& area, first_finished& touched);
    void add_piece(const rect& area, std::size_t owner);

    cell_grid<piece> cells_;
    std::vector<record> records_;
    std::list<block>& blocks_;
};

finished_blocks::finished_blocks(const rect& extent, std::list<block>& blocks)
    : cells_(extent), blocks_(blocks) {}

template <typename visitor>
void finished_blocks::for_each_cell(const rect& area, visitor visit) {
    const cell_range range = cells_.cells_of(area);
    for (std::int32_t row = range.top; row <= range.bottom; ++row) {
        for (std::int32_t column = range.left; column <= range.right; ++column) {
            visit(cells_.at(column, row));
        }
    }
}

std::size_t finished_blocks::standing(std::size_t number) {
    while (records_[number].merged_into != number) {
        std::size_t& next = records_[number].merged_into;
        next = records_[next].merged_into;
        number = next;
    }
    return number;
}

void finished_blocks::find_touched(const rect& area, first_finished& touched) {
    const rect near{area.left - 1, area.top - 1, area.right + 1, area.bottom + 1};
    for_each_cell(near, [&](const std::vector<piece>& pieces) {
        for (const piece& each : pieces) {
            if (!intersect(each.area, near)) continue;
            const std::size_t number = standing(each.owner);
            if (records_[number].touched) continue;
            records_[number].touched = true;
            touched.push(number);
        }
    });
}

void finished_blocks::add_piece(const rect& area, std::size_t owner) {
    for_each_cell(area, [&](std::vector<piece>& pieces) { pieces.push_back({area, owner}); });
}

void finished_blocks::add(block&& fresh) {
    blocks_.push_back(std::move(fresh));
    block& added = blocks_.back();
    if (is_empty(added.box)) return;
    const std::size_t number = records_.size();
    records_.push_back({std::prev(blocks_.end()), number, true});

    first_finished touched;
    find_touched(added.box, touched);
    std::optional<rect> largest;  // of the blocks taken in
    while (!touched.empty()) {
        record& earlier = records_[touched.top()];
        touched.pop();
        const rect before = added.box;
        const rect taken = earlier.place->box;
        added.lines.splice(added.lines.end(), earlier.place->lines);
        added.box = hull_of(before, taken);
        blocks_.erase(earlier.place);
        earlier.merged_into = number;
        if (!largest || area_of(taken) > area_of(*largest)) largest = taken;
        // Nothing new touches either of the two boxes, only what they grow into together.
        const rect& known = area_of(taken) > area_of(before) ? taken : before;
        for (const rect& grown : remainder_of(added.box, known)) {
            if (!is_empty(grown)) find_touched(grown, touched);
        }
    }
    records_[number].touched = false;
    if (!largest) {
        add_piece(added.box, number);
        return;
    }
    for (const rect& grown : remainder_of(added.box, *largest)) {
        if (!is_empty(grown)) add_piece(grown, number);
    }
}

}  // namespace

void find_blocks(std::list<text_line>& lines, std::list<block>& blocks,
                 const checkpoints& checkpoint) {
    std::list<text_line*> waiting = valid_lines(lines);
    sort_in_reading_order(waiting);
    if (checkpoint.wanted()) checkpoint("Raw lines #2", boxes_of(waiting));

    const reach near{.rows = 16, .columns = 16, .corners = true};
    const group_labels labels{.seed = "Block seed", .tail = "Block tail", .group = "Found blocks"};
    reach_grouping grouping(waiting, near, labels, checkpoint);
    finished_blocks finished(hull_of_lines(waiting), blocks);
    while (std::optional<line_group> group = grouping.next()) {
        finished.add({.box = group->hull, .lines = std::move(group->lines), .meta_lines = {}});
    }
    for (text_line* line : waiting) line->visited = true;
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
