#include "image/bitmap.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "support/bitmap_levels.h"
#include "support/heard_log.h"
#include "support/picture_files.h"

namespace {

using namespace brindlemoss::analysis::plugins::image_analysis;
using namespace test_support;
using namespace std::string_literals;
using testing::Each;
using testing::StartsWith;

bitmap decode(const std::string& bytes) {
    return encoded_picture(format_of(bytes), bytes).load().to_24_bits();
}

class bitmap_test : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(decoder_.is_ready()); }

private:
    picture_decoder decoder_;
};

TEST_F(bitmap_test, decodes_the_three_formats) {
    grey_picture picture = flat(3, 2, 0);
    picture.levels = {0, 60, 120, 180, 240, 255};
    const bitmap png = decode(png_file(picture));
    ASSERT_TRUE(png.has_24_bits());
    EXPECT_EQ(png.pixels().width, 3);
    EXPECT_EQ(png.pixels().height, 2);
    EXPECT_EQ(levels_of(png), picture.levels);
    EXPECT_EQ(levels_of(decode(gif_file({{picture}}))), picture.levels);
    std::vector<std::uint8_t> blocks(16 * 8, 20);
    for (std::size_t at = 0; at < blocks.size(); ++at) blocks[at] = at % 16 < 8 ? 20 : 230;
    EXPECT_EQ(levels_of(decode(jpeg_file(2, {20, 230}))), blocks);
}

TEST_F(bitmap_test, pixels_of_what_the_guard_lets_through_are_those_of_the_original) {
    const std::string exif = jpeg_segment(0xE1, "Exif\0\0MM\0*\0\0\0\x08\0\0"s);
    const std::string jfif = jpeg_segment(0xE0, "JFIF\0\1\2\0\0\1\0\1\0\0"s);
    const std::string comment = jpeg_segment(0xFE, "a comment");
    const grey_picture picture{2, 2, {1, 2, 3, 4}};
    const std::string gamma = png_chunk("gAMA", big_endian(100000, 4));
    const std::string files[] = {
        jpeg_file(3, {9, 99, 0, 255, 128, 64}, jfif + exif + comment),
        jpeg_file(1, {9}, jpeg_segment(0x02, "reserved") + jpeg_segment(0xF0, "an extension")),
        png_file(picture, png_chunk("tEXt", "a\0b"s) + gamma, png_chunk("tIME", "1234567")),
        gif_file({{picture}}, bytes_of({0x21, 0xFE}) + gif_blocks("a comment")),
    };
    for (const std::string& original : files) {
        const auto admitted = admit(format_of(original), original);
        ASSERT_TRUE(admitted);
        EXPECT_LT(admitted->bytes.size(), original.size());
        const bitmap picture_of_original = decode(original);
        ASSERT_TRUE(picture_of_original);
        EXPECT_EQ(levels_of(decode(admitted->bytes)), levels_of(picture_of_original));
    }
}

TEST_F(bitmap_test, pastes_within_only) {
    bitmap canvas = bitmap::allocate(3, 2);
    const bitmap tile = decode(png_file({2, 1, {10, 20}}));
    EXPECT_TRUE(canvas.paste(tile, 1, 0));
    EXPECT_EQ(levels_of(canvas), (std::vector<std::uint8_t>{0, 10, 20, 0, 0, 0}));
    EXPECT_FALSE(canvas.paste(tile, 2, 0));
    EXPECT_FALSE(canvas.paste(tile, 0, 2));
    EXPECT_FALSE(canvas.paste(bitmap(), 0, 0));
    EXPECT_EQ(levels_of(canvas), (std::vector<std::uint8_t>{0, 10, 20, 0, 0, 0}));
}

TEST_F(bitmap_test, no_picture) {
    const bitmap none;
    EXPECT_FALSE(none);
    EXPECT_EQ(none.width(), 0);
    EXPECT_FALSE(none.has_24_bits());
    EXPECT_FALSE(none.to_24_bits());
    EXPECT_FALSE(bitmap::allocate(0, 5));
    EXPECT_FALSE(bitmap::allocate(5, -1));
    EXPECT_FALSE(encoded_picture(picture_format::png, "").load());
}

TEST_F(bitmap_test, pages_of_an_animation) {
    const std::string file = gif_file({{flat(2, 2, 50), 0, 0, 100}, {flat(1, 1, 90), 1, 1, 250}});
    const encoded_picture source(picture_format::gif, file);
    animation pages(source);
    ASSERT_EQ(pages.page_count(), 2);
    EXPECT_EQ(pages.lock_next().time, 100u);
    const animation_frame second = pages.lock_next();
    EXPECT_EQ(second.width, 1);
    EXPECT_EQ(second.height, 1);
    EXPECT_EQ(second.left, 1);
    EXPECT_EQ(second.top, 1);
    EXPECT_EQ(second.time, 250u);
    EXPECT_EQ(levels_of(pages.to_24_bits(1)), (std::vector<std::uint8_t>{90}));
    bitmap canvas = pages.to_24_bits(0);
    EXPECT_TRUE(pages.paste_onto(canvas, 1, second));
    EXPECT_EQ(levels_of(canvas), (std::vector<std::uint8_t>{50, 50, 50, 90}));
}

TEST_F(bitmap_test, what_the_decoder_says_goes_to_the_log) {
    heard_log<brindlemoss::subsystem::filter> heard;
    testing::internal::CaptureStderr();
    const std::string broken = png_file(flat(2, 2, 1)).substr(0, 45);
    EXPECT_FALSE(decode(broken));
    EXPECT_FALSE(decode("\xFF\xD8 and nothing"));
    EXPECT_FALSE(decode(gif_file({{flat(2, 2, 1)}}).substr(0, 800)));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    const auto lines = heard.take();
    EXPECT_GE(lines.size(), 3u);
    EXPECT_THAT(lines, Each(StartsWith("0 Picture decoder: ")));
    for (int time = 0; time < 100; ++time) decode(broken);
    EXPECT_EQ(lines.size() + heard.take().size(), 20u);
}

}  // namespace
