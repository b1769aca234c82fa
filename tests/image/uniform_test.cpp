#include "image/uniform.h"

#include <gtest/gtest.h>

#include <optional>
#include <random>
#include <vector>

namespace {

using namespace brindlemoss::analysis::plugins::image_analysis;

TEST(base_level, wants_samples_that_agree) {
    const struct {
        const char* name;
        std::vector<std::uint8_t> samples;
        std::optional<std::uint8_t> base;
    } rows[] = {
        {"all alike", {50, 50, 50, 50, 50}, 50},
        {"first three within 15", {50, 65, 57, 200, 255}, 50},
        {"first three 16 apart, second and third near", {50, 66, 57, 200, 255}, 66},
        {"0, 1 and 4", {50, 52, 200, 255, 54}, 50},
        {"0, 2 and 3", {50, 200, 52, 54, 255}, 50},
        {"0, 3 and 4", {50, 120, 200, 54, 52}, 50},
        {"0, 2 and 4 alone are none", {50, 200, 52, 255, 54}, std::nullopt},
        {"1 and 2 before 2, 3 and 4", {0, 60, 70, 80, 84}, 60},
        {"2, 3 and 4", {0, 200, 70, 80, 84}, 70},
        {"1, 3 and 4", {0, 60, 200, 70, 74}, 60},
        {"chain that spans too much", {0, 200, 70, 80, 90}, std::nullopt},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(base_level(row.samples.data(), 1), row.base);
    }
}

TEST(uniform, ends_at_the_stray_that_the_limit_names) {
    const struct {
        const char* name;
        std::vector<std::uint8_t> levels;
        bool for_layout;
        bool for_detection;
    } rows[] = {
        {"a single stray", {9, 9, 9, 9, 9, 200, 9, 200, 9}, true, true},
        {"a gentle one between strays", {9, 9, 9, 9, 9, 200, 200, 0, 200, 200, 9}, false, true},
        {"two in a row, then back", {9, 9, 9, 9, 9, 200, 200, 9}, false, true},
        {"three in a row at the end", {9, 9, 9, 9, 9, 200, 200, 200}, false, false},
        {"gentle slope", {0, 15, 30, 45, 60, 75}, true, true},
        {"slope too steep", {0, 0, 0, 16, 32, 48}, false, false},
        {"four pixels", {0, 255, 0, 255}, true, true},
        {"five pixels", {0, 255, 0, 255, 0}, false, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto count = static_cast<std::int32_t>(row.levels.size());
        EXPECT_EQ(is_uniform(row.levels.data(), 1, count, stray_limit::layout), row.for_layout);
        EXPECT_EQ(is_uniform(row.levels.data(), 1, count, stray_limit::detection),
                  row.for_detection);
    }
}

// The same levels as a row, of which whole stretches may be passed at once, and as a column.
TEST(uniform, is_the_same_along_rows_and_columns) {
    std::mt19937 random(3);
    for (int round = 0; round < 3000; ++round) {
        const auto length = static_cast<std::int32_t>(1 + random() % 200);
        plane row(length, 1);
        plane column(3, length);
        std::uint32_t level = 100;
        for (std::int32_t place = 0; place < length; ++place) {
            level = random() % 50 == 0 ? random() % 256 : (level + random() % 11 + 251) % 256;
            row.row(0)[place] = static_cast<std::uint8_t>(level);
            column.row(place)[1] = static_cast<std::uint8_t>(level);
        }
        for (const stray_limit limit : {stray_limit::layout, stray_limit::detection}) {
            ASSERT_EQ(is_uniform_row(row, 0, 0, length - 1, limit),
                      is_uniform_column(column, 1, 0, length - 1, limit));
        }
    }
}

}  // namespace
