#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <list>
#include <memory>
#include <span>
#include <vector>

#include "image/plane.h"
#include "image/text_engine.h"
#include "image/text_line.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// Finds the blobs of foreground pixels of one line after another. All lines share one map of
// labels, 0 where there is none: a pixel that was labelled for one line counts as labelled for the
// next, under the same number. `label` is the type of those numbers.
template <typename label>
class label_map_of {
public:
    // A pixel is foreground if its level is not among the `background`. Both are borrowed.
    // Throws std::bad_alloc.
    label_map_of(const plane& levels, const level_flags& background);

    // Labels the pixels in the line's `box` and, as long as they hang on labelled ones, out to its
    // `bounding_box`. Gives the components of the line in order of number, from 1 on; they live
    // until the next call and are the caller's to change.
    //
    // Unless the line is `needed_later`, the labels within its box are not kept in the map: most of
    // its memory is then never touched.
    std::span<component> label_line(const text_line& line, bool needed_later);

private:
    struct releaser {
        void operator()(label* labels) const { std::free(labels); }
    };

    // Points at the label of column 0; columns -1 and `width` can be read too.
    label* row(std::int32_t y) const {
        return labels_.get() + static_cast<std::size_t>(y) * stride_ + 1;
    }
    bool is_foreground(std::uint8_t level) const { return foreground_[level] != 0; }

    void label_box(const rect& box, bool needed_later);
    void gather_strip(const rect& strip);
    void label_column(std::int32_t x, std::int32_t top, std::int32_t bottom,
                      const std::uint8_t* foreground);
    void keep_column(std::int32_t x, std::int32_t top, std::int32_t bottom);
    void extend_right(const rect& area);
    void extend_rows(const text_line& line);
    bool extend_to_row(std::int32_t y, std::int32_t labelled_y, std::int32_t left,
                       std::int32_t right);
    void widen(label number, std::int32_t x, std::int32_t y);

    const plane& levels_;
    std::array<std::uint8_t, 256> foreground_;  // by level, 1 or 0
    std::size_t stride_;
    std::unique_ptr<label[], releaser> labels_;

    // Of the line at hand. A component's number is its place here; number 0 stands for none.
    std::vector<component> components_;
    // Labels of the column at hand and the one before it, from the row above the box to that below.
    std::vector<label> column_;
    std::vector<label> column_before_;
    std::vector<std::uint8_t> strip_;  // foreground flags of a few columns, column by column
};

using label_map = label_map_of<std::uint32_t>;

// With half the memory, for lines that all have boxes of so few pixels that no number is too large.
using small_label_map = label_map_of<std::uint16_t>;
bool fit_small_labels(const std::list<text_line*>& lines);

// For each of the lines, which are labelled in this order, whether a later one looks at pixels of
// its box. About linear in the lines.
std::vector<bool> needed_later(const std::list<text_line*>& lines);

}  // namespace brindlemoss::analysis::plugins::image_analysis
