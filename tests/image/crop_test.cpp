#include "image/crop.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "image/uniform.h"
#include "support/plane_drawing.h"

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

using namespace test_support;

// One line of pixels after the other.
rect trim_plainly(const plane& levels, rect crop) {
    const auto row = [&](std::int32_t y) {
        return is_uniform_row(levels, y, crop.left, crop.right, stray_limit::detection);
    };
    const auto column = [&](std::int32_t x) {
        return is_uniform_column(levels, x, crop.top, crop.bottom, stray_limit::detection);
    };
    for (bool force = true;;) {
        const rect before = crop;
        while (crop.top < crop.bottom && row(crop.top)) ++crop.top;
        while (crop.top < crop.bottom && row(crop.bottom)) --crop.bottom;
        const bool rows_changed = crop != before;
        if (height_of(crop) < 36 || !(force || rows_changed)) return crop;
        const rect between = crop;
        while (crop.left < crop.right && column(crop.left)) ++crop.left;
        while (crop.left < crop.right && column(crop.right)) --crop.right;
        const bool columns_changed = crop != between;
        if (width_of(crop) < 125 || !(rows_changed || columns_changed)) return crop;
        force = columns_changed;
    }
}

TEST(crop, comes_out_as_if_one_line_were_trimmed_after_the_other) {
    std::mt19937 random(1234);
    const auto below = [&](std::int32_t limit) {
        return static_cast<std::int32_t>(random() % static_cast<std::uint32_t>(limit));
    };
    int trimmed_twice = 0;
    for (int round = 0; round < 600; ++round) {
        SCOPED_TRACE(round);
        drawing picture(130 + below(200), 36 + below(60));
        for (int spots = below(40); spots > 0; --spots) {
            picture.fill(sized(below(picture.result.width), below(picture.result.height),
                               1 + below(5), 1 + below(5)),
                         static_cast<std::uint8_t>(below(256)));
        }
        for (std::uint8_t& each : picture.result.levels) {
            each = static_cast<std::uint8_t>(std::max(each - below(14), 0));
        }
        const rect wanted = trim_plainly(picture.result, whole(picture.result));
        ASSERT_EQ(trim_crop(picture.result, whole(picture.result)), wanted);
        trimmed_twice += wanted.left > 0 && wanted.top > 0;
    }
    EXPECT_GT(trimmed_twice, 100);
}

// Squares of three pixels, dark and light by turns, so that no row and no column is uniform.
drawing picture_with_squares(const rect& area) {
    drawing picture(300, 100);
    for (std::int32_t y = 0; y < height_of(area); y += 3) {
        for (std::int32_t x = y % 2 * 3; x < width_of(area); x += 6) {
            const std::int32_t left = area.left + x, top = area.top + y;
            picture.fill(
                {left, top, std::min(left + 2, area.right), std::min(top + 2, area.bottom)});
        }
    }
    return picture;
}

TEST(crop, goes_by_turns_only_while_enough_is_left) {
    const rect low = sized(50, 30, 180, 35), high = sized(50, 30, 180, 36);
    const rect narrow = sized(50, 30, 124, 60), wide = sized(50, 30, 125, 60);
    const rect speck = sized(20, 5, 3, 2);  // uneven by rows, not by columns
    const struct {
        const char* what;
        rect squares, mark, wanted;
    } rows[] = {
        {"too low for columns", low, low, {0, 30, 299, 64}},
        {"just high enough", high, high, high},
        {"too narrow for rows again", narrow, speck, {50, 5, 173, 89}},
        {"just wide enough", wide, speck, wide},
        {"a mark uneven by columns too", wide, sized(20, 5, 3, 3), {20, 5, 174, 89}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        drawing picture = picture_with_squares(row.squares);
        if (row.mark != row.squares) picture.fill(row.mark);
        EXPECT_EQ(trim_crop(picture.result, whole(picture.result)), row.wanted);
    }
}

TEST(crop, leaves_one_row_of_a_blank_picture) {
    const drawing blank(300, 100);
    EXPECT_EQ(trim_crop(blank.result, whole(blank.result)), (rect{0, 99, 299, 99}));
}

}  // namespace
}  // namespace brindlemoss::analysis::plugins::image_analysis
