#include "image/line_repair.h"

#include <gmock/gmock.h>

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "image/line_lists.h"

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

using testing::ElementsAre;

using boxes = std::vector<rect>;

class line_repair : public testing::Test {
protected:
    // The valid lines after repair_lines().
    boxes repaired(const boxes& raw) {
        engine.lines.clear();
        engine.corrected = false;
        engine.correction_kinds = 0;
        for (const rect& box : raw) engine.lines.emplace_back(box);
        repair_lines(engine);
        EXPECT_EQ(engine.lines.size(), raw.size());
        EXPECT_EQ(engine.corrected, engine.correction_kinds != 0);
        return boxes_of(valid_lines(engine.lines));
    }

    std::int32_t kinds_for(const boxes& raw) {
        repaired(raw);
        return engine.correction_kinds;
    }

    text_engine engine{source_bitmap{}};
};

// Lines below each other: a height, the gap behind it, a height, and so on.
boxes stacked(std::initializer_list<std::int32_t> heights_and_gaps, std::int32_t left = 0) {
    boxes result;
    std::int32_t y = 0;
    bool is_height = true;
    for (const std::int32_t rows : heights_and_gaps) {
        if (is_height) result.push_back({left, y, left + 99, y + rows - 1});
        y += rows;
        is_height = !is_height;
    }
    return result;
}

TEST_F(line_repair, goes_through_a_stack_by_top) {
    boxes upside_down = stacked({4, 2, 4, 9, 10});
    upside_down[1].right = 120;
    std::swap(upside_down[0], upside_down[2]);
    EXPECT_THAT(repaired(upside_down), ElementsAre(rect{0, 19, 99, 28}, rect{0, 0, 120, 9}));
    EXPECT_TRUE(engine.lines.back().valid);
}

TEST_F(line_repair, joins_halves_only_if_that_makes_a_stack_regular) {
    struct row {
        const char* name;
        boxes lines;
        bool joined;
    };
    const row rows[] = {
        {"gaps of 3 rows", stacked({4, 3, 4, 9, 4, 3, 4}), true},
        {"gaps of 4 rows", stacked({4, 4, 4, 9, 4, 4, 4}), false},
        {"two lines", stacked({4, 2, 4}), false},
        {"mean gap of 5", stacked({4, 2, 4, 5, 4, 2, 4}), true},
        {"mean gap of 4", stacked({4, 2, 4, 4, 4, 2, 4}), false},
        {"a close line behind a pair", stacked({4, 2, 4, 2, 10, 9, 10}), false},
        // Heights that vary by 4 before and 1 afterwards, 2.25 and 1, 15.2 and 2.25, 15.2 and 1.
        {"heights four times as regular", stacked({2, 1, 6, 9, 2, 3, 6}), true},
        {"heights less than that", stacked({3, 1, 6, 9, 3, 3, 6}), false},
        {"heights of 10 and 13", stacked({1, 2, 7, 9, 1, 2, 10}), false},
        {"heights of 10 and 12", stacked({1, 2, 7, 9, 1, 1, 10}), true},
        // Gaps that vary by 4.24 and 1, 2.56 and 1, 12.9 and 2, 14.7 and 3.6.
        {"gaps four times as regular", stacked({4, 3, 4, 6, 4, 3, 4, 8, 4, 3, 4}), true},
        {"gaps less than that", stacked({4, 3, 4, 5, 4, 3, 4, 7, 4, 3, 4}), false},
        {"gaps of 8, 8 and 11", stacked({4, 2, 4, 8, 4, 2, 4, 8, 4, 2, 4, 11, 4, 2, 4}), true},
        {"gaps of 8, 8 and 12", stacked({4, 2, 4, 8, 4, 2, 4, 8, 4, 2, 4, 12, 4, 2, 4}), false},
        {"heights of 10 and once 13", stacked({1, 2, 7, 8, 1, 2, 7, 8, 1, 2, 7, 10, 1, 2, 10}),
         true},
        {"heights of 10 and once 13, gaps of 8 and once 11",
         stacked({1, 2, 7, 8, 1, 2, 7, 8, 1, 2, 7, 11, 1, 2, 10}), false},
    };
    for (const row& each : rows) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(kinds_for(each.lines), each.joined ? magic_1_3_correction : 0);
    }
}

TEST_F(line_repair, looks_at_each_stack_by_itself) {
    boxes lines = stacked({10, 9, 10, 9, 10});
    for (rect box : stacked({4, 2, 4, 9, 4, 2, 4})) {
        lines.push_back({box.left, box.top + 100, box.right, box.bottom + 100});
    }
    EXPECT_THAT(repaired(lines), ElementsAre(lines[0], lines[1], lines[2], rect{0, 100, 99, 109},
                                             rect{0, 119, 99, 128}));
}

TEST_F(line_repair, joins_heaps_that_stand_side_by_side) {
    EXPECT_THAT(repaired({{0, 0, 50, 5}, {100, 0, 150, 5}, {0, 7, 50, 12}, {100, 7, 150, 12}}),
                ElementsAre(rect{0, 0, 50, 12}, rect{100, 0, 150, 12}));
    EXPECT_EQ(engine.correction_kinds, magic_1_4_correction);
    EXPECT_THAT(repaired({{0, 0, 50, 5}, {100, 0, 150, 5}, {0, 5 + 2, 50, 12}}),
                ElementsAre(rect{0, 0, 50, 12}, rect{100, 0, 150, 5}));
}

TEST_F(line_repair, tells_heaps_from_lines) {
    struct row {
        const char* name;
        boxes lines;
        bool joined;
    };
    const rect left{0, 0, 50, 5}, right{100, 0, 150, 5};
    const row rows[] = {
        {"two rows between", {left, right, {0, 8, 50, 12}, {100, 8, 150, 12}}, false},
        {"left edges 1 apart", {left, right, {1, 7, 50, 12}, {100, 7, 140, 12}}, true},
        {"right edges 1 apart", {left, right, {9, 7, 50, 12}, {100, 7, 151, 12}}, true},
        {"edges 2 apart", {left, right, {2, 7, 50, 12}, {100, 7, 152, 12}}, false},
        {"five lines", {left, right, {0, 7, 50, 12}, {100, 7, 120, 12}, {130, 7, 150, 12}}, false},
        {"one heap", {left, {66, 0, 150, 5}, {0, 7, 50, 12}, {100, 7, 150, 12}}, false},
        {"just two heaps", {left, {67, 0, 150, 5}, {0, 7, 50, 12}, {100, 7, 150, 12}}, true},
        {"three heaps", {left, right, {200, 0, 250, 5}, {0, 7, 50, 12}}, false},
    };
    for (const row& each : rows) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(kinds_for(each.lines), each.joined ? magic_1_4_correction : 0);
    }
}

TEST_F(line_repair, goes_on_from_heaps_that_were_joined) {
    // The second group is empty once it has joined the first, which then reaches the third.
    EXPECT_THAT(repaired({{0, 0, 50, 5},
                          {100, 0, 150, 5},
                          {0, 7, 50, 12},
                          {100, 7, 150, 12},
                          {0, 14, 50, 19},
                          {100, 14, 150, 19}}),
                ElementsAre(rect{0, 0, 50, 19}, rect{100, 0, 150, 19}));
}

TEST_F(line_repair, looks_at_what_is_left_of_joined_heaps) {
    // The two lines at the right would be a pair beside a single line.
    EXPECT_THAT(repaired({{0, 0, 50, 5}, {100, 0, 150, 2}, {100, 4, 150, 5}, {0, 7, 50, 12}}),
                ElementsAre(rect{0, 0, 50, 12}, rect{100, 0, 150, 5}));
    EXPECT_EQ(engine.correction_kinds, magic_1_4_correction);
}

// Two lines above each other beside one that is `typical` rows high.
boxes pair_beside(const rect& a, const rect& b, std::int32_t typical = 12) {
    return {a, {400, 0, 499, typical - 1}, b};
}

TEST_F(line_repair, joins_a_pair_beside_single_lines) {
    EXPECT_THAT(repaired(pair_beside({0, 0, 99, 5}, {0, 7, 90, 12})),
                ElementsAre(rect{0, 0, 99, 12}, rect{400, 0, 499, 11}));
    EXPECT_FALSE(engine.lines.back().valid);
}

TEST_F(line_repair, judges_pairs_by_overlap_gap_and_height) {
    struct row {
        const char* name;
        boxes lines;
        std::int32_t kinds;
    };
    const rect a{0, 0, 99, 5};
    const auto below = [](std::int32_t left, std::int32_t right, std::int32_t gap) {
        return rect{left, 6 + gap, right, 13};
    };
    const row rows[] = {
        {"gap of 1", pair_beside(a, below(0, 99, 1)), corrected_lines},
        {"gap of 2", pair_beside(a, below(0, 99, 2)), corrected_lines_2},
        {"gap of 3", pair_beside(a, below(0, 99, 3)), corrected_lines_2},
        {"gap of 4", pair_beside(a, below(0, 99, 4)), 0},
        {"rows shared", pair_beside(a, {0, 3, 99, 11}), corrected_lines},
        {"half as wide", pair_beside(a, below(10, 59, 1)), 0},
        {"more than half", pair_beside(a, below(10, 60, 1)), corrected_lines},
        {"half as wide, at the left", pair_beside(a, below(0, 49, 1)), 0},
        {"56 of 100, at the left", pair_beside(a, below(0, 55, 1)), corrected_lines},
        {"56 of 100, at the right", pair_beside(a, below(44, 99, 1)), corrected_lines},
        {"at the left of the lower", pair_beside({0, 0, 55, 5}, below(0, 99, 1)), corrected_lines},
        {"at the right of it", pair_beside({44, 0, 99, 5}, below(0, 99, 1)), corrected_lines},
        {"within the lower", pair_beside({10, 0, 60, 5}, below(0, 99, 1)), corrected_lines},
        {"60 of 100 shared", pair_beside(a, below(40, 139, 1)), 0},
        {"61 of 100 shared", pair_beside(a, below(39, 138, 1)), corrected_lines},
        {"80 of 200 shared", pair_beside(a, below(20, 219, 1)), 0},
        {"70 of 100, wider gap", pair_beside(a, below(10, 79, 2)), 0},
        {"71 of 100, wider gap", pair_beside(a, below(10, 80, 2)), corrected_lines_2},
        {"70 shared, wider gap", pair_beside(a, below(30, 129, 2)), 0},
        {"71 shared, wider gap", pair_beside(a, below(29, 128, 2)), corrected_lines_2},
        {"14 rows to 9", pair_beside(a, below(0, 99, 2), 9), 0},
        {"14 rows to 10", pair_beside(a, below(0, 99, 2), 10), corrected_lines_2},
        {"14 rows to 20", pair_beside(a, below(0, 99, 2), 20), corrected_lines_2},
        {"14 rows to 21", pair_beside(a, below(0, 99, 2), 21), 0},
        {"close, whatever the height", pair_beside(a, below(0, 99, 1), 30), corrected_lines},
        {"no single line", {a, {400, 3, 499, 8}, below(0, 99, 1), {400, 10, 499, 15}}, 0},
        {"three above each other", {a, {400, 0, 499, 17}, below(0, 99, 1), {0, 15, 99, 17}}, 0},
    };
    for (const row& each : rows) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(kinds_for(each.lines), each.kinds);
    }
}

TEST_F(line_repair, takes_the_typical_height_from_single_lines) {
    // The pair makes a line of 14 rows, which goes with 10 to 20.
    const auto kinds_beside = [&](std::initializer_list<std::int32_t> singles) {
        boxes lines = {{0, 0, 99, 5}};
        std::int32_t left = 200;
        for (const std::int32_t height : singles) {
            lines.push_back({left, 0, left + 9, height - 1});
            left += 50;
        }
        lines.push_back({0, 8, 99, 13});
        return kinds_for(lines);
    };
    EXPECT_EQ(kinds_beside({30, 12}), corrected_lines_2);
    EXPECT_EQ(kinds_beside({12, 30}), 0);
    EXPECT_EQ(kinds_beside({12, 40, 14}), corrected_lines_2);
    EXPECT_EQ(kinds_beside({9, 40, 9}), 0);
    EXPECT_EQ(kinds_beside({12, 40, 9, 9}), corrected_lines_2);
    EXPECT_EQ(kinds_beside({12, 40, 30, 9}), 0);
}

TEST_F(line_repair, passes_over_invalid_lines) {
    for (const rect& box : stacked({4, 2, 4, 9, 4, 2, 4})) engine.lines.emplace_back(box);
    engine.lines.front().valid = false;
    repair_lines(engine);
    EXPECT_FALSE(engine.corrected);
    EXPECT_EQ(valid_lines(engine.lines).size(), 3u);
}

}  // namespace
}  // namespace brindlemoss::analysis::plugins::image_analysis
