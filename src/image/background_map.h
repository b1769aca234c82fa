#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "image/bit_row.h"
#include "image/plane.h"
#include "image/rect.h"
#include "image/text_engine.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// Rows or columns, edges included.
struct stretch {
    std::int32_t first;
    std::int32_t last;

    std::int32_t length() const { return last - first + 1; }
    friend bool operator==(const stretch&, const stretch&) = default;
};

// Which pixels of a plane are background and which are clear, a bit a pixel.
//
// A pixel is clear if it is background or if its left, right, upper and lower neighbours all are: a
// speck of one pixel counts as nothing. At the plane's edge a pixel stands in for the neighbour
// that it lacks, so that a speck there counts. A row or column is clear if all its pixels are.
//
// Rectangles lie within the plane and are not empty.
class background_map {
public:
    background_map() = default;
    background_map(const plane& levels, const level_flags& is_background);

    bool is_background(std::int32_t x, std::int32_t y) const;

    // The background pixels of row y between two columns, edges included.
    std::int32_t background_in_row(std::int32_t y, std::int32_t left, std::int32_t right) const;

    // The maximal stretches of columns of `area` that are not clear. Clear runs of at most
    // `longest_space` columns between two of them belong to them.
    std::vector<stretch> columns(const rect& area, std::int32_t longest_space) const;

    // The same with rows.
    std::vector<stretch> rows(const rect& area, std::int32_t longest_space) const;

    // Appends the stretches of foreground in row y between two columns.
    void foreground_in_row(std::int32_t y, std::int32_t left, std::int32_t right,
                           std::vector<stretch>& found) const;

    // Takes clear columns off the left and right. False if all are clear; then nothing changes.
    bool trim_columns(rect& area) const;

private:
    using word = bit_word;

    const word* row(const std::vector<word>& bits, std::int32_t y) const {
        return bits.data() + static_cast<std::size_t>(y) * words_;
    }
    bool is_clear_row(std::int32_t y, std::int32_t left, std::int32_t right) const;
    void mark_background(const plane& levels, const level_flags& is_background);
    void mark_busy(std::int32_t width, std::int32_t height);

    std::size_t words_ = 0;         // of a row
    std::vector<word> background_;  // the bits behind a row's last pixel are not set
    std::vector<word> busy_;        // what is not clear; likewise
};

}  // namespace brindlemoss::analysis::plugins::image_analysis
