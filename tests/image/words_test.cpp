#include "image/words.h"

#include <gmock/gmock.h>

#include <initializer_list>
#include <vector>

#include "image/components.h"
#include "image/line_lists.h"
#include "support/plane_drawing.h"

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

using test_support::sized;
using testing::ElementsAre;
using testing::IsEmpty;

struct page {
    page() : engine(source_bitmap{1000, 1000, nullptr, 0}) {}

    text_line& line(const std::vector<rect>& glyphs) {
        text_line& added = engine.lines.emplace_back();
        for (const rect& glyph : glyphs) added.components.push_back({glyph});
        collect_glyphs(added);
        added.box = hull_of_glyphs(added);
        return added;
    }

    // Glyphs of 4 by 10 at a row with so much from one's last column to the next one's first.
    text_line& spaced_line(std::int32_t top, std::initializer_list<std::int32_t> gaps) {
        std::vector<rect> glyphs = {sized(100, top, 4, 10)};
        for (const std::int32_t gap : gaps) {
            glyphs.push_back(sized(glyphs.back().right + gap, top, 4, 10));
        }
        return line(glyphs);
    }

    // Puts all lines into one block.
    void find_words_in_one_block() {
        block& only = engine.blocks.emplace_back();
        for (text_line& each : engine.lines) only.lines.push_back(&each);
        find_words(engine);
    }

    text_engine engine;
};

TEST(split_wide_lines, cuts_at_more_than_24_empty_columns) {
    page text;
    const std::vector<rect> glyphs = {
        {10, 20, 19, 29}, {44, 15, 50, 35},    // 24 columns away
        {76, 21, 79, 25},                      // 25
        {81, 20, 89, 28}, {115, 22, 120, 27},  // 25
    };
    text_line& whole = text.line(glyphs);
    whole.bounding_box = {5, 5, 130, 45};
    text.line({{10, 60, 19, 69}, {60, 60, 69, 69}}).valid = false;
    split_wide_lines(text.engine);
    EXPECT_FALSE(whole.valid);
    std::vector<std::vector<rect>> pieces;
    for (const text_line* piece : valid_lines(text.engine.lines)) {
        pieces.push_back(boxes_of(piece->glyphs));
        EXPECT_EQ(boxes_of(piece->components), pieces.back());
        EXPECT_EQ(piece->bounding_box, rect());
    }
    EXPECT_THAT(pieces, ElementsAre(ElementsAre(glyphs[0], glyphs[1]),
                                    ElementsAre(glyphs[2], glyphs[3]), ElementsAre(glyphs[4])));
    EXPECT_THAT(boxes_of(text.engine.lines),
                ElementsAre(rect{10, 15, 120, 35}, rect{10, 60, 69, 69}, rect{10, 15, 50, 35},
                            rect{76, 20, 89, 28}, rect{115, 22, 120, 27}));
}

TEST(group_blocks, puts_lines_side_by_side_into_meta_lines) {
    page text;
    text.engine.blocks.emplace_back();  // of an earlier grouping
    const rect left_upper{10, 10, 99, 19}, left_lower{10, 25, 99, 34}, right_upper{110, 8, 199, 12},
        right_lower{110, 20, 199, 29}, far{500, 500, 599, 509};
    for (const rect& box : {far, right_lower, left_lower, right_upper, left_upper}) {
        text.engine.lines.emplace_back(box);
    }
    text.engine.lines.emplace_back(rect{10, 10, 199, 34}).valid = false;
    group_blocks(text.engine);

    ASSERT_THAT(boxes_of(text.engine.blocks), ElementsAre(rect{10, 8, 199, 34}, far));
    const block& first = text.engine.blocks.front();
    EXPECT_THAT(boxes_of(first.lines),
                ElementsAre(left_upper, right_upper, left_lower, right_lower));
    ASSERT_THAT(boxes_of(first.meta_lines),
                ElementsAre(rect{10, 8, 199, 19}, rect{10, 20, 199, 34}));
    EXPECT_THAT(boxes_of(first.meta_lines[0].lines), ElementsAre(left_upper, right_upper));
    EXPECT_THAT(boxes_of(first.meta_lines[1].lines), ElementsAre(left_lower, right_lower));
    EXPECT_TRUE(first.meta_lines[0].seeded);
}

TEST(find_words, cuts_at_gaps_above_the_threshold) {
    const struct {
        const char* name;
        std::initializer_list<std::int32_t> gaps;
        std::size_t words;
    } rows[] = {
        // Mean 4.75, variance 17.6875: 0.4 * 4.2057 + 4.25 is 5.93, hence 5.
        {"2, 3, 2, 12", {2, 3, 2, 12}, 2},
        // Mean 6, variance 8: 0.4 * 2.8284 + 5.5 is 6.63, hence 6.
        {"at the threshold", {2, 6, 10, 6}, 2},
        {"above it", {2, 7, 9, 6}, 3},  // mean 6, variance 6.5: 6.52
        // Gaps below 1 do not count: mean 5.33, variance 11.56; 6.19.
        {"overlapping glyphs", {2, 0, -1, 4, 10}, 2},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        page text;
        text_line& line = text.spaced_line(50, row.gaps);
        text.find_words_in_one_block();
        EXPECT_EQ(line.words.size(), row.words);
    }
}

TEST(find_words, gives_each_word_the_hull_of_its_glyphs) {
    page text;
    text_line& line = text.line(
        {{10, 12, 19, 20}, {22, 10, 29, 15}, {31, 13, 39, 24}, {52, 11, 60, 20}, {62, 14, 70, 18}});
    text.find_words_in_one_block();
    EXPECT_THAT(boxes_of(line.words), ElementsAre(rect{10, 10, 39, 24}, rect{52, 11, 70, 20}));
    EXPECT_THAT(line.valid_words, ElementsAre(&line.words[0], &line.words[1]));
    EXPECT_FALSE(line.words[0].marked);
}

TEST(find_words, measures_all_lines_of_a_block_together) {
    page text;
    text_line& narrow = text.spaced_line(50, {2, 2, 2});
    text_line& wide = text.spaced_line(70, {12, 12, 12});
    text_line& single = text.spaced_line(90, {});
    text_line& empty = text.line({});
    text.find_words_in_one_block();  // mean 7, variance 25: 8.5
    EXPECT_EQ(narrow.words.size(), 1u);
    EXPECT_EQ(wide.words.size(), 4u);
    EXPECT_THAT(wide.valid_words, IsEmpty());  // 4 columns each
    EXPECT_EQ(single.words.size(), 1u);
    EXPECT_THAT(empty.words, IsEmpty());
}

TEST(find_words, finds_none_valid_where_gaps_hardly_differ) {
    const struct {
        const char* name;
        std::initializer_list<std::int32_t> gaps;
        bool found;
    } rows[] = {
        {"equal", {2, 2, 2, 2}, false},
        {"variance 1", {2, 4, 2, 4}, false},
        {"variance 1.36", {2, 4, 2, 5, 4, 2, 4, 2}, true},
        {"one glyph", {}, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        page text;
        text_line& line = text.spaced_line(50, row.gaps);
        text_line& empty = text.line({});
        text.find_words_in_one_block();
        EXPECT_EQ(line.valid_words.empty(), !row.found);
        if (!row.found) {
            EXPECT_THAT(boxes_of(line.words), ElementsAre(line.box));
            EXPECT_THAT(boxes_of(empty.words), ElementsAre(inverted_rect));
        }
    }
}

TEST(find_words, finds_small_words_invalid) {
    const struct {
        const char* name;
        rect word;
        bool valid;
    } rows[] = {
        {"4 high", sized(100, 10, 8, 4), true},
        {"3 high", sized(100, 10, 8, 3), false},
        {"5 wide", sized(100, 10, 5, 9), true},
        {"4 wide", sized(100, 10, 4, 9), false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        page text;
        text_line& line =
            text.line({{50, 10, 57, 19}, {60, 10, 67, 19}, {70, 10, 77, 19}, row.word});
        text.find_words_in_one_block();
        ASSERT_THAT(boxes_of(line.words), ElementsAre(rect{50, 10, 77, 19}, row.word));
        EXPECT_EQ(line.words.back().valid, row.valid);
        EXPECT_EQ(line.valid_words.size(), row.valid ? 2u : 1u);
    }
}

}  // namespace
}  // namespace brindlemoss::analysis::plugins::image_analysis
