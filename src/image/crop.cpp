#include "image/crop.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>

#include "image/uniform.h"

namespace brindlemoss::analysis::plugins::image_analysis {

namespace {

constexpr std::int64_t least_width = 125;
constexpr std::int64_t least_height = 36;

bool trim_rows(const plane& levels, rect& crop) {
    const rect before = crop;
    const auto uniform = [&](std::int32_t y) {
        return is_uniform_row(levels, y, crop.left, crop.right, stray_limit::detection);
    };
    while (crop.top < crop.bottom && uniform(crop.top)) ++crop.top;
    while (crop.top < crop.bottom && uniform(crop.bottom)) --crop.bottom;
    return crop != before;
}

// Walking down one column after the other would fetch a line of the cache for each pixel, so
// neighbouring columns are walked side by side.
constexpr std::int32_t block_columns = 32;
using column_flags = std::array<bool, block_columns>;

class column_block {
public:
    column_block(const plane& levels, std::int32_t left, std::int32_t top) {
        const std::uint8_t* const row = levels.row(top) + left;
        for (std::int32_t i = 0; i < block_columns; ++i) {
            const std::optional<std::uint8_t> base = base_level(row + i, levels.width);
            base_[i] = base.value_or(0);
            failed_[i] = base ? 0 : 1;
        }
    }

    void walk(const std::uint8_t* __restrict row) {
        constexpr auto limit = static_cast<std::uint8_t>(stray_limit::detection);
        for (std::int32_t i = 0; i < block_columns; ++i) {
            const std::uint8_t level = row[i];
            const std::uint8_t base = base_[i];
            const std::uint8_t low = level < base ? level : base;
            const std::uint8_t high = level < base ? base : level;
            const bool near = static_cast<std::uint8_t>(high - low) <= gentle_step;
            base_[i] = near ? level : base;
            const auto strays = static_cast<std::uint8_t>(near ? 0 : strays_[i] + 1);
            strays_[i] = strays;
            failed_[i] |= strays == limit ? 1 : 0;
        }
    }

    // Walks over so many rows at once if all of their levels lie near each other, so that nothing
    // strays.
    static constexpr std::int32_t gentle_rows = 8;
    bool walk_gently(const std::uint8_t* row, std::ptrdiff_t step) {
        std::uint8_t least[block_columns];
        std::uint8_t most[block_columns];
        std::copy_n(base_, block_columns, least);
        std::copy_n(base_, block_columns, most);
        for (std::int32_t y = 0; y < gentle_rows; ++y, row += step) {
            for (std::int32_t i = 0; i < block_columns; ++i) {
                const std::uint8_t level = row[i];
                least[i] = std::min(least[i], level);
                most[i] = std::max(most[i], level);
            }
        }
        std::uint8_t widest = 0;
        for (std::int32_t i = 0; i < block_columns; ++i) {
            widest = std::max(widest, static_cast<std::uint8_t>(most[i] - least[i]));
        }
        if (widest > gentle_step) return false;
        std::copy_n(row - step, block_columns, base_);
        std::fill_n(strays_, block_columns, std::uint8_t{0});
        return true;
    }

    bool uniform(std::int32_t column) const { return failed_[column] == 0; }

private:
    alignas(block_columns) std::uint8_t base_[block_columns];
    alignas(block_columns) std::uint8_t strays_[block_columns] = {};
    alignas(block_columns) std::uint8_t failed_[block_columns];
};

// Which columns from `left` on are uniform, told only as far as matters to one who takes columns
// away from the `outer` one on.
column_flags uniform_columns(const plane& levels, std::int32_t left, const rect& crop,
                             std::int32_t outer) {
    column_block block(levels, left, crop.top);
    for (std::int32_t y = crop.top; y <= crop.bottom && block.uniform(outer);) {
        const std::int32_t rows = std::min(column_block::gentle_rows, crop.bottom - y + 1);
        const std::uint8_t* row = levels.row(y) + left;
        y += rows;
        if (rows == column_block::gentle_rows && block.walk_gently(row, levels.width)) continue;
        for (std::int32_t count = 0; count < rows; ++count, row += levels.width) block.walk(row);
    }
    column_flags flags{};
    for (std::int32_t i = 0; i < block_columns; ++i) {
        flags[static_cast<std::size_t>(i)] = block.uniform(outer) && block.uniform(i);
    }
    return flags;
}

void trim_left(const plane& levels, rect& crop) {
    while (crop.left + block_columns <= crop.right) {
        const column_flags uniform = uniform_columns(levels, crop.left, crop, 0);
        for (const bool each : uniform) {
            if (!each) return;
            ++crop.left;
        }
    }
    while (crop.left < crop.right &&
           is_uniform_column(levels, crop.left, crop.top, crop.bottom, stray_limit::detection)) {
        ++crop.left;
    }
}

void trim_right(const plane& levels, rect& crop) {
    while (crop.left + block_columns <= crop.right) {
        const column_flags uniform =
            uniform_columns(levels, crop.right - block_columns + 1, crop, block_columns - 1);
        for (std::size_t i = block_columns; i-- > 0;) {
            if (!uniform[i]) return;
            --crop.right;
        }
    }
    while (crop.left < crop.right &&
           is_uniform_column(levels, crop.right, crop.top, crop.bottom, stray_limit::detection)) {
        --crop.right;
    }
}

bool trim_columns(const plane& levels, rect& crop) {
    const rect before = crop;
    trim_left(levels, crop);
    trim_right(levels, crop);
    return crop != before;
}

}  // namespace

rect trim_crop(const plane& levels, rect crop) {
    bool force = true;
    while (true) {
        const bool rows_changed = trim_rows(levels, crop);
        if (height_of(crop) < least_height || !(force || rows_changed)) return crop;
        const bool columns_changed = trim_columns(levels, crop);
        if (width_of(crop) < least_width || !(rows_changed || columns_changed)) return crop;
        force = columns_changed;
    }
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
