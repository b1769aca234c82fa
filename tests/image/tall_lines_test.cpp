#include "image/tall_lines.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "image/line_lists.h"
#include "support/plane_drawing.h"
#include "support/recorded_checkpoints.h"

namespace brindlemoss::analysis::plugins::image_analysis {

namespace {

using testing::ElementsAre;

using profile = std::vector<std::int32_t>;  // pixels of ink in each row of a line

profile operator+(profile a, const profile& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

profile rows(std::size_t count, std::int32_t ink) {
    return profile(count, ink);
}

// A line of text: most ink in the rows between its rims.
profile text(std::size_t height) {
    return rows(1, 30) + rows(height - 2, 50) + rows(1, 30);
}

class tall_lines : public testing::Test {
protected:
    tall_lines() : engine(source_bitmap{}, {}, &recorded) {
        engine.background_levels[test_support::paper] = true;
    }

    // 60 columns wide.
    text_line& add(std::int32_t left, std::int32_t top, const profile& ink) {
        std::int32_t y = top;
        for (const std::int32_t width : ink) {
            page.fill(test_support::sized(left, y++, width, 1));
        }
        engine.pp_plane = page.result;
        return engine.lines.emplace_back(rect{left, top, left + 59, y - 1});
    }

    // The lines that came of one.
    std::vector<rect> examined(const profile& ink, std::int32_t usual_height) {
        engine.lines.clear();
        page.fill({0, 0, 999, 399}, test_support::paper);
        examine_line(engine, add(10, 10, ink), usual_height);
        std::vector<rect> boxes = valid_boxes();
        for (rect& box : boxes) {
            EXPECT_EQ(box.left, 10);
            EXPECT_EQ(box.right, 69);
        }
        return boxes;
    }

    std::vector<rect> valid_boxes() { return boxes_of(valid_lines(engine.lines)); }

    test_support::drawing page{1000, 400};
    test_support::recorded_checkpoints recorded;
    text_engine engine;
};

rect at_rows(std::int32_t first, std::int32_t last) {
    return {10, 10 + first, 69, 10 + last};
}

TEST_F(tall_lines, become_three) {
    EXPECT_THAT(examined(text(9) + rows(1, 5) + text(9) + rows(1, 5) + text(10), 10),
                ElementsAre(at_rows(0, 8), at_rows(10, 18), at_rows(20, 29)));
    EXPECT_TRUE(engine.corrected);
    EXPECT_EQ(engine.correction_kinds, correctable_line_2);
}

TEST_F(tall_lines, are_cut_where_the_ink_is_least) {
    // The waist lies two rows above the middle; the thin lower line is measured by itself.
    const profile lower = rows(1, 12) + rows(10, 20) + rows(1, 12);
    EXPECT_THAT(examined(text(7) + rows(1, 2) + lower, 10),
                ElementsAre(at_rows(0, 6), at_rows(8, 19)));
}

TEST_F(tall_lines, keep_only_what_rises_above_the_level) {
    // Of 50 pixels a waist of 8 is 16 percent; there the level is 45.
    const profile line = rows(1, 35) + rows(7, 50);
    const profile upside_down(line.rbegin(), line.rend());
    const auto with_rows_beside = [&](std::int32_t ink) {
        return examined(line + rows(1, ink) + rows(2, 8) + rows(1, ink) + upside_down, 10);
    };
    EXPECT_THAT(with_rows_beside(22), ElementsAre(at_rows(0, 7), at_rows(12, 19)));
    EXPECT_THAT(with_rows_beside(23), ElementsAre(at_rows(0, 8), at_rows(11, 19)));
}

TEST_F(tall_lines, of_the_wrong_height_stay) {
    const profile waist = rows(2, 5);
    EXPECT_EQ(examined(text(5) + waist + text(5), 10).size(), 1u);  // 12 rows are not too many
    EXPECT_EQ(examined(text(9) + waist + text(9), 30).size(), 1u);
    EXPECT_EQ(examined(text(9) + waist + text(9), 12).size(), 2u);
    EXPECT_EQ(examined(text(9) + waist + text(9), 13).size(), 1u);  // neither 20 / 2 nor 20 / 3
    EXPECT_EQ(examined(text(19) + waist + text(19), 10).size(), 1u);
}

TEST_F(tall_lines, are_big_from_three_rows_more_than_usual) {
    const std::pair<std::size_t, const char*> table[] = {
        {7, "Small line 1"}, {8, "Normal line 1"}, {12, "Normal line 1"}, {13, "Big line 1"}};
    for (const auto& [height, label] : table) {
        SCOPED_TRACE(height);
        recorded.in_order.clear();
        EXPECT_EQ(examined(text(height), 10).size(), 1u);
        EXPECT_THAT(recorded.in_order, ElementsAre(label));
    }
}

TEST_F(tall_lines, without_clear_parts_stay) {
    const profile half = rows(1, 35) + rows(8, 50);
    const profile lower_half(half.rbegin(), half.rend());
    const profile small_lines = text(4) + rows(1, 5) + text(4);
    struct row {
        const char* name;
        profile ink;
    };
    const row table[] = {
        {"no waist", text(20)},
        {"no ink", rows(20, 0)},
        {"waist of 62 percent", half + rows(2, 31) + lower_half},
        {"two parts for three", text(14) + rows(2, 5) + text(14)},
        {"three parts for two", small_lines + rows(2, 5) + text(9)},
        {"a part of 6 rows", text(6) + rows(2, 5) + text(10) + rows(2, 5) + text(10)},
    };
    for (const row& each : table) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(examined(each.ink, 10).size(), 1u);
        EXPECT_FALSE(engine.corrected);
    }
}

const profile two_lines = text(9) + rows(2, 5) + text(9);

TEST_F(tall_lines, are_tall_by_the_lines_around_them) {
    // Most lines of the page are 20 rows high; in one group of three most are 10.
    for (std::int32_t top = 0; top < 200; top += 40) add(10, top, two_lines);
    add(300, 0, text(10));
    add(300, 20, two_lines);
    add(300, 60, text(10));
    split_tall_lines(engine);
    const std::vector<rect> boxes = valid_boxes();
    ASSERT_EQ(boxes.size(), 9u);
    EXPECT_EQ(boxes[7], (rect{300, 20, 359, 28}));
    EXPECT_EQ(boxes[8], (rect{300, 31, 359, 39}));
}

TEST_F(tall_lines, with_few_lines_around_are_tall_by_the_page) {
    for (std::int32_t top = 0; top < 200; top += 40) add(10, top, text(10));
    add(300, 0, text(20));
    add(300, 40, two_lines);
    add(600, 0, text(9) + rows(1, 5) + text(9));  // 19 rows are less than two lines
    split_tall_lines(engine);
    EXPECT_EQ(valid_boxes().size(), 9u);
    EXPECT_FALSE(engine.lines.empty());
    EXPECT_EQ(engine.lines.back().box, (rect{300, 51, 359, 59}));
    EXPECT_EQ(engine.correction_kinds, correctable_line_2);
}

TEST_F(tall_lines, pass_over_invalid_ones) {
    add(10, 0, two_lines).valid = false;
    split_tall_lines(engine);
    EXPECT_EQ(engine.lines.size(), 1u);
    add(10, 40, two_lines).valid = false;
    for (std::int32_t top = 80; top < 200; top += 40) add(10, top, text(10));
    split_tall_lines(engine);
    EXPECT_EQ(engine.lines.size(), 5u);
}

}  // namespace
}  // namespace brindlemoss::analysis::plugins::image_analysis
