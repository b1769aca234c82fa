#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "image/crossings.h"
#include "image/row_segments.h"
#include "image/text_engine.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// Finds the stretches of single rows of `pp_plane`, within the crop, that are crossed by light and
// dark as regularly as text is. Keeps its buffers from row to row. The engine is borrowed; its crop
// and plane must stay as they are.
class row_scanner {
public:
    explicit row_scanner(const text_engine& engine);

    // Appends the segments of row `y` from left to right. Returns how many columns they cover.
    std::int32_t scan(std::int32_t y, std::vector<text_segment>& segments);

private:
    struct run {
        std::int32_t left, right;  // columns of the crop, counted from its left edge
    };

    bool take_gradient(const std::uint8_t* row);
    void find_active();
    void find_runs();
    void mark_crossings();
    bool is_like_text(const run& stretch, std::int32_t y);
    bool passes(crossing_verdict verdict, const run& stretch, std::int32_t y) const;
    rect rect_of(const run& stretch, std::int32_t y) const;
    void report(std::string_view label, std::int32_t y, const std::vector<run>& runs) const;

    const text_engine& engine_;
    std::int32_t columns_;                // of the crop
    std::int32_t first_, last_;           // columns of the picture with a gradient that counts
    std::vector<std::int16_t> gradient_;  // begins `reach` columns left of the crop
    std::vector<std::int16_t> low_3_, high_3_, low_7_, high_7_;
    std::vector<std::uint8_t> active_;  // by column of the crop, as the next
    std::vector<std::uint8_t> marks_;
    std::vector<run> runs_, valid_, invalid_;
    std::vector<std::int32_t> falls_, rises_;
};

// Scans the rows of the crop into `segments`, which must be clear: every fourth first, and the
// others only where those are covered to a tenth. Sets `covered_columns` and `segment_density`,
// which stays 0 where the first look was enough.
void scan_rows(text_engine& engine, row_segments& segments);

}  // namespace brindlemoss::analysis::plugins::image_analysis
