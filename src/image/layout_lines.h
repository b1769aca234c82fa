#pragma once

#include <vector>

#include "image/background_map.h"
#include "image/layout_context.h"
#include "image/rect.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// The steps from stretches of rows to areas of lines, one after the other. docs/image-engine.md
// tells what they choose.

// Cuts pieces of a picture at clear columns, then rows, in turn, until nothing is left to cut. What
// comes out is trimmed of clear columns and rows; small pieces are dropped.
std::vector<rect> cut_into_leaves(const background_map& background,
                                  const std::vector<rect>& pieces);

// The lines of a leaf that are wide enough to count, from top to bottom.
std::vector<scan_area> find_lines(const background_map& background, const rect& leaf);

// Each line again, by rows that are poor in text within its own width: `percent` of a row that are
// background make it poor.
struct word_rows {
    std::vector<scan_area> lines;
    std::size_t divided = 0;  // lines that fell into two or more
};
word_rows find_word_rows(const background_map& background, const std::vector<scan_area>& lines,
                         int percent);

// Lines that stand together; each is at least one. Their boxes are set.
std::vector<scan_area> group_into_areas(std::vector<scan_area> lines);

// All of it. Without at least eight lines, and one that is left in the end, nothing.
std::vector<scan_area> areas_of_leaves(const background_map& background,
                                       const std::vector<rect>& leaves);

}  // namespace brindlemoss::analysis::plugins::image_analysis
