#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "image/checkpoints.h"
#include "image/plane.h"
#include "image/rect.h"
#include "image/text_engine.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// Where lines that stick together part, by how much ink their rows hold. One value a row, from the
// top; rows are counted from 0.
using row_profile = std::vector<std::int32_t>;

// From one row to another, both included.
struct row_range {
    std::int32_t first;
    std::int32_t last;

    std::int32_t length() const { return last - first + 1; }
    friend bool operator==(const row_range&, const row_range&) = default;
};

// For each row of `area`, which lies within the plane, the pixels whose level is not among the
// background.
row_profile row_projection(const plane& levels, const level_flags& background, const rect& area);

// The row with the least ink of those at most two away from `midline`: the midline itself if none
// has less, otherwise the first.
std::int32_t true_midline(const row_profile& profile, std::int32_t midline);

// The rows of a profile, cut before each of these rows; where two cuts meet a piece is empty.
std::vector<row_range> cut_rows(std::int32_t rows, std::span<const std::int32_t> cuts);

// In percent of the largest value of the piece; 100 throughout a piece without ink.
row_profile normalised(const row_profile& profile, std::span<const row_range> pieces);

// The least value that stands between higher rows, of a normalised profile; nothing if it only
// rises and falls.
std::optional<std::int32_t> waist_of(const row_profile& profile);

// What a row of a line must exceed, for a waist so deep. Nothing if the waist is none.
std::optional<std::int32_t> row_level(std::int32_t waist);

// The stretches of more than one row above the level.
std::vector<row_range> segments_above(const row_profile& profile, std::int32_t level);

// Joins segments of fewer than three rows, what lies between them included, with the one before;
// the first with the one behind. `line` is only for the checkpoints: where the profile lies.
std::vector<row_range> combined(const std::vector<row_range>& segments, const rect& line,
                                const checkpoints& checkpoint);

// Whether segments may be lines of about `height` rows, and alike if there are two.
bool fit_height(const std::vector<row_range>& segments, std::int32_t height);

// Rows of the profile of `line` as a part of it.
inline rect part_of(const rect& line, const row_range& rows) {
    return {line.left, line.top + rows.first, line.right, line.top + rows.last};
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
