#pragma once

#include <cstdint>
#include <list>
#include <vector>

#include "image/rect.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// A stretch of one row that looks like text.
struct text_segment {
    std::int32_t left;
    std::int32_t right;
    std::int32_t row;
    bool used = false;
};

// A blob of foreground pixels, or a word of a line.
struct component {
    rect box;
    bool marked = false;
    bool valid = true;
};

struct text_line {
    text_line() = default;
    explicit text_line(const rect& line_box) : box(line_box) {}

    // `glyphs` and `valid_words` point into the line itself.
    text_line(const text_line&) = delete;
    text_line& operator=(const text_line&) = delete;

    rect box;
    rect bounding_box;  // where its components may be sought
    std::list<component> components;
    std::list<component*> glyphs;  // the valid components, from left to right
    std::vector<component> words;
    std::vector<component*> valid_words;
    bool visited = false;
    bool valid = true;  // lines that are not stay in their lists and are passed over
};

// Lines that stand side by side.
struct meta_line {
    rect box;
    std::list<text_line*> lines;  // in reading order
    bool seeded = false;
};

struct block {
    rect box;
    std::list<text_line*> lines;
    std::vector<meta_line> meta_lines;
};

}  // namespace brindlemoss::analysis::plugins::image_analysis
