#include "image/text_lines.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/engine_on.h"
#include "support/plane_drawing.h"

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

using namespace test_support;

// An engine that has come to these regions of a plane.
text_engine engine_at(const plane& levels, const std::vector<rect>& regions) {
    text_engine engine = engine_on(levels);
    for (const std::uint8_t level : levels.levels) ++engine.histogram[level];
    engine.regions = regions;
    return engine;
}

comb_page page_of(std::int32_t lines, std::int32_t words_per_line) {
    comb_page text;
    text.lines = lines;
    text.words_per_line = words_per_line;
    return text;
}

std::vector<rect> lines_of(std::int32_t left, std::int32_t top, const comb_page& text) {
    std::vector<rect> lines;
    for (std::int32_t line = 0; line < text.lines; ++line) {
        lines.push_back(sized(left, top + line * (text.word.height + text.line_gap), text.width(),
                              text.word.height));
    }
    return lines;
}

text_engine engine_after_page(const comb_page& text) {
    const plane levels = drawing(400, 150).page(30, 20, text).result;
    text_engine engine = engine_at(levels, lines_of(30, 20, text));
    find_text_lines(engine);
    return engine;
}

TEST(text_lines, are_found_with_their_words) {
    const text_engine engine = engine_after_page({});
    EXPECT_TRUE(engine.keep_going);
    EXPECT_EQ(engine.stop_code, no_stop);
    EXPECT_FALSE(engine.corrected);
    EXPECT_EQ(engine.valid_line_count, 5);
    EXPECT_EQ(engine.valid_word_count, 30);
    EXPECT_EQ(engine.text_area, 5 * 178 * 10);
    EXPECT_DOUBLE_EQ(engine.text_fraction, 8900.0 / 60'000);
    EXPECT_EQ(engine.blocks.size(), 1u);
    EXPECT_EQ(engine.lines.front().box, sized(30, 20, 178, 10));
}

TEST(text_lines, need_two_regions) {
    text_engine engine = engine_at(drawing(200, 100).result, {{10, 10, 50, 20}});
    find_text_lines(engine);
    EXPECT_FALSE(engine.keep_going);
    EXPECT_EQ(engine.stop_code, few_raw_lines);
}

TEST(text_lines, need_three_fifths_of_background) {
    for (const std::int32_t rows : {60, 59}) {
        SCOPED_TRACE(rows);
        drawing picture(200, 100, 0);
        for (std::int32_t x = 0; x < 200; x += 2) picture.fill({x, 0, x, 99}, 100);
        picture.fill({0, 0, 199, rows - 1}, test_support::paper);
        text_engine engine = engine_at(picture.result, {{10, 70, 50, 75}, {10, 80, 50, 85}});
        find_text_lines(engine);
        EXPECT_DOUBLE_EQ(engine.background_fraction, rows / 100.0);
        EXPECT_EQ(engine.stop_code, rows == 60 ? no_stop : little_background);
        EXPECT_FALSE(engine.keep_going);
    }
}

TEST(text_lines, must_be_enough_for_text) {
    struct row {
        const char* name;
        comb_page text;
        bool enough;
    };
    const row rows[] = {
        {"2 lines of 8 words", page_of(2, 8), true},
        {"3 lines of 5 words", page_of(3, 5), false},
        {"7 lines of 2 words", page_of(7, 2), false},
    };
    for (const row& each : rows) {
        SCOPED_TRACE(each.name);
        const text_engine engine = engine_after_page(each.text);
        EXPECT_EQ(engine.valid_line_count, each.text.lines);
        EXPECT_EQ(engine.valid_word_count, each.text.lines * each.text.words_per_line);
        EXPECT_EQ(engine.keep_going, each.enough);
        EXPECT_EQ(engine.stop_code, no_stop);
        EXPECT_GT(engine.text_fraction, 0.0);
    }
}

TEST(text_lines, must_have_two_words_each_on_average) {
    // One word a line, but for the last with two that stand 20 columns apart.
    const comb_page column = page_of(17, 1);
    drawing picture(300, 400);
    picture.page(30, 20, column).word(73, 20 + 16 * 18, {});
    std::vector<rect> regions = lines_of(30, 20, column);
    regions.back().right = 95;
    text_engine engine = engine_at(picture.result, regions);
    find_text_lines(engine);
    EXPECT_EQ(engine.valid_line_count, 17);
    EXPECT_EQ(engine.valid_word_count, 18);
    EXPECT_FALSE(engine.keep_going);
}

TEST(text_lines, without_words_are_invalid) {
    const comb_page text{};
    const plane levels = drawing(400, 150).page(30, 20, text).word(300, 20, {}).result;
    std::vector<rect> regions = lines_of(30, 20, text);
    regions.push_back(sized(300, 20, 23, 10));
    text_engine engine = engine_at(levels, regions);
    find_text_lines(engine);
    EXPECT_EQ(engine.valid_line_count, 5);
    EXPECT_EQ(std::count_if(engine.lines.begin(), engine.lines.end(),
                            [](const text_line& line) { return line.valid; }),
              5);
}

}  // namespace
}  // namespace brindlemoss::analysis::plugins::image_analysis
