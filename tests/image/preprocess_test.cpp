#include "image/preprocess.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "image/animation.h"
#include "image/contrast.h"
#include "image/grey_levels.h"
#include "image/level_count.h"
#include "image/smoothing.h"
#include "support/plane_drawing.h"
#include "support/recorded_checkpoints.h"

namespace {

using namespace brindlemoss::analysis::plugins::image_analysis;
using namespace test_support;
using testing::Each;
using testing::ElementsAre;

// A run up to the end of its first stage.
struct first_stage : text_engine {
    explicit first_stage(const drawn_bitmap& bitmap, std::span<const rect> animation_frames = {},
                         checkpoint_hook* hook = nullptr)
        : text_engine(bitmap.view(), animation_frames, hook) {
        mean_plane = plane(width, height);
        pp_plane = plane(width, height);
        preprocess(*this);
    }
};

level_table unchanged() {
    level_table table;
    for (std::size_t level = 0; level < table.size(); ++level) {
        table[level] = static_cast<std::uint8_t>(level);
    }
    return table;
}

// As one would limit a pixel by hand, on signed numbers and with a list of the neighbours.
int limited_by_hand(const plane& levels, int x, int y) {
    std::vector<int> around;
    const auto look = [&](int column, int row) {
        if (column < 0 || row < 0 || column >= levels.width || row >= levels.height) return;
        around.push_back(levels.at(column, row));
    };
    for (int dx = -1; dx <= 1; ++dx) look(x + dx, y - 1);
    look(x + 1, y);
    for (int dx = 1; dx >= -1; --dx) look(x + dx, y + 1);
    look(x - 1, y);
    int minimum = 255, maximum = 0;
    for (const int sample : around) {
        if (sample < minimum) {
            minimum = sample;
        } else if (sample > maximum) {
            maximum = sample;
        }
    }
    int value = levels.at(x, y);
    if (value < minimum) {
        value = minimum;
    } else if (value > maximum) {
        value = maximum;
    }
    return value;
}

std::uint8_t smoothed_centre(std::initializer_list<std::string_view> rows) {
    plane levels = plane_of(rows);
    smooth_and_map(levels, unchanged());
    return levels.at(1, 1);
}

TEST(preprocess, wants_a_picture_of_some_size) {
    struct {
        std::int32_t width, height, code;
    } const rows[] = {
        {124, 100, picture_too_small}, {125, 35, picture_too_small}, {400, 35, picture_too_small},
        {125, 67, picture_too_small},  {125, 68, no_stop},           {235, 36, no_stop},
        {234, 36, picture_too_small},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.width) + "x" + std::to_string(row.height));
        const drawn_bitmap bitmap(drawing(row.width, row.height).page(5, 5, {}).result);
        const first_stage run(bitmap);
        EXPECT_EQ(run.stop_code, row.code);
        EXPECT_EQ(run.keep_going, row.code == no_stop);
        EXPECT_EQ(run.crop, sized(0, 0, row.width, row.height));
        EXPECT_EQ(run.mean_plane.at(0, 0), row.code == no_stop ? 255 : 0);
        EXPECT_EQ(run.histogram[255] != 0, row.code == no_stop);
    }
}

TEST(preprocess, stops_at_a_single_colour) {
    const first_stage run(drawn_bitmap(125, 68, {30, 60, 90}));
    EXPECT_EQ(run.stop_code, flat_histogram);
    EXPECT_FALSE(run.keep_going);
    EXPECT_THAT(run.mean_plane.levels, Each(60));
    EXPECT_THAT(run.pp_plane.levels, Each(0));
}

TEST(preprocess, makes_two_levels_black_and_white) {
    drawn_bitmap bitmap(200, 100, {101, 101, 101});
    bitmap.fill(sized(50, 20, 60, 30), {100, 100, 100});
    const first_stage run(bitmap);
    EXPECT_EQ(run.stop_code, no_stop);
    EXPECT_EQ(run.pp_plane.levels, drawing(200, 100).fill(sized(50, 20, 60, 30)).result.levels);
    EXPECT_EQ(run.histogram[0], 1800u);
    EXPECT_EQ(run.histogram[255], 18200u);
    EXPECT_EQ(run.background_level, 255);
}

TEST(preprocess, counts_specks_that_it_then_removes) {
    drawn_bitmap bitmap(200, 100);
    bitmap.set(30, 40, {0, 0, 0});
    const first_stage run(bitmap);
    EXPECT_THAT(run.pp_plane.levels, Each(255));
    EXPECT_EQ(run.histogram[0], 1u);
    EXPECT_EQ(run.mean_plane.at(30, 40), 0);
}

TEST(preprocess, tells_what_it_does_in_order) {
    recorded_checkpoints hook;
    const rect frames[] = {{100, 0, 199, 99}, {150, 0, 199, 99}};
    const first_stage run(drawn_bitmap(drawing(200, 100).page(110, 5, {}).result), frames, &hook);
    EXPECT_THAT(hook.in_order,
                ElementsAre("Histogram 0", "Animation frame 1", "Animation frame 1", "Uncovered 1",
                            "Uncovered histogram 0", "Corrected histogram 0", "Contrast 1 0",
                            "Contrast 2 0", "Histogram 2 0", "image-pp.raw 0"));
}

TEST(grey_levels, are_read_from_the_top_whatever_the_width) {
    std::mt19937 random(20);
    for (const int width : {1, 2, 7, 31, 32, 33, 63, 64, 95, 96, 127, 200}) {
        SCOPED_TRACE(width);
        constexpr int height = 3;
        drawn_bitmap bitmap(width, height, {200, 200, 200});
        plane wanted_grey(width, height), wanted_mean(width, height);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                unsigned r = 200, g = 200, b = 200;
                if (y != 1 && x % 40 < 20)
                    r = random() % 256, g = random() % 256, b = random() % 256;
                bitmap.set(x, y,
                           {static_cast<std::uint8_t>(r), static_cast<std::uint8_t>(g),
                            static_cast<std::uint8_t>(b)});
                const unsigned grey = (151 * g + 28 * b + 77 * r) >> 8;
                wanted_grey.row(y)[x] = static_cast<std::uint8_t>(grey);
                wanted_mean.row(y)[x] = static_cast<std::uint8_t>((r + g + b) / 3);
            }
        }
        plane grey(width, height), mean(width, height);
        read_levels(bitmap.view(), grey, mean);
        EXPECT_EQ(grey.levels, wanted_grey.levels);
        EXPECT_EQ(mean.levels, wanted_mean.levels);
    }
}

TEST(contrast, follows_the_wave_between_the_levels_in_use) {
    level_counters histogram{};
    histogram[10] = histogram[20] = 1;
    const auto table = contrast_table(histogram, checkpoints());
    ASSERT_TRUE(table);
    const std::pair<std::size_t, int> wanted[] = {{0, 0},    {10, 0},   {11, 5},   {12, 24},
                                                  {15, 126}, {18, 230}, {20, 255}, {255, 255}};
    for (const auto& [level, result] : wanted) EXPECT_EQ((*table)[level], result) << level;
}

TEST(contrast, moves_the_counts_and_takes_the_lowest_of_equals) {
    level_counters histogram{};
    histogram[3] = 4, histogram[4] = 5, histogram[9] = 9;
    level_table table{};
    table[3] = table[4] = 200, table[9] = 201;
    const level_counters moved = mapped(histogram, table);
    EXPECT_EQ(moved[200], 9u);
    EXPECT_EQ(moved[201], 9u);
    EXPECT_EQ(most_frequent_level(moved), 200);
}

TEST(smoothing, keeps_the_maximum_low_while_levels_fall) {
    EXPECT_EQ(smoothed_centre({"987", "2f6", "345"}), 0x00);  // all falling: the maximum stays 0
    EXPECT_EQ(smoothed_centre({"987", "216", "345"}), 0x22);  // but the minimum is asked first
    EXPECT_EQ(smoothed_centre({"987", "3f6", "245"}), 0x33);  // only the last one counts
    EXPECT_EQ(smoothed_centre({"f87", "2e6", "345"}), 0xee);  // white lowers no minimum
    EXPECT_EQ(smoothed_centre({"789", "2f6", "345"}), 0x99);
    EXPECT_EQ(smoothed_centre({"555", "5.5", "555"}), 0x55);  // a speck; 5 after 5 is no fall
}

TEST(smoothing, does_as_one_would_by_hand) {
    std::mt19937 random(21);
    level_table table;
    for (auto& entry : table) entry = static_cast<std::uint8_t>(random());
    for (const auto& [width, height] : std::vector<std::pair<int, int>>{
             {1, 1}, {1, 2}, {2, 1}, {1, 9}, {9, 1}, {2, 2}, {2, 9}, {3, 3}, {18, 7}, {150, 9}}) {
        for (const unsigned levels : {2u, 6u, 256u}) {
            SCOPED_TRACE(std::to_string(width) + "x" + std::to_string(height));
            plane before(width, height);
            for (auto& level : before.levels) {
                level = static_cast<std::uint8_t>(random() % levels * 255 / (levels - 1));
            }
            plane after = before;
            smooth_and_map(after, table);
            for (int y = 0; y < height; ++y) {
                for (int x = 0; x < width; ++x) {
                    const auto limited = static_cast<std::size_t>(limited_by_hand(before, x, y));
                    ASSERT_EQ(after.at(x, y), table[limited]) << x << "," << y;
                }
            }
        }
    }
}

TEST(animation, leaves_bands_above_and_below_and_what_is_to_the_left) {
    constexpr std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
    constexpr std::int32_t highest = std::numeric_limits<std::int32_t>::max();
    const rect canvas{0, 0, 99, 49};
    const rect top{0, 0, 99, 9}, bottom{0, 30, 99, 49};
    struct {
        const char* what;
        std::vector<rect> frames, left;
    } const rows[] = {
        {"whole canvas", {canvas}, {}},
        {"left half", {{0, 0, 49, 49}}, {}},
        {"right half", {{50, 0, 99, 49}}, {{0, 0, 49, 49}}},
        {"middle", {{20, 10, 59, 29}}, {top, bottom, {0, 10, 19, 29}}},
        {"two",
         {{20, 10, 59, 29}, {90, 5, 99, 5}},
         {{0, 0, 99, 4}, {0, 6, 99, 9}, {0, 5, 89, 5}, bottom, {0, 10, 19, 29}}},
        {"one below the other", {top, {0, 10, 99, 29}}, {bottom}},
        {"beyond all edges", {{lowest, lowest, highest, highest}}, {}},
        {"beyond the sides", {{lowest, 10, highest, 29}}, {top, bottom}},
        {"far away", {{highest, highest, highest, highest}, {lowest, 0, lowest, 9}}, {canvas}},
        {"two from the right edge", {{101, 10, 120, 29}}, {canvas}},
        {"at the right edge", {{100, 10, 120, 29}}, {top, bottom, {0, 10, 99, 29}}},
        {"two from the left edge", {{-9, 10, -2, 29}}, {canvas}},
        {"at the left edge", {{-9, 10, -1, 29}}, {top, bottom}},
        {"at the lower edge", {{20, 50, 59, 59}}, {canvas}},
        {"at the upper edge", {{20, -5, 59, -1}}, {canvas}},
        {"without columns", {{59, 10, 20, 29}}, {canvas}},
        {"without rows", {{20, 29, 59, 10}}, {canvas}},
        {"inverted", {inverted_rect}, {canvas}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(uncovered_areas(canvas, row.frames), row.left);
    }
}

TEST(animation, makes_what_no_frame_painted_like_the_background) {
    drawn_bitmap bitmap(200, 100, {0, 0, 0});
    const rect frame{60, 0, 250, 120};
    bitmap.fill({60, 0, 199, 99}, {255, 255, 255}).fill(sized(100, 20, 10, 10), {80, 80, 80});
    const first_stage run(bitmap, {&frame, 1});
    EXPECT_EQ(run.pp_plane.levels, drawing(200, 100).fill(sized(100, 20, 10, 10)).result.levels);
    EXPECT_EQ(run.histogram[0], 100u);
    EXPECT_EQ(run.histogram[255], 19900u);
    EXPECT_EQ(run.mean_plane.at(0, 0), 0);
}

TEST(animation, fills_with_the_lowest_of_equally_frequent_levels) {
    plane grey = plane_of({"3355", "7755"});
    level_counters histogram{};
    for (const std::uint8_t level : grey.levels) ++histogram[level];
    histogram[0x33] = 4;  // as if there were more of it elsewhere
    const rect frame{1, 0, 3, 0};
    fill_uncovered({0, 0, 3, 1}, {&frame, 1}, grey, histogram, checkpoints());
    EXPECT_EQ(grey.levels, plane_of({"3355", "3333"}).levels);
    EXPECT_EQ(histogram[0x33], 4u + 5 - 1);
    EXPECT_EQ(histogram[0x55], 2u);
    EXPECT_EQ(histogram[0x77], 0u);
}

}  // namespace
