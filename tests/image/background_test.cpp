#include "image/background.h"

#include <gtest/gtest.h>

#include <random>

#include "support/plane_drawing.h"

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

using namespace test_support;

TEST(flat_runs, count_within_the_area_alone) {
    const plane levels = drawing(100, 4, 50).fill({0, 2, 99, 2}, 60).result;
    const level_counters counters = count_flat_runs(levels, {10, 1, 49, 2});
    EXPECT_EQ(counters[50], 39u);
    EXPECT_EQ(counters[60], 39u);
    EXPECT_EQ(count_flat_runs(levels, {0, 3, 99, 2})[50], 0u);
}

// Pixel by pixel.
level_counters slowly_counted(const plane& levels) {
    level_counters counters{};
    for (std::int32_t y = 0; y < levels.height; ++y) {
        std::int32_t start = 0;
        for (std::int32_t x = 1; x < levels.width; ++x) {
            if (levels.at(x, y) == levels.at(start, y)) continue;
            if (x - start > 25)
                counters[levels.at(start, y)] += static_cast<std::uint32_t>(x - start);
            start = x;
        }
        const std::int32_t last = levels.width - start - 1;
        if (last > 25) counters[levels.at(start, y)] += static_cast<std::uint32_t>(last);
    }
    return counters;
}

TEST(flat_runs, are_those_of_the_slow_count) {
    std::mt19937 random(7);
    for (int round = 0; round < 3000; ++round) {
        plane levels(static_cast<std::int32_t>(1 + random() % 300), 3);
        const std::size_t longest = 2 + random() % 80;
        for (std::size_t place = 0; place < levels.levels.size();) {
            const auto level = static_cast<std::uint8_t>(random() % 4);
            for (std::size_t left = 1 + random() % longest; left > 0; --left) {
                if (place < levels.levels.size()) levels.levels[place++] = level;
            }
        }
        ASSERT_EQ(count_flat_runs(levels, whole(levels)), slowly_counted(levels)) << round;
    }
}

text_engine engine_with(const plane& levels) {
    text_engine engine(source_bitmap{levels.width, levels.height, nullptr, 0});
    engine.pp_plane = levels;
    for (const std::uint8_t level : levels.levels) ++engine.histogram[level];
    return engine;
}

TEST(background, is_of_levels_on_more_than_a_fortieth_of_the_picture) {
    // 4,000 pixels: more than 100 of them must lie in long runs.
    for (const std::int32_t run : {50, 51}) {
        SCOPED_TRACE(run);
        drawing picture(100, 40, 200);
        picture.fill(sized(5, 3, run, 2), 100);
        text_engine engine = engine_with(picture.result);
        measure_background(engine);
        EXPECT_TRUE(engine.background_levels[200]);
        EXPECT_EQ(engine.background_levels[100], run == 51);
        EXPECT_EQ(engine.background_pixels, run == 51 ? 4000 : 3900);
        EXPECT_DOUBLE_EQ(engine.background_fraction, run == 51 ? 1.0 : 0.975);
    }
}

TEST(background, takes_in_neighbouring_levels) {
    drawing picture(100, 40, 120);
    picture.fill({0, 0, 0, 9}, 136).fill({0, 10, 0, 19}, 137);
    picture.fill({0, 20, 0, 24}, 104).fill({0, 25, 0, 29}, 103);
    text_engine engine = engine_with(picture.result);
    measure_background(engine);
    for (std::size_t level = 0; level < 256; ++level) {
        EXPECT_EQ(engine.background_levels[level], level >= 104 && level <= 136) << level;
    }
    EXPECT_EQ(engine.background_pixels, 4000 - 10 - 5);
}

TEST(background, ends_at_black_and_white) {
    drawing picture(100, 40, 250);
    picture.fill({0, 0, 99, 19}, 5);
    text_engine engine = engine_with(picture.result);
    measure_background(engine);
    for (std::size_t level = 0; level < 256; ++level) {
        EXPECT_EQ(engine.background_levels[level], level <= 21 || level >= 234) << level;
    }
    EXPECT_EQ(engine.background_fraction, 1.0);
}

}  // namespace
}  // namespace brindlemoss::analysis::plugins::image_analysis
