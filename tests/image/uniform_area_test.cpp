#include "image/uniform_area.h"

#include <gtest/gtest.h>

#include <random>

#include "image/uniform.h"

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

// Slopes that a walk follows, with pixels that stray: seldom two in a row.
plane rough_plane(std::mt19937& random, std::int32_t width, std::int32_t height, unsigned rarity) {
    plane levels(width, height);
    for (std::int32_t y = 0; y < height; ++y) {
        for (std::int32_t x = 0; x < width; ++x) {
            levels.row(y)[x] = static_cast<std::uint8_t>(
                80 + 4 * (x % 9) + random() % 8 + (random() % rarity == 0 ? random() % 60 : 0));
        }
    }
    return levels;
}

TEST(uniform_area, agrees_with_the_walk_along_one_row_or_column) {
    std::mt19937 random(7);
    int uniform_rows = 0, uniform_columns = 0, flat_areas = 0, rough_areas = 0;
    for (int round = 0; round < 300; ++round) {
        SCOPED_TRACE(round);
        const auto width = static_cast<std::int32_t>(1 + random() % 150);
        const auto height = static_cast<std::int32_t>(1 + random() % 20);
        const plane levels = rough_plane(random, width, height, round % 3 == 0 ? 1000 : 15);
        const auto left = static_cast<std::int32_t>(random() % static_cast<unsigned>(width));
        const rect area{left, 0, width - 1, height - 1};
        bool all = true;
        for (std::int32_t y = 0; y < height; ++y) {
            const bool uniform = is_uniform_row(levels, y, left, width - 1, stray_limit::layout);
            EXPECT_EQ(is_flat_row(levels, y, left, width - 1), uniform) << y;
            uniform_rows += uniform;
            all = all && uniform;
        }
        const auto flags = flat_columns(levels, area);
        for (std::int32_t x = left; x < width; ++x) {
            const bool uniform = is_uniform_column(levels, x, 0, height - 1, stray_limit::layout);
            if (x - left < columns_in_block) {
                EXPECT_EQ(flags[x - left], uniform) << x;
            }
            uniform_columns += uniform;
            all = all && uniform;
        }
        EXPECT_EQ(flatness(levels).is_flat(area), all);
        ++(all ? flat_areas : rough_areas);
    }
    EXPECT_GT(uniform_rows, 300);
    EXPECT_GT(uniform_columns, 500);
    EXPECT_GT(flat_areas, 20);
    EXPECT_GT(rough_areas, 20);
}

}  // namespace
}  // namespace brindlemoss::analysis::plugins::image_analysis
