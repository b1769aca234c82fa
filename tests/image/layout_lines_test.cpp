#include "image/layout_lines.h"

#include <gtest/gtest.h>

#include <vector>

#include "image/line_lists.h"
#include "support/plane_drawing.h"

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

using namespace test_support;
using rects = std::vector<rect>;

background_map map_of(const drawing& picture) {
    return background_map(picture.result, paper_alone());
}

rects leaves_of(const drawing& picture) {
    return cut_into_leaves(map_of(picture), {whole(picture.result)});
}

rects lines_of(const drawing& picture, const rect& leaf) {
    return boxes_of(find_lines(map_of(picture), leaf));
}

TEST(cut_into_leaves, cuts_where_more_than_sixteen_are_clear) {
    const rect first = sized(10, 10, 30, 20);
    drawing columns(200, 100);
    EXPECT_EQ(leaves_of(columns), rects{});
    columns.fill(first).fill(sized(56, 15, 20, 40));  // 16 columns between
    EXPECT_EQ(leaves_of(columns), (rects{{10, 10, 75, 54}}));
    columns.fill({56, 0, 56, 99}, paper);
    EXPECT_EQ(leaves_of(columns), (rects{first, {57, 15, 75, 54}}));

    drawing rows(200, 100);
    rows.fill(first).fill(sized(20, 46, 30, 10));
    EXPECT_EQ(leaves_of(rows), (rects{{10, 10, 49, 55}}));
    rows.fill({0, 46, 199, 46}, paper);
    EXPECT_EQ(leaves_of(rows), (rects{first, {20, 47, 49, 55}}));
}

TEST(cut_into_leaves, drops_small_pieces) {
    drawing picture(300, 100);
    picture.fill(sized(10, 10, 15, 40)).fill(sized(50, 10, 16, 6));
    picture.fill(sized(100, 10, 16, 5)).fill(sized(150, 10, 16, 40)).fill(sized(270, 20, 1, 1));
    EXPECT_EQ(leaves_of(picture), (rects{sized(50, 10, 16, 6), sized(150, 10, 16, 40)}));
}

TEST(cut_into_leaves, goes_on_in_turn_and_keeps_the_order) {
    // A column beside rows, of which the second falls into columns again.
    drawing picture(300, 300);
    const rect left = sized(10, 10, 20, 200), top = sized(60, 10, 200, 20);
    const rect inner = sized(60, 60, 50, 50), other = sized(130, 80, 130, 130);
    picture.fill(left).fill(top).fill(inner).fill(other);
    EXPECT_EQ(leaves_of(picture), (rects{left, top, inner, other}));
    // A frame around all of it leaves nothing to cut.
    EXPECT_EQ(leaves_of(picture.outline({0, 0, 299, 299}, 2)), (rects{{0, 0, 299, 299}}));
}

TEST(find_lines, ends_a_line_at_rows_of_93_percent_background) {
    drawing picture(100, 60);
    picture.fill(sized(0, 10, 100, 30));
    picture.fill({7, 20, 99, 20}, paper).fill({8, 30, 99, 30}, paper).fill({0, 30, 0, 30}, paper);
    // Row 20 has exactly 93, row 30 too; row 35 has 92.
    picture.fill({8, 35, 99, 35}, paper);
    EXPECT_EQ(lines_of(picture, {0, 10, 99, 39}),
              (rects{{0, 10, 99, 19}, {0, 21, 99, 29}, {0, 31, 99, 39}}));
}

TEST(find_lines, wants_five_rows_and_sixteen_columns) {
    drawing picture(100, 60);
    picture.fill(sized(10, 0, 80, 5)).fill(sized(10, 8, 80, 4));
    picture.fill(sized(10, 15, 15, 5)).fill(sized(10, 22, 16, 5));
    EXPECT_EQ(lines_of(picture, {0, 0, 99, 29}),
              (rects{sized(10, 0, 80, 5), sized(10, 22, 16, 5)}));
    // A leaf without any such stretch is one line.
    EXPECT_EQ(lines_of(picture, {0, 8, 99, 12}), (rects{{10, 8, 89, 12}}));
}

TEST(find_lines, takes_what_lies_between_distant_lines_for_one) {
    drawing picture(400, 60);
    picture.fill(sized(0, 0, 400, 10)).fill(sized(40, 9, 20, 20)).fill(sized(0, 23, 400, 10));
    // Rows 10 to 22 are poor in text; their facing rows differ by 14, and one row is left of them.
    EXPECT_EQ(lines_of(picture, {0, 0, 399, 32}),
              (rects{{0, 0, 399, 9}, {40, 16, 59, 16}, {0, 23, 399, 32}}));
    picture.fill(sized(0, 22, 400, 1));
    EXPECT_EQ(lines_of(picture, {0, 0, 399, 32}), (rects{{0, 0, 399, 9}, {0, 22, 399, 32}}));
    // Without text between there is no line.
    EXPECT_EQ(lines_of(drawing(400, 60).fill(sized(0, 0, 400, 10)).fill(sized(0, 40, 400, 10)),
                       {0, 0, 399, 49}),
              (rects{{0, 0, 399, 9}, {0, 40, 399, 49}}));
}

TEST(find_lines, cuts_one_piece_of_noise_off_each_end) {
    const struct {
        const char* what;
        std::int32_t piece, space;
        bool is_noise;
    } rows[] = {
        {"narrow, a space of 6", 4, 6, true}, {"narrow, a space of 5", 4, 5, false},
        {"a space as wide", 6, 6, false},     {"a wider space", 6, 7, true},
        {"a wide piece", 12, 12, false},      {"a wide piece and space", 12, 13, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const std::int32_t text = row.piece + row.space, end = text + 39;
        drawing picture(120, 20);
        picture.fill(sized(text, 0, 40, 10)).fill(sized(0, 0, row.piece, 10));
        picture.fill(sized(end + 1 + row.space, 0, row.piece, 10));
        const std::int32_t last = end + text;
        EXPECT_EQ(lines_of(picture, {0, 0, 119, 9}),
                  (rects{row.is_noise ? rect{text, 0, end, 9} : rect{0, 0, last, 9}}));
    }
    // Only one at each end; and never the only one.
    drawing picture(120, 20);
    for (const std::int32_t left : {0, 10, 20, 52, 62}) picture.fill(sized(left, 0, 2, 10));
    picture.fill(sized(30, 0, 15, 10));
    EXPECT_EQ(lines_of(picture, {0, 0, 119, 9}), (rects{{10, 0, 53, 9}}));
    EXPECT_EQ(lines_of(picture, {0, 0, 19, 9}), rects{});
}

// Lines of 20 rows and 100 columns with 4 rows between them. In the first few the row in the middle
// is 85 percent background and what is below it 80.
constexpr std::int32_t line_count = 8;

drawing lines_with_waists(std::int32_t waists) {
    drawing picture(100, 24 * line_count);
    for (std::int32_t line = 0; line < line_count; ++line) {
        const std::int32_t top = 24 * line;
        picture.fill(sized(0, top, 100, 20));
        if (line >= waists) continue;
        picture.fill(sized(15, top + 9, 85, 1), paper).fill(sized(20, top + 10, 80, 10), paper);
    }
    return picture;
}

TEST(find_word_rows, leave_a_line_without_text_as_it_is) {
    std::vector<scan_area> line(1);
    line[0].box = {0, 20, 99, 23};
    const word_rows rows = find_word_rows(map_of(lines_with_waists(1)), line, 85);
    EXPECT_EQ(boxes_of(rows.lines), (rects{line[0].box}));
}

rects lines_in_areas(const drawing& picture) {
    rects lines;
    for (const scan_area& area : areas_of_leaves(map_of(picture), {whole(picture.result)})) {
        for (const rect& box : boxes_of(area.lines)) lines.push_back(box);
    }
    return lines;
}

TEST(areas_of_leaves, divides_again_where_most_lines_fell_apart) {
    rects halved, lowered;
    for (std::int32_t line = 0; line < line_count; ++line) {
        const rect box = sized(0, 24 * line, 100, 20), upper = sized(0, 24 * line, 100, 9);
        halved.push_back(line < 4 ? upper : box);
        if (line < 4) halved.push_back(sized(0, 24 * line + 10, 20, 10));
        lowered.push_back(line < 5 ? upper : box);
    }
    EXPECT_EQ(lines_in_areas(lines_with_waists(4)), halved);   // 12 lines, 3 times 4
    EXPECT_EQ(lines_in_areas(lines_with_waists(5)), lowered);  // 13 would have been too few
}

TEST(areas_of_leaves, wants_eight_lines_over_all_leaves) {
    const drawing picture = lines_with_waists(0);
    const background_map map = map_of(picture);
    const rect upper{0, 0, 99, 95}, lower{0, 96, 99, 187}, shorter{0, 96, 99, 163};
    const std::vector<scan_area> areas = areas_of_leaves(map, {upper, lower});
    EXPECT_EQ(boxes_of(areas), (rects{{0, 0, 99, 91}, {0, 96, 99, 187}}));  // one each, not joined
    EXPECT_EQ(areas.at(1).lines.size(), 4u);
    EXPECT_TRUE(areas_of_leaves(map, {upper, shorter}).empty());
}

TEST(group_into_areas, begins_a_new_one_behind_thirteen_rows) {
    std::vector<scan_area> lines(4);
    lines[0].box = {10, 0, 50, 9};
    lines[1].box = {20, 22, 70, 29};  // the rows differ by 13
    lines[2].box = {0, 43, 90, 49};   // by 14
    lines[3].box = {5, 55, 95, 60};
    EXPECT_EQ(boxes_of(group_into_areas(lines)), (rects{{10, 0, 70, 29}, {0, 43, 95, 60}}));
    EXPECT_TRUE(group_into_areas({}).empty());
}

}  // namespace
}  // namespace brindlemoss::analysis::plugins::image_analysis
