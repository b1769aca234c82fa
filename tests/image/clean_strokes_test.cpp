#include "image/clean_strokes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "support/plane_drawing.h"
#include "support/recorded_checkpoints.h"

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

using test_support::plane_of;

void clean_plainly(plane& levels, const rect& crop) {
    const std::int32_t left = std::max(crop.left - 8, 0), top = std::max(crop.top - 8, 0);
    const std::int32_t right = std::min(crop.right + 8, levels.width - 1);
    const std::int32_t bottom = std::min(crop.bottom + 8, levels.height - 1);
    constexpr int border_x[] = {0, 1, 2, 3, 3, 3, 3, 2, 1, 0, 0, 0};
    constexpr int border_y[] = {0, 0, 0, 0, 1, 2, 3, 3, 3, 3, 2, 1};
    for (std::int32_t y = top; y <= bottom - 3; ++y) {
        for (std::int32_t x = left; x <= right - 3; ++x) {
            int low = 255, high = 0;
            for (int i = 0; i < 12; ++i) {
                const int level = levels.at(x + border_x[i], y + border_y[i]);
                if (level < low) {
                    low = level;
                } else if (level > high) {
                    high = level;
                }
            }
            std::uint8_t* inner[] = {levels.row(y + 1) + x + 1, levels.row(y + 1) + x + 2,
                                     levels.row(y + 2) + x + 1, levels.row(y + 2) + x + 2};
            std::string pattern;
            for (const std::uint8_t* each : inner) {
                pattern += *each < low ? '1' : *each > high ? '2' : '0';
            }
            if (pattern != "0110" && pattern != "1001" && pattern != "1010" && pattern != "1100") {
                continue;
            }
            for (std::size_t i = 0; i < 4; ++i) {
                if (pattern[i] == '1') *inner[i] = static_cast<std::uint8_t>(low);
            }
        }
    }
}

TEST(clean_strokes, comes_out_as_if_every_cell_were_looked_at) {
    std::mt19937 random(88);
    std::size_t changed = 0;
    for (int round = 0; round < 1500; ++round) {
        SCOPED_TRACE(round);
        plane levels(static_cast<std::int32_t>(4 + random() % 70),
                     static_cast<std::int32_t>(4 + random() % 40));
        const auto darkness = random() % 12;
        const auto shades = 2 + random() % 5;
        for (std::uint8_t& each : levels.levels) {
            const auto shade = random() % 12 < darkness ? random() % shades : shades;
            each = static_cast<std::uint8_t>(round % 3 == 0 ? random() : 255 * shade / shades);
        }
        const auto x = static_cast<std::int32_t>(random() % levels.width);
        const auto y = static_cast<std::int32_t>(random() % levels.height);
        const rect crop{x, y, std::min(x + 25, levels.width - 1),
                        std::min(y + 9, levels.height - 1)};
        plane wanted = levels;
        clean_plainly(wanted, crop);
        changed += wanted.levels != levels.levels;
        clean_strokes(levels, crop, checkpoints());
        ASSERT_EQ(levels.levels, wanted.levels);
    }
    EXPECT_GT(changed, 500u);
}

TEST(clean_strokes, wipes_four_kinds_of_stroke_with_the_darkest_level_around) {
    const struct {
        const char* label;
        plane cell;
    } rows[] = {
        {"Up right", plane_of({"dddd", "dd1d", "d1dd", "dddc"})},
        {"Up left", plane_of({"dddd", "d1dd", "dd1d", "dddc"})},
        {"Vertical", plane_of({"dddd", "d1dd", "d1dd", "dddc"})},
        {"Horizontal", plane_of({"dddd", "d11d", "dddd", "dddc"})},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        plane wanted = row.cell;
        std::replace(wanted.levels.begin(), wanted.levels.end(), 0x11, 0xcc);
        plane levels = row.cell;
        test_support::recorded_checkpoints hook;
        clean_strokes(levels, {0, 0, 3, 3}, checkpoints(&hook));
        EXPECT_EQ(levels.levels, wanted.levels);
        EXPECT_EQ(hook.at_label.size(), 2u);
        EXPECT_EQ(hook.at_label.count(row.label), 1u);
    }
}

}  // namespace
}  // namespace brindlemoss::analysis::plugins::image_analysis
