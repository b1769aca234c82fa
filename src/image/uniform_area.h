#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "image/bit_row.h"
#include "image/plane.h"
#include "image/rect.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// The uniform tests of uniform.h at the layout's limit, over many rows or columns at a time.
// Columns are walked side by side, row after row, which is many times faster than one after the
// other.

// Between two columns, edges included.
bool is_flat_row(const plane& levels, std::int32_t y, std::int32_t left, std::int32_t right);

inline constexpr std::int32_t columns_in_block = 64;

// One flag for each of at most `columns_in_block` columns from `area.left` on. Without rows all are
// flat.
std::array<bool, columns_in_block> flat_columns(const plane& levels, const rect& area);

// Tells areas of one plane that are flat: every row and every column of theirs is uniform. The
// plane is looked over once for the steps that a walk doesn't follow, and asking costs little more
// than looking at those. The plane must outlive it.
class flatness {
public:
    explicit flatness(const plane& levels);

    bool is_flat(const rect& area) const;

private:
    bool has_break(const rect& area) const;
    bool is_flat_row(std::int32_t y, std::int32_t left, std::int32_t right) const;
    bool are_flat_columns(const rect& area) const;

    const plane& levels_;
    std::size_t words_;                  // of a row
    std::vector<bit_word> steps_right_;  // between a pixel and the one on its right
    std::vector<bit_word> steps_down_;   // and the one below it
    // Steps on the right of a pixel that a walk has come to, back from which the second pixel does
    // not lead either: no walk passes there.
    std::vector<bit_word> breaks_right_;
};

}  // namespace brindlemoss::analysis::plugins::image_analysis
