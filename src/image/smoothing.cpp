#include "image/smoothing.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace brindlemoss::analysis::plugins::image_analysis {

namespace {

// What the neighbours seen so far span. Without branches, so that compilers make the loop over a
// row into vector code of 8-bit lanes.
class span_of_levels {
public:
    void see(std::uint8_t level) {
        // Below the minimum it does not count for the maximum, which 0 never raises.
        const bool counts = level >= minimum_;
        maximum_ = std::max(maximum_, static_cast<std::uint8_t>(counts ? level : 0));
        minimum_ = std::min(minimum_, level);
    }

    // The maximum may be below the minimum; the minimum is asked first.
    std::uint8_t limit(std::uint8_t level) const {
        const std::uint8_t below_maximum = std::min(level, maximum_);
        return level < minimum_ ? minimum_ : below_maximum;
    }

private:
    std::uint8_t minimum_ = 255;
    std::uint8_t maximum_ = 0;
};

// Pixels of three rows one above the other. All have neighbours on both sides.
struct row_piece {
    const std::uint8_t* above;
    const std::uint8_t* row;
    const std::uint8_t* below;
    std::int32_t count;
};

void limit_in_order(const row_piece& piece, std::uint8_t* __restrict limited) {
    const auto [above, row, below, count] = piece;
    for (std::int32_t x = 0; x < count; ++x) {
        span_of_levels span;
        span.see(above[x - 1]);
        span.see(above[x]);
        span.see(above[x + 1]);
        span.see(row[x + 1]);
        span.see(below[x + 1]);
        span.see(below[x]);
        span.see(below[x - 1]);
        span.see(row[x - 1]);
        limited[x] = span.limit(row[x]);
    }
}

// The same in half the time where the order of the neighbours hardly matters: the first counts for
// the maximum if it is 255, the second if it is not below the first, and of the others the largest
// does. False where that one need not: where the levels fall to the third and on to the others.
bool limit_in_any_order(const row_piece& piece, std::uint8_t* __restrict limited) {
    const auto [above, row, below, count] = piece;
    std::uint8_t falls = 0;
    for (std::int32_t x = 0; x < count; ++x) {
        const std::uint8_t first = above[x - 1], second = above[x], third = above[x + 1];
        const std::uint8_t left = row[x - 1], right = row[x + 1];
        const std::uint8_t b0 = below[x - 1], b1 = below[x], b2 = below[x + 1];
        const std::uint8_t lowest =
            std::min(std::min(std::min(left, right), std::min(b0, b1)),
                     std::min(std::min(first, second), std::min(b2, third)));
        const std::uint8_t others = std::max(std::max(std::max(left, right), b2), std::max(b0, b1));
        const std::uint8_t counts_first = first == 255 ? 255 : 0;
        const std::uint8_t counts_second = second >= first ? second : 0;
        const std::uint8_t highest =
            std::max(std::max(counts_first, counts_second), std::max(third, others));
        limited[x] = std::max(std::min(row[x], highest), lowest);
        falls |= static_cast<std::uint8_t>((first > second) & (second > third) & (third > others));
    }
    return falls == 0;
}

// All but the first and the last pixel of a row that has rows on both sides.
void limit_inner_row(const std::uint8_t* above, const std::uint8_t* row, const std::uint8_t* below,
                     std::int32_t width, std::uint8_t* limited) {
    constexpr std::int32_t piece_length = 64;
    for (std::int32_t x = 1; x < width - 1; x += piece_length) {
        const row_piece piece{above + x, row + x, below + x, std::min(piece_length, width - 1 - x)};
        if (!limit_in_any_order(piece, limited + x)) limit_in_order(piece, limited + x);
    }
}

// Anywhere, with the neighbours that there are.
std::uint8_t limited_at(const plane& levels, std::int32_t x, std::int32_t y) {
    struct offset {
        std::int32_t x, y;
    };
    constexpr offset clockwise[] = {{-1, -1}, {0, -1}, {1, -1}, {1, 0},
                                    {1, 1},   {0, 1},  {-1, 1}, {-1, 0}};
    span_of_levels span;
    for (const offset& step : clockwise) {
        const std::int32_t column = x + step.x;
        const std::int32_t row = y + step.y;
        if (column < 0 || column >= levels.width || row < 0 || row >= levels.height) continue;
        span.see(levels.at(column, row));
    }
    return span.limit(levels.at(x, y));
}

void limit_row(const plane& levels, std::int32_t y, std::uint8_t* limited) {
    const std::int32_t last = levels.width - 1;
    if (y == 0 || y == levels.height - 1) {
        for (std::int32_t x = 0; x <= last; ++x) limited[x] = limited_at(levels, x, y);
        return;
    }
    limited[0] = limited_at(levels, 0, y);
    limit_inner_row(levels.row(y - 1), levels.row(y), levels.row(y + 1), levels.width, limited);
    limited[last] = limited_at(levels, last, y);
}

void map_row(const std::uint8_t* from, std::size_t count, const level_table& table,
             std::uint8_t* to) {
    constexpr std::uint64_t one_in_each_byte = 0x0101'0101'0101'0101;
    std::uint64_t group;
    for (; count >= sizeof(group); from += sizeof(group), to += sizeof(group)) {
        std::memcpy(&group, from, sizeof(group));
        if (group == (group & 0xFF) * one_in_each_byte) {  // the paper, most of a page
            group = table[*from] * one_in_each_byte;
            std::memcpy(to, &group, sizeof(group));
        } else {
            for (std::size_t index = 0; index < sizeof(group); ++index) {
                to[index] = table[from[index]];
            }
        }
        count -= sizeof(group);
    }
    for (std::size_t index = 0; index < count; ++index) to[index] = table[from[index]];
}

}  // namespace

void smooth_and_map(plane& levels, const level_table& table) {
    if (levels.levels.empty()) return;
    // A row is written when the one below it has been looked at, which wants it unchanged.
    const auto width = static_cast<std::size_t>(levels.width);
    std::vector<std::uint8_t> rows(2 * width);
    std::uint8_t* limited = rows.data();
    std::uint8_t* limited_before = rows.data() + width;
    for (std::int32_t y = 0; y < levels.height; ++y) {
        limit_row(levels, y, limited);
        if (y > 0) map_row(limited_before, width, table, levels.row(y - 1));
        std::swap(limited, limited_before);
    }
    map_row(limited_before, width, table, levels.row(levels.height - 1));
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
