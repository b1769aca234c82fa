#include "image/text_regions.h"

#include <gtest/gtest.h>

#include <cmath>

#include "support/engine_on.h"
#include "support/plane_drawing.h"
#include "support/recorded_checkpoints.h"

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

using namespace test_support;

// Columns moved down by `slope` around the middle of the picture.
plane slanted(const plane& straight, double slope) {
    plane moved = drawing(straight.width, straight.height).result;
    for (std::int32_t x = 0; x < straight.width; ++x) {
        const auto down = static_cast<std::int32_t>(std::lround(slope * (x - straight.width / 2)));
        for (std::int32_t y = 0; y < straight.height; ++y) {
            if (y - down < 0 || y - down >= straight.height) continue;
            moved.row(y)[x] = straight.at(x, y - down);
        }
    }
    return moved;
}

drawing line_of_text(std::int32_t width, std::int32_t height, const rect& place) {
    const comb strokes{static_cast<std::int32_t>((width_of(place) + 3) / 6), 3, 3,
                       static_cast<std::int32_t>(height_of(place))};
    return drawing(width, height).word(place.left, place.top, strokes);
}

// Lines of strokes 12 rows high, with 12 rows between them.
plane text_page(std::int32_t lines) {
    drawing page(400, 300);
    for (std::int32_t line = 0; line < lines; ++line) {
        page.word(50, 60 + line * 24, {50, 3, 3, 12});
    }
    return page.result;
}

std::int32_t stop_code_of(plane levels) {
    text_engine engine = engine_on(std::move(levels));
    find_text_regions(engine);
    EXPECT_EQ(engine.keep_going, engine.stop_code == no_stop);
    return engine.stop_code;
}

TEST(text_regions, finds_lines_of_text) {
    text_engine engine = engine_on(text_page(5));
    find_text_regions(engine);
    EXPECT_EQ(engine.stop_code, no_stop);
    EXPECT_EQ(engine.crop, (rect{50, 60, 346, 167}));
    EXPECT_EQ(engine.slope, 0.0);
    std::vector<rect> lines;
    for (std::int32_t top = 60; top <= 156; top += 24) lines.push_back({50, top, 346, top + 11});
    EXPECT_EQ(engine.regions, lines);
    EXPECT_EQ(engine.region_area, 5 * 297 * 12);
    EXPECT_EQ(engine.segment_density, 60.0 / 108.0);
}

TEST(text_regions, puts_slanted_lines_straight) {
    for (const double slope : {0.05, -0.05, 0.15}) {
        SCOPED_TRACE(slope);
        text_engine engine = engine_on(slanted(text_page(5), slope));
        find_text_regions(engine);
        EXPECT_EQ(engine.stop_code, no_stop);
        EXPECT_NEAR(engine.slope, slope, 0.01);
        EXPECT_EQ(engine.regions.size(), 5u);
    }
}

TEST(text_regions, leaves_lines_that_are_nearly_straight) {
    const struct {
        double drawn;
        double least, most;  // what is found of it
        std::size_t crops;   // a second one behind straightening
    } rows[] = {{0.026, 0.0248, 0.025, 1},
                {-0.0265, -0.025, -0.0248, 1},
                {0.0265, 0.025, 0.0262, 2},
                {-0.027, -0.0262, -0.025, 2}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.drawn);
        recorded_checkpoints recorded;
        text_engine engine = engine_on(slanted(text_page(5), row.drawn), &recorded);
        find_text_regions(engine);
        EXPECT_GE(engine.slope, row.least);
        EXPECT_LE(engine.slope, row.most);
        EXPECT_EQ(recorded.at_label["Crop"].size(), row.crops);
    }
}

TEST(text_regions, stops_where_there_is_too_little_to_go_on) {
    const auto squares = [](std::int32_t side) {
        drawing picture(300, 200);
        for (int i = 0; i < 16; ++i) picture.fill(sized(20 + i * 16, 20 + i * 10, side, side));
        return picture.result;
    };
    EXPECT_EQ(stop_code_of(drawing(300, 200).result), crop_too_small);
    EXPECT_EQ(stop_code_of(line_of_text(300, 200, sized(40, 80, 201, 35)).result), crop_too_small);
    EXPECT_EQ(stop_code_of(squares(8)), few_segments);
    // One line as high as a region may be; notches keep its ends from being taken for margins.
    drawing line = line_of_text(400, 200, sized(40, 80, 297, 40));
    line.fill(sized(40, 95, 3, 6), 255).fill(sized(334, 95, 3, 6), 255);
    EXPECT_EQ(stop_code_of(line.result), few_regions);
    // Two, but too high to be lines.
    EXPECT_EQ(
        stop_code_of(
            drawing(400, 200).word(40, 20, {50, 3, 3, 41}).word(40, 90, {50, 3, 3, 41}).result),
        few_regions);
}

TEST(text_regions, stops_where_straightening_leaves_too_little) {
    // A line of 24 rows that spans more than 36 as long as it is slanted.
    const plane line = line_of_text(400, 200, sized(40, 90, 321, 24)).result;
    EXPECT_EQ(stop_code_of(slanted(line, 0.1)), rotated_crop_too_small);
    // Bars that cross the rows only because they are slanted.
    drawing bars(400, 700);
    for (std::int32_t y = 200; y < 500; y += 14) bars.fill(sized(40, y, 320, 7));
    EXPECT_EQ(stop_code_of(slanted(bars.result, 1.0)), few_rotated_segments);
}

TEST(text_regions, bears_pictures_of_any_shape) {
    for (const auto& [width, height] : {std::pair{125, 20000}, {20000, 68}, {126, 68}}) {
        for (const bool textured : {false, true}) {
            drawing picture(width, height);
            if (textured) picture.page(0, 0, {{}, width / 30, 8, height / 18, 8});
            for (const double slope : {0.0, 0.5}) stop_code_of(slanted(picture.result, slope));
        }
    }
}

}  // namespace
}  // namespace brindlemoss::analysis::plugins::image_analysis
