#include "image/layout_scan.h"

#include <gtest/gtest.h>

#include <optional>
#include <vector>

#include "image/flat_bands.h"
#include "image/flat_tiles.h"
#include "image/long_runs.h"
#include "support/plane_drawing.h"

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

using namespace test_support;
using stretches = std::vector<stretch>;

TEST(find_flat_bands, lie_between_rows_fourteen_apart) {
    drawing picture(100, 80);
    for (const std::int32_t y : {5, 18, 32, 60}) picture.fill(sized(40, y, 2, 1));
    EXPECT_EQ(find_flat_bands(picture.result, {0, 0, 99, 79}), (stretches{{19, 31}, {33, 59}}));
    EXPECT_EQ(find_flat_bands(picture.result, {0, 6, 99, 45}), (stretches{{19, 31}}));
    EXPECT_EQ(find_flat_bands(picture.result, {0, 0, 40, 79}), stretches{});  // one pixel strays
}

TEST(find_background, widens_the_range_of_the_two_most_frequent_levels) {
    struct level_count {
        std::size_t level;
        std::uint32_t count;
    };
    const struct {
        const char* what;
        std::vector<level_count> counts;
        background_range wanted;
    } rows[] = {
        {"99 percent of one level", {{200, 99}, {10, 1}}, {200, 200}},
        {"less of it", {{200, 98}, {10, 2}}, {10, 200}},
        {"ties to the lower level", {{10, 50}, {20, 50}, {30, 50}}, {10, 30}},
        {"toward the larger neighbour", {{100, 500}, {102, 300}, {99, 150}, {103, 50}}, {99, 103}},
        {"a tie goes up", {{100, 9000}, {102, 805}, {99, 100}, {103, 100}}, {100, 103}},
        {"one pixel less than 99 percent",
         {{100, 9000}, {102, 798}, {99, 100}, {103, 101}},
         {99, 103}},
        {"twelve steps at most", {{100, 500}, {102, 300}, {200, 200}}, {100, 114}},
        {"nowhere to go up", {{255, 600}, {254, 201}, {200, 199}}, {242, 255}},
        {"nowhere to go down", {{0, 600}, {1, 200}, {100, 200}}, {0, 13}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        level_counters counts{};
        for (const auto& [level, count] : row.counts) counts[level] = count;
        const background_range range = find_background(counts);
        EXPECT_EQ(+range.low, +row.wanted.low);
        EXPECT_EQ(+range.high, +row.wanted.high);
    }
}

TEST(count_stray_levels, counts_tiles_with_one_level_that_fills_none) {
    drawing picture(11 * 9 + 10, 11 * 2 + 10);  // what is left of a tile counts for nothing
    picture.fill(sized(11, 0, 11, 11), 7);      // fills a tile
    picture.fill(sized(22, 0, 5, 5), 7);        // known
    picture.fill(sized(33, 0, 3, 3), 50);       // stray
    picture.fill(sized(44, 0, 3, 3), 50).fill(sized(50, 0, 3, 3), 7);
    picture.fill(sized(55, 0, 3, 3), 50).fill(sized(60, 0, 3, 3), 60);  // two of them
    picture.fill(sized(70, 0, 14, 3), 60);                              // over two tiles
    picture.fill(sized(100, 0, 9, 3), 60).fill(sized(0, 23, 40, 9), 60);
    level_counters wanted{};
    wanted[50] = 2;
    wanted[60] = 2;
    EXPECT_EQ(count_stray_levels(picture.result), wanted);
}

// Each line marks three tiles, each spot below them one.
drawing lines_and_spots(std::int32_t lines, std::int32_t spots) {
    drawing picture(330, 330);
    for (std::int32_t line = 0; line < lines; ++line) {
        picture.fill(sized(110, 22 * line, 33, 5), 90);
    }
    for (std::int32_t spot = 0; spot < spots; ++spot) picture.fill(sized(11 * spot, 300, 1, 1), 90);
    return picture;
}

TEST(scan_flat_tiles, wants_25_tiles_and_six_lines) {
    const rect upper{0, 0, 329, 200};
    EXPECT_FALSE(scan_flat_tiles(lines_and_spots(6, 6).result, upper));
    EXPECT_FALSE(scan_flat_tiles(lines_and_spots(5, 20).result, upper));
    const auto found = scan_flat_tiles(lines_and_spots(6, 7).result, upper);
    ASSERT_TRUE(found);
    EXPECT_TRUE(found->colour_mode);
    ASSERT_EQ(found->areas.size(), 6u);  // 18 rows apart
    EXPECT_EQ(found->areas[5].lines.at(0).box, sized(110, 110, 33, 5));
}

TEST(scan_flat_tiles, leaves_out_low_and_narrow_lines) {
    drawing picture = lines_and_spots(7, 7);
    const rect upper{0, 0, 329, 200};
    picture.fill(sized(110, 4, 33, 1), paper);              // four rows left
    picture.fill(sized(110 + 15, 132, 33 - 15, 5), paper);  // fifteen columns left
    EXPECT_FALSE(scan_flat_tiles(picture.result, upper));
    picture.fill(sized(110 + 15, 132, 1, 5), 90);
    EXPECT_TRUE(scan_flat_tiles(picture.result, upper));
}

// Bars that are just too short to be long runs, on rows of which a blank one counts 50.
drawing bars(std::int32_t lines, std::int32_t blank_rows) {
    drawing picture(51, 5 * lines + blank_rows);
    for (std::int32_t top = 0; lines > 0; --lines) {
        picture.fill(sized(0, top, 25, 5));
        const std::int32_t space = lines > 2 ? 1 : blank_rows;
        blank_rows -= space;
        top += 5 + space;
    }
    return picture;
}

std::optional<layout_context> scan_long_runs(const drawing& picture) {
    return scan_long_runs(picture.result, whole(picture.result));
}

TEST(scan_long_runs, takes_levels_with_more_than_500_pixels_in_long_runs) {
    EXPECT_FALSE(scan_long_runs(bars(8, 10)));
    const auto found = scan_long_runs(bars(8, 11));
    ASSERT_TRUE(found);
    EXPECT_FALSE(found->colour_mode);
    ASSERT_EQ(found->areas.size(), 1u);
    EXPECT_EQ(found->areas[0].lines.size(), 8u);
    EXPECT_EQ(found->areas[0].box, (rect{0, 0, 24, 50}));
    EXPECT_FALSE(scan_long_runs(bars(7, 11)));
}

TEST(scan_long_runs, orders_what_it_finds_by_its_top) {
    const struct {
        std::int32_t left_top, right_top;
        rect first;
    } rows[] = {{0, 0, {0, 0, 24, 28}}, {3, 0, {60, 0, 84, 28}}, {0, 3, {0, 0, 24, 28}}};
    for (const auto& row : rows) {
        drawing picture(100, 40);
        for (std::int32_t line = 0; line < 4; ++line) {
            picture.fill(sized(0, row.left_top + 8 * line, 25, 5));
            picture.fill(sized(60, row.right_top + 8 * line, 25, 5));
        }
        const auto found = scan_long_runs(picture);
        ASSERT_TRUE(found);
        ASSERT_EQ(found->areas.size(), 2u);
        EXPECT_EQ(found->areas[0].box, row.first);
    }
}

TEST(find_layout, is_empty_where_no_strategy_finds_lines) {
    const layout_context found =
        find_layout(drawing(100, 100).result, {0, 0, 99, 99}, checkpoints());
    EXPECT_TRUE(found.areas.empty());
    EXPECT_FALSE(found.colour_mode);
}

}  // namespace
}  // namespace brindlemoss::analysis::plugins::image_analysis
