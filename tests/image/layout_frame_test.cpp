#include "image/layout_frame.h"

#include <gtest/gtest.h>

#include "support/plane_drawing.h"

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

using test_support::drawing;
using test_support::paper;

constexpr rect square{0, 0, 99, 99};

TEST(strip_frame, moves_twenty_lines_at_most) {
    for (const auto& [thickness, wanted] : {std::pair{5, 5}, {20, 20}, {21, 20}}) {
        SCOPED_TRACE(thickness);
        drawing picture(600, 500);
        picture.outline({0, 0, 599, 499}, thickness);
        EXPECT_EQ(strip_frame(picture.result, {0, 0, 599, 499}),
                  (rect{wanted, wanted, 599 - wanted, 499 - wanted}));
    }
}

TEST(strip_frame, wants_four_fifths_of_one_level) {
    drawing picture(100, 100);
    picture.outline(square, 5).fill({40, 40, 43, 64});  // 1900 pixels and 100
    EXPECT_EQ(strip_frame(picture.result, square), (rect{5, 5, 94, 94}));
    picture.fill({50, 50, 50, 50});
    EXPECT_EQ(strip_frame(picture.result, square), square);
}

TEST(strip_frame, stops_at_a_share_of_fifteen_percent) {
    for (const auto& [common, top] : {std::pair{14, 1}, {15, 0}}) {
        SCOPED_TRACE(common);
        drawing picture(100, 100);
        picture.fill({common, 0, 99, 0});
        EXPECT_EQ(strip_frame(picture.result, square), (rect{0, top, 99, 99}));
    }
}

TEST(strip_frame, takes_the_share_of_columns_between_the_rows_that_stay) {
    // 14 of 90 rows are 15 percent, 14 of 100 would be 14.
    drawing picture(100, 100);
    picture.fill({0, 0, 99, 4}).fill({0, 95, 99, 99}).fill({0, 0, 0, 99});
    picture.fill({0, 40, 0, 53}, paper);
    EXPECT_EQ(strip_frame(picture.result, square), (rect{0, 5, 99, 94}));
    picture.fill({0, 40, 0, 40});
    EXPECT_EQ(strip_frame(picture.result, square), (rect{1, 5, 99, 94}));
}

TEST(strip_lasso, closes_around_what_is_not_uniform) {
    drawing picture(200, 150);
    picture.fill({70, 30, 71, 31}).fill({150, 120, 151, 121});
    picture.fill({3, 60, 3, 60}).fill({190, 140, 190, 140});  // one pixel stays uniform
    EXPECT_EQ(strip_lasso(picture.result, {0, 0, 199, 149}), (rect{70, 30, 151, 121}));
}

TEST(strip_lasso, leaves_nothing_of_a_flat_picture) {
    EXPECT_EQ(strip_lasso(drawing(200, 150).result, {0, 0, 199, 149}), (rect{200, 150, 199, 149}));
}

TEST(strip_lasso, walks_no_further_than_a_coordinate_of_its_height_and_width) {
    drawing picture(200, 150);
    picture.fill({190, 140, 191, 141});
    // 100 rows from row 50 and 120 columns from column 80.
    EXPECT_EQ(strip_lasso(picture.result, {80, 50, 199, 149}), (rect{120, 100, 191, 141}));
    // From behind its height or width on it doesn't move at all.
    EXPECT_EQ(strip_lasso(picture.result, {150, 120, 199, 149}), (rect{150, 120, 191, 141}));
}

}  // namespace
}  // namespace brindlemoss::analysis::plugins::image_analysis
