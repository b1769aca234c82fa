#include "image/layout.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "support/plane_drawing.h"
#include "support/recorded_checkpoints.h"

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

using namespace test_support;
using strings = std::vector<std::string>;

strings signatures_of(const drawing& picture) {
    return make_layout_signatures(picture.result, checkpoints());
}

// The tokens ".0" and ".1" of a string of zeros and ones, once or more.
std::string tokens(std::string_view digits, int count = 1) {
    std::string text;
    for (; count > 0; --count) {
        for (const char digit : digits) (text += '.') += digit;
    }
    return text;
}

// Ten words of upright strokes of two columns, two columns apart, 10 rows high.
constexpr std::int32_t word_widths[] = {6, 10, 14, 10, 6, 18, 6, 10, 14, 18};
constexpr std::int32_t line_width = 112 + 9 * 8;

using level_function = std::function<std::uint8_t(std::int32_t x, std::int32_t y)>;

void draw_line(drawing& picture, std::int32_t top, const level_function& level_at) {
    std::int32_t left = 18;
    for (const std::int32_t width : word_widths) {
        for (std::int32_t x = left; x < left + width; ++x) {
            if ((x - left) % 4 > 1) continue;
            for (std::int32_t y = top; y < top + 10; ++y) {
                picture.fill({x, y, x, y}, level_at(x, y));
            }
        }
        left += width + 8;
    }
}

// Lines 8 rows apart, `first` of them in a first paragraph, the rest 24 rows behind it.
drawing page_of(std::int32_t lines, std::int32_t first, const level_function& level_at) {
    drawing picture(line_width + 36, 40 + 18 * lines + 24);
    std::int32_t top = 20;
    for (std::int32_t line = 0; line < lines; ++line, top += 18) {
        if (line == first) top += 16;
        draw_line(picture, top, level_at);
    }
    return picture;
}

std::uint8_t black(std::int32_t, std::int32_t) {
    return ink;
}

// No two neighbouring pixels are alike, so that no tile has one stray level.
std::uint8_t speckled(std::int32_t x, std::int32_t y) {
    return static_cast<std::uint8_t>((7 * x + 13 * y) % 50);
}

// Each line begins narrower than the line before ended.
const std::string first_line = tokens("0001101000");
const std::string later_line = tokens("1001101000");

TEST(make_layout_signatures, tells_paragraphs_between_flat_bands) {
    const std::string area = ".2" + first_line + later_line + later_line + later_line;
    EXPECT_EQ(area.size() + std::string("[ocr-7b]").size(), 90u);
    const strings wanted{"[ocr-3]" + area + area, "[ocr-7b]" + area, "[ocr-7b]" + area};
    EXPECT_EQ(signatures_of(page_of(8, 4, black)), wanted);
    EXPECT_EQ(signatures_of(page_of(8, 4, speckled)), wanted);
}

TEST(make_layout_signatures, tells_dense_text_by_its_blobs) {
    // Of the widths of their strokes: 4, 6, 8, 6, 4, 10, 4, 6, 8, 10. Those of 4 are passed over.
    const std::string area = ".2" + tokens("0010100") + tokens("1010100", 5);
    EXPECT_EQ(signatures_of(page_of(6, 6, black)), (strings{"[ocr-3]" + area, "[ocr-7b]" + area}));
}

TEST(make_layout_signatures, tells_dense_speckled_text_by_the_runs_around_it) {
    const std::string area = ".2" + first_line + later_line + later_line + later_line + later_line +
                             later_line + later_line + later_line;
    EXPECT_EQ(signatures_of(page_of(8, 8, speckled)),
              (strings{"[ocr-3]" + area, "[ocr-7b]" + area}));
}

TEST(make_layout_signatures, falls_back_to_the_picture_below_eight_lines) {
    for (const std::int32_t first : {3, 7}) {
        const strings made = signatures_of(page_of(7, first, speckled));
        for (const std::string& signature : made) EXPECT_NE(signature.substr(0, 5), "[ocr-");
    }
    // Of black lines six are enough, whatever stands between them.
    EXPECT_EQ(signatures_of(page_of(7, 3, black)).front().substr(0, 7), "[ocr-3]");
}

// Rough at all edges, flat within.
drawing ringed(std::int32_t width, std::int32_t height) {
    drawing picture(width, height);
    for (std::int32_t x = 0; x < width; x += 4) {
        picture.fill(sized(x, 0, 2, 2)).fill(sized(x, height - 2, 2, 2));
    }
    for (std::int32_t y = 0; y < height; y += 4) {
        picture.fill(sized(0, y, 2, 2)).fill(sized(width - 2, y, 2, 2));
    }
    return picture;
}

TEST(make_layout_signatures, passes_small_pictures_over) {
    const struct {
        std::int32_t width, height;
        bool signed_at_all;
    } rows[] = {{64, 44, false},   {63, 200, false}, {64, 156, false}, {64, 157, true},
                {300, 44, false},  {222, 45, false}, {223, 45, true},  {0, 0, false},
                {65535, 1, false}, {1, 65535, false}};
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.width) + " by " + std::to_string(row.height));
        const strings made = signatures_of(ringed(row.width, row.height));
        ASSERT_EQ(made.size(), row.signed_at_all ? 1u : 0u);
        if (row.signed_at_all) {
            EXPECT_EQ(made[0].substr(0, 16),
                      row.width > row.height ? "[bitmap-7.6-a].2" : "[bitmap-7.6-a].3");
        }
    }
}

TEST(make_layout_signatures, puts_the_quad_code_before_the_bitmap_signature) {
    drawing picture(200, 200);
    for (std::int32_t y = 0; y < 200; y += 2) {
        for (std::int32_t x = y % 4; x < 200; x += 4) picture.fill(sized(x, y, 2, 2));
    }
    picture.fill({20, 20, 179, 99}, paper);
    const strings made = signatures_of(picture);
    ASSERT_EQ(made.size(), 2u);
    EXPECT_EQ(made[0].substr(0, 6), ".5.3.5");
    EXPECT_EQ(made[1].substr(0, 16), "[bitmap-7.6-a].3");
}

TEST(make_layout_signatures, strips_the_frame_and_then_the_margins) {
    recorded_checkpoints framed;
    drawing picture(200, 200);
    picture.outline({0, 0, 199, 199}, 5);
    EXPECT_EQ(make_layout_signatures(picture.result, checkpoints(&framed)), strings{});
    EXPECT_EQ(framed.in_order, (strings{"Image: 1", "Frame: 1", "Lasso: 1"}));
    EXPECT_EQ(framed.at_label["Image:"].front(), (rect{0, 0, 199, 199}));
    EXPECT_EQ(framed.at_label["Frame:"].front(), (rect{5, 5, 194, 194}));
    EXPECT_LT(height_of(framed.at_label["Lasso:"].front()), 45);

    recorded_checkpoints page;
    make_layout_signatures(page_of(8, 4, black).result, checkpoints(&page));
    ASSERT_EQ(page.in_order.size(), 3u + 8 * (10 + 1));
    EXPECT_EQ(page.at_label["Lasso:"].front(), (rect{18, 20, 17 + line_width, 171}));
    EXPECT_EQ(page.at_label["Word:"].front(), sized(18, 20, 6, 10));
    EXPECT_EQ(page.at_label["Line:"].front(), sized(18, 20, line_width, 10));
    EXPECT_EQ(page.in_order[13], "Line: 1");
}

}  // namespace
}  // namespace brindlemoss::analysis::plugins::image_analysis
