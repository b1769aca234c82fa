#include "image/line_bounds.h"

#include <gmock/gmock.h>

#include <vector>

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

using testing::ElementsAre;

// One block of lines in a picture of 400 by 300.
struct bounding {
    explicit bounding(const std::vector<rect>& boxes, std::int32_t width = 400,
                      std::int32_t height = 300)
        : engine(source_bitmap{width, height, nullptr, 0}) {
        engine.blocks.emplace_back();
        for (const rect& box : boxes) {
            engine.blocks.back().lines.push_back(&engine.lines.emplace_back(box));
        }
    }

    std::vector<rect> bounds() {
        EXPECT_TRUE(bound_lines(engine));
        std::vector<rect> result;
        for (const text_line& line : engine.lines) result.push_back(line.bounding_box);
        return result;
    }

    text_engine engine;
};

TEST(fit_box, takes_in_a_line_that_sticks_out_of_its_limits) {
    EXPECT_EQ(fit_box({50, 50, 80, 60}, {51, 51, 79, 59}, 100, 100), (rect{49, 49, 81, 60}));
    EXPECT_EQ(fit_box({50, 50, 80, 60}, {50, 50, 80, 60}, 100, 100), (rect{50, 50, 80, 60}));
}

TEST(bound_lines, gives_a_single_line_a_margin) {
    EXPECT_THAT(bounding({{50, 50, 149, 59}}).bounds(), ElementsAre(rect{42, 42, 157, 67}));
    EXPECT_THAT(bounding({{0, 0, 399, 299}}).bounds(), ElementsAre(rect{1, 1, 398, 298}));
}

TEST(bound_lines, cuts_in_the_middle_of_the_gap) {
    // Between 59 and 64 the middle is 61: the upper line ends one above it.
    EXPECT_THAT(bounding({{50, 50, 149, 59}, {50, 64, 149, 73}}).bounds(),
                ElementsAre(rect{42, 42, 157, 60}, rect{42, 61, 157, 81}));
    // Adjoining lines: the middle of 59 and 60 is 59, the limits 58 and 59; what sticks out keeps
    // its own last row.
    EXPECT_THAT(bounding({{50, 50, 149, 59}, {50, 60, 149, 69}}).bounds(),
                ElementsAre(rect{42, 42, 157, 59}, rect{42, 59, 157, 77}));
}

TEST(bound_lines, cuts_rows_by_columns_and_these_by_rows) {
    const rect title{50, 20, 300, 29};
    const rect tall{50, 36, 99, 79};
    const rect right_upper{110, 36, 300, 45};
    const rect right_lower{110, 60, 300, 79};
    bounding page({title, tall, right_upper, right_lower});
    // Rows: up to (29 + 36) / 2 = 32. Columns: the middle of 99 and 110 is 104. Rows again: the
    // middle of 45 and 60 is 52.
    EXPECT_THAT(page.bounds(), ElementsAre(rect{42, 12, 308, 31}, rect{42, 32, 103, 87},
                                           rect{104, 32, 308, 51}, rect{104, 52, 308, 87}));
}

TEST(bound_lines, sorts_the_lines_of_each_block) {
    bounding page({{50, 64, 149, 73}, {50, 50, 149, 59}});
    page.bounds();
    EXPECT_EQ(page.engine.blocks.back().lines.front()->box.top, 50);
}

TEST(bound_lines, gives_up_on_lines_that_nothing_separates) {
    // The first is bounded before the two below it turn out to overlap.
    bounding page({{50, 20, 149, 29}, {50, 50, 149, 59}, {140, 55, 240, 64}});
    EXPECT_FALSE(bound_lines(page.engine));
    EXPECT_EQ(page.engine.lines.front().bounding_box, (rect{42, 12, 157, 37}));
    EXPECT_EQ(page.engine.lines.back().bounding_box, rect());
    // Rows that overlap are still cut by columns, once.
    bounding side_by_side({{50, 50, 99, 59}, {105, 55, 149, 64}});
    EXPECT_TRUE(bound_lines(side_by_side.engine));
}

// Each line lies along the left or the upper side of all that follow: every cut gives a single line
// and the rest.
TEST(bound_lines, follows_cuts_within_cuts) {
    constexpr std::int32_t lines = 700, side = 4 * lines + 100;
    std::vector<rect> boxes;
    for (std::int32_t line = 0; line < lines; ++line) {
        const std::int32_t start = 10 + 4 * line;
        boxes.push_back(line % 2 == 0 ? rect{start, start, start + 1, side - 20}
                                      : rect{start, start, side - 20, start + 1});
    }
    const std::vector<rect> bounds = bounding(boxes, side, side).bounds();
    // Line 600 stands upright at 2410, 2411. Line 598 at its left ends at 2403 and line 599 above
    // at 2407; the next bands begin at 2406 and 2410. Line 601 at its right begins at 2414.
    EXPECT_EQ(bounds[600], (rect{2404, 2408, 2411, side - 12}));
}

}  // namespace
}  // namespace brindlemoss::analysis::plugins::image_analysis
