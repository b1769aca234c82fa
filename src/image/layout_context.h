#pragma once

#include <cstdint>
#include <vector>

#include "image/background_map.h"
#include "image/rect.h"

namespace brindlemoss::analysis::plugins::image_analysis {

struct scan_word {
    std::int32_t left;
    std::int32_t right;
    std::vector<rect> spans;  // its blobs; where words are found by clear columns none
};

// A line, or an area that holds lines, which are areas in their turn.
struct scan_area {
    rect box;
    bool enabled = true;           // whether an area counts as text
    std::vector<scan_area> lines;  // from top to bottom
    std::vector<scan_word> cells;  // of a line, from left to right
};

// What the layout scan knows of a picture once a strategy has found lines.
struct layout_context {
    background_map background;
    std::vector<scan_area> areas;
    bool colour_mode = false;  // words are told by their blobs
};

// The smallest area that counts as text.
inline constexpr std::int32_t narrowest_area = 16;
inline constexpr std::int32_t lowest_area = 6;

// Rows or lines whose facing row numbers differ by more than this lie apart.
inline constexpr std::int32_t widest_leading = 13;

}  // namespace brindlemoss::analysis::plugins::image_analysis
