#include "image/reading_order.h"

#include <gtest/gtest.h>

#include <list>
#include <random>
#include <vector>

namespace {

using namespace brindlemoss::analysis::plugins::image_analysis;

TEST(reading_order, puts_the_upper_one_first_only_where_rows_lie_apart) {
    const rect left{0, 10, 9, 19};
    const struct {
        const char* name;
        rect right;
        bool left_first;
        bool right_first;
    } rows[] = {
        {"same rows", {20, 10, 29, 19}, true, false},
        {"a little higher", {20, 5, 29, 14}, true, false},
        {"adjoining above", {20, 0, 29, 9}, true, false},
        {"one empty row above", {20, 0, 29, 8}, false, true},
        {"adjoining below", {20, 20, 29, 29}, true, false},
        {"far below and to the left", {-30, 40, -21, 49}, true, false},
        {"below by one row, to the left", {-30, 20, -21, 29}, false, true},
        {"equal", {0, 10, 9, 19}, false, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(read_before(left, row.right), row.left_first);
        EXPECT_EQ(read_before(row.right, left), row.right_first);
    }
}

TEST(reading_order, takes_inverted_rectangles) {
    EXPECT_TRUE(read_before({0, 0, 5, 5}, inverted_rect));
    EXPECT_FALSE(read_before(inverted_rect, {0, 0, 5, 5}));
    EXPECT_FALSE(read_before(inverted_rect, inverted_rect));
}

// What the list sort of the usual C++ library makes of orders that are none is what all must get.
TEST(merge_sort, meets_elements_as_a_bottom_up_list_sort_does) {
#ifndef __GLIBCXX__
    GTEST_FAIL() << "needs the library whose sort is the measure";
#endif
    std::mt19937 random(7);
    for (int round = 0; round < 2000; ++round) {
        std::list<rect> rects;
        for (std::size_t count = random() % 40; count > 0; --count) {
            const auto left = static_cast<std::int32_t>(random() % 100);
            const auto top = static_cast<std::int32_t>(random() % 100);
            rects.push_back({left, top, left + static_cast<std::int32_t>(random() % 40),
                             top + static_cast<std::int32_t>(random() % 25)});
        }
        std::list<rect> expected = rects;
        expected.sort(read_before);
        sort_in_reading_order(rects, [](const rect& r) { return r; });
        ASSERT_EQ(rects, expected);
    }
}

}  // namespace
