#include "image/layout_words.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "support/plane_drawing.h"

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

using namespace test_support;
using columns = std::vector<std::pair<std::int32_t, std::int32_t>>;

scan_area area_with(const rect& box, const std::vector<rect>& lines) {
    scan_area area;
    area.box = box;
    for (const rect& line : lines) area.lines.emplace_back().box = line;
    return area;
}

// The words of one area.
scan_area words_of(const drawing& picture, scan_area area, bool colour_mode) {
    layout_context context{
        background_map(picture.result, paper_alone()), {std::move(area)}, colour_mode};
    find_layout_words(context, checkpoints());
    return context.areas.front();
}

columns columns_of(const scan_area& line) {
    columns found;
    for (const scan_word& word : line.cells) found.emplace_back(word.left, word.right);
    return found;
}

// In one line of the area, which begins in row 20 and is 10 rows high, 200 columns wide.
columns words_in_line(const drawing& picture, bool colour_mode) {
    const rect line = sized(0, 20, 200, 10);
    const scan_area area = words_of(picture, area_with(line, {line}), colour_mode);
    return area.lines.empty() ? columns{} : columns_of(area.lines.front());
}

TEST(find_layout_words, parts_words_at_three_clear_columns) {
    drawing picture(200, 40);
    picture.fill(sized(5, 22, 4, 5)).fill(sized(11, 20, 3, 10)).fill(sized(17, 25, 6, 2));
    picture.fill(sized(15, 27, 1, 1));  // a speck is clear
    EXPECT_EQ(words_in_line(picture, false), (columns{{5, 13}, {17, 22}}));
}

TEST(find_layout_words, disables_areas_by_their_words_and_their_size) {
    drawing picture(200, 40);
    picture.fill(sized(5, 20, 4, 10)).fill(sized(12, 20, 4, 10));
    const struct {
        const char* what;
        rect box, line;
        std::size_t lines;
        bool enabled;
    } rows[] = {
        {"enough", sized(0, 20, 16, 6), sized(0, 20, 16, 5), 1, true},
        {"narrow", sized(0, 20, 15, 6), sized(0, 20, 16, 5), 1, false},
        {"low", sized(0, 20, 16, 5), sized(0, 20, 16, 5), 1, false},
        {"one word", sized(0, 20, 16, 6), sized(0, 20, 11, 5), 0, false},
        {"a low line", sized(0, 20, 16, 6), sized(0, 20, 16, 4), 0, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const scan_area area = words_of(picture, area_with(row.box, {row.line}), false);
        EXPECT_EQ(area.lines.size(), row.lines);
        EXPECT_EQ(area.enabled, row.enabled);
    }
    // In colour mode the lines stay.
    const rect line = sized(0, 20, 16, 10);
    const scan_area area = words_of(picture, area_with(line, {line}), true);
    EXPECT_EQ(area.lines.size(), 1u);
    EXPECT_FALSE(area.enabled);
}

TEST(find_layout_words, gathers_blobs_less_than_eight_columns_apart) {
    drawing picture(200, 40);
    picture.fill(sized(5, 20, 6, 10)).fill(sized(18, 22, 6, 4));    // 7 between
    picture.fill(sized(32, 20, 6, 10)).fill(sized(39, 20, 30, 3));  // 8; too low to count
    picture.fill(sized(70, 20, 40, 1)).fill(sized(70, 21, 2, 9)).fill(sized(80, 24, 6, 6));
    // The last one ends in a row of single pixels, of which three are eaten.
    EXPECT_EQ(words_in_line(picture, true), (columns{{5, 23}, {32, 37}, {70, 106}}));
    const rect line = sized(0, 20, 200, 10);
    const scan_area area = words_of(picture, area_with(line, {line}), true);
    EXPECT_EQ(area.lines[0].cells[0].spans,
              (std::vector<rect>{sized(5, 20, 6, 10), sized(18, 22, 6, 4)}));
    EXPECT_EQ(area.lines[0].cells[2].spans,
              (std::vector<rect>{sized(70, 20, 40, 10), sized(80, 24, 6, 6)}));
}

TEST(find_layout_words, seeks_blobs_from_ten_rows_above_or_behind_the_line_before) {
    drawing picture(200, 60);
    picture.fill(sized(10, 5, 8, 20));  // up to the first line; cut at row 10
    picture.fill(sized(40, 20, 8, 10)).fill(sized(60, 20, 8, 25));  // into the second line
    picture.fill(sized(90, 32, 8, 12));                             // begins between the lines
    const scan_area area = words_of(
        picture, area_with({0, 20, 199, 49}, {sized(0, 20, 200, 10), sized(0, 40, 200, 10)}), true);
    EXPECT_EQ(area.lines[0].cells.at(0).spans, (std::vector<rect>{{10, 10, 17, 24}}));
    EXPECT_EQ(area.lines[0].cells.size(), 3u);
    EXPECT_EQ(area.lines[1].cells.at(0).spans, (std::vector<rect>{{60, 30, 67, 44}}));
    EXPECT_EQ(area.lines[1].cells.at(1).spans, (std::vector<rect>{{90, 32, 97, 43}}));
}

TEST(find_layout_words, trims_words_of_columns_that_hold_next_to_nothing) {
    // A line of 10 rows: more than three pixels must be met, from either side.
    drawing picture(200, 40);
    picture.fill(sized(10, 25, 12, 1)).fill(sized(15, 20, 1, 10)).fill(sized(19, 24, 1, 4));
    picture.fill(sized(60, 20, 9, 10));
    EXPECT_EQ(words_in_line(picture, true), (columns{{13, 19}, {60, 68}}));
}

TEST(find_layout_words, drops_small_words_and_lines_full_of_them) {
    const auto line_of = [](int large, int small) {
        drawing picture(200, 40);
        std::int32_t left = 0;
        for (; large > 0; --large, left += 20) picture.fill(sized(left, 20, 5, 10));
        for (; small > 0; --small, left += 20) picture.fill(sized(left, 20, 4, 10));
        return picture;
    };
    EXPECT_EQ(words_in_line(line_of(2, 2), true), (columns{{0, 4}, {20, 24}}));
    EXPECT_EQ(words_in_line(line_of(2, 3), true), columns{});
    // A word whose pixels stand above the line is eaten whole.
    EXPECT_EQ(words_in_line(line_of(2, 0).fill(sized(60, 12, 9, 8)), true),
              (columns{{0, 4}, {20, 24}}));
}

}  // namespace
}  // namespace brindlemoss::analysis::plugins::image_analysis
