#include "image/picture_signatures.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "support/plane_drawing.h"

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

using namespace test_support;

constexpr std::uint8_t plain = 128;

// Checks of two by two pixels: no row or column of five pixels is uniform.
drawing rough_picture(std::int32_t width, std::int32_t height) {
    drawing picture(width, height);
    for (std::int32_t y = 0; y < height; y += 2) {
        for (std::int32_t x = y % 4; x < width; x += 4) picture.fill({x, y, x + 1, y + 1});
    }
    return picture;
}

std::string quad_code_of(const drawing& picture) {
    return make_quad_code(flatness(picture.result), whole(picture.result));
}

std::string times(int count, std::string_view text) {
    std::string repeated;
    for (; count > 0; --count) repeated += text;
    return repeated;
}

const std::string leaf = ".5.0";

// 64 rows and columns keep 58, in two halves of 29. Of those the first quarter has 15, and so can
// be cut in both directions, the last has 14, and so cannot be cut at all.
const std::string cut_quarter = ".5.3" + times(4, leaf);
const std::string other_quarters = ".5.2" + times(2, leaf) + ".5.1" + times(2, leaf) + leaf;
const std::string half = ".5.3" + cut_quarter + other_quarters;

TEST(make_quad_code, cuts_what_is_wider_or_higher_than_fourteen) {
    drawing picture = rough_picture(64, 64);
    picture.fill({3, 3, 10, 10}, plain);
    EXPECT_EQ(quad_code_of(picture),
              ".5.3.5.3.5.3.4" + times(3, leaf) + other_quarters + times(3, half));
    picture.fill({32, 3, 46, 17}, plain);  // the first quarter of the second half
    EXPECT_EQ(quad_code_of(picture), ".5.3.5.3.5.3.4" + times(3, leaf) + other_quarters + ".5.3.4" +
                                         other_quarters + times(2, half));
}

TEST(make_quad_code, keeps_strings_of_150_characters) {
    drawing picture = rough_picture(64, 64);  // 212 without flat pieces
    picture.fill({3, 3, 17, 17}, plain).fill({32, 3, 46, 17}, plain).fill({3, 32, 17, 46}, plain);
    picture.fill({32, 32, 39, 39}, plain).fill({40, 32, 46, 39}, plain);
    picture.fill({32, 40, 39, 46}, plain).fill({47, 32, 60, 39}, plain);
    EXPECT_EQ(quad_code_of(picture), ".5.3" + times(3, ".5.3.4" + other_quarters) +
                                         ".5.3.5.3.4.4.4" + leaf + ".5.2.4" + leaf + ".5.1" +
                                         times(2, leaf) + leaf);
    EXPECT_EQ(quad_code_of(picture).size(), 150u);
    picture.fill({47, 47, 60, 60}, plain);
    EXPECT_EQ(quad_code_of(picture), "");
}

TEST(make_quad_code, is_empty_without_a_flat_piece) {
    EXPECT_EQ(quad_code_of(rough_picture(64, 64)), "");
}

TEST(make_quad_code, cuts_strips_across) {
    const std::string s23 = ".5.2" + times(2, leaf), s45 = ".5.2" + times(2, s23);
    const std::string s90 = ".5.2" + times(2, s45), s180 = ".5.2" + times(2, s90);
    const std::string wanted = ".5.3.5.2.5.2.5.2.5.2.4" + leaf + s23 + s45 + s90 + times(3, s180);
    drawing upright = rough_picture(16, 400);
    upright.fill({0, 20, 7, 31}, plain);
    EXPECT_EQ(quad_code_of(upright), wanted);
    EXPECT_EQ(make_quad_code(flatness(upright.result), {0, 0, 14, 399}), "");
    drawing lying = rough_picture(400, 16);
    lying.fill({20, 0, 31, 7}, plain);
    const auto as_lying = [](std::string text) {
        for (std::size_t at = 0; (at = text.find(".5.2", at)) != std::string::npos;)
            text[at + 3] = '1';
        return text;
    };
    EXPECT_EQ(quad_code_of(lying),
              ".5.3" + as_lying(".5.2.5.2.5.2.5.2.4" + leaf + s23 + s45 + s90 + times(3, s180)));
    EXPECT_EQ(make_quad_code(flatness(lying.result), {0, 0, 399, 14}), "");
}

std::string bitmap_signature_of(const drawing& picture) {
    return make_bitmap_signature(flatness(picture.result), whole(picture.result));
}

// 90 columns are cut at 10|11, 20|21, 30|31, 41|42, 51|52, 60|61, 70|71, 80|81; 90 rows in the rows
// 10, 20, 30, ... themselves.
TEST(make_bitmap_signature, shares_rows_but_not_columns_between_cells) {
    drawing picture(90, 90, plain);
    picture.fill({2, 10, 3, 10});    // a row of two cells of one ninth
    picture.fill({71, 30, 72, 30});  // a row of two cells of two ninths
    picture.fill({60, 65, 60, 66});  // a column of one cell
    picture.fill({61, 75, 61, 76});  // and of the one beside it
    std::string wanted = "[bitmap-7.6-a].3";
    for (const std::string_view ninth :
         {"100100000", "000000000", "000000010", "000000000", "000000000", "010000000", "000000000",
          "001000000", "000100000"}) {
        for (const char token : ninth) (wanted += '.') += token;
    }
    EXPECT_EQ(wanted.size(), 178u);
    EXPECT_EQ(bitmap_signature_of(picture), wanted);
}

TEST(make_bitmap_signature, wants_three_flat_cells) {
    drawing picture = rough_picture(90, 90);
    picture.fill({0, 0, 10, 10}, plain).fill({81, 80, 89, 89}, plain);
    EXPECT_EQ(bitmap_signature_of(picture), "");
    picture.fill({42, 40, 51, 50}, plain);
    EXPECT_EQ(bitmap_signature_of(picture),
              "[bitmap-7.6-a].3.0" + times(39, ".1") + ".0" + times(39, ".1") + ".0");
}

TEST(make_bitmap_signature, wants_64_columns_and_45_rows) {
    const std::string flat = times(81, ".0");
    EXPECT_EQ(bitmap_signature_of(drawing(64, 45)), "[bitmap-7.6-a].2" + flat);
    EXPECT_EQ(bitmap_signature_of(drawing(64, 65)), "[bitmap-7.6-a].3" + flat);
    EXPECT_EQ(bitmap_signature_of(drawing(63, 90)), "");
    EXPECT_EQ(bitmap_signature_of(drawing(90, 44)), "");
}

}  // namespace
}  // namespace brindlemoss::analysis::plugins::image_analysis
