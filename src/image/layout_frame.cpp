#include "image/layout_frame.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "image/level_count.h"
#include "image/uniform_area.h"

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

std::int64_t count_in_row(const plane& levels, std::uint8_t level, std::int32_t y,
                          const rect& area) {
    const std::uint8_t* const row = levels.row(y);
    return std::count(row + area.left, row + area.right + 1, level);
}

std::int64_t count_in_column(const plane& levels, std::uint8_t level, std::int32_t x,
                             const rect& area) {
    std::int64_t count = 0;
    for (std::int32_t y = area.top; y <= area.bottom; ++y) count += levels.at(x, y) == level;
    return count;
}

// The level of at least 80 percent of the pixels. There is none as soon as each is missing from
// more than the others: a photo is seldom counted beyond its first rows.
std::optional<std::uint8_t> common_level(const plane& levels, const rect& area) {
    constexpr std::int64_t common_share = 80;
    constexpr std::int32_t rows_at_a_time = 32;
    level_counters counts{};
    std::uint8_t common = 0;
    std::int64_t counted = 0;
    rect piece = area;
    for (; piece.top <= area.bottom; piece.top += rows_at_a_time) {
        piece.bottom = std::min(piece.top + rows_at_a_time - 1, area.bottom);
        const level_counters more = count_levels(levels, piece);
        for (std::size_t level = 0; level < more.size(); ++level) counts[level] += more[level];
        common = most_frequent_level(counts);
        counted += area_of(piece);
        const std::int64_t others = counted - counts[common];
        if (others * 100 > (100 - common_share) * area_of(area)) return std::nullopt;
    }
    return common;
}

// Where a side comes to rest that moves inward by `step` over lines poor in the common level.
template <typename share_function>
std::int32_t behind_frame(std::int32_t side, std::int32_t step, share_function share_of) {
    constexpr int thickest_frame = 20;
    constexpr std::int64_t lowest_share = 15;  // in percent, truncated
    for (int moves = 0; moves < thickest_frame && share_of(side) < lowest_share; ++moves) {
        side += step;
    }
    return side;
}

// From the left edge on, and from the right edge back to the left one.

std::int32_t first_rough_column(const plane& levels, const rect& area, std::int32_t end) {
    rect block = area;
    while (block.left < end) {
        block.right = std::min(block.left + columns_in_block, end) - 1;
        const std::array<bool, columns_in_block> flat = flat_columns(levels, block);
        for (std::size_t column = 0; block.left <= block.right; ++column, ++block.left) {
            if (!flat[column]) return block.left;
        }
    }
    return block.left;
}

std::int32_t last_rough_column(const plane& levels, const rect& area) {
    rect block = area;
    while (block.right > area.left) {
        block.left = std::max(area.left, block.right - columns_in_block) + 1;
        const std::array<bool, columns_in_block> flat = flat_columns(levels, block);
        for (; block.right >= block.left; --block.right) {
            if (!flat[static_cast<std::size_t>(block.right - block.left)]) return block.right;
        }
    }
    return block.right;
}

}  // namespace

rect strip_frame(const plane& levels, const rect& area) {
    const std::optional<std::uint8_t> level = common_level(levels, area);
    if (!level) return area;
    const std::uint8_t common = *level;

    rect inner = area;
    const auto row_share = [&](std::int32_t y) {
        return count_in_row(levels, common, y, area) * 100 / width_of(area);
    };
    inner.top = behind_frame(area.top, 1, row_share);
    inner.bottom = behind_frame(area.bottom, -1, row_share);
    const auto column_share = [&](std::int32_t x) {
        return count_in_column(levels, common, x, inner) * 100 / height_of(inner);
    };
    inner.left = behind_frame(area.left, 1, column_share);
    inner.right = behind_frame(area.right, -1, column_share);
    return inner;
}

rect strip_lasso(const plane& levels, const rect& area) {
    rect inner = area;
    const auto is_flat = [&](std::int32_t y) {
        return is_flat_row(levels, y, area.left, area.right);
    };
    while (inner.top < height_of(area) && is_flat(inner.top)) ++inner.top;
    while (inner.top < inner.bottom && is_flat(inner.bottom)) --inner.bottom;
    inner.left = first_rough_column(levels, inner, static_cast<std::int32_t>(width_of(area)));
    inner.right = last_rough_column(levels, inner);
    return inner;
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
