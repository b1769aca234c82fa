#include "image/picture_guard.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/picture_files.h"

namespace {

using namespace brindlemoss::analysis::plugins::image_analysis;
using namespace test_support;
using namespace std::string_literals;

TEST(picture_guard, format_by_signature) {
    const struct {
        std::string bytes;
        picture_format format;
    } cases[] = {
        {"", picture_format::unknown},
        {"GIF88a", picture_format::unknown},
        {"GIF87a", picture_format::gif},
        {"GIF89a...", picture_format::gif},
        {png_signature, picture_format::png},
        {png_signature.substr(0, 7), picture_format::unknown},
        {"\xFF\xD8", picture_format::jpeg},
        {"\xFF", picture_format::unknown},
        {"BM", picture_format::other},
        {"II*\0"s, picture_format::other},
        {"RIFF\0\0\0\0WEBP"s, picture_format::other},
        {"RIFF\0\0\0\0WAVE"s, picture_format::unknown},
        {"RIFF", picture_format::unknown},
        {"<html>", picture_format::unknown},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.bytes);
        EXPECT_EQ(format_of(row.bytes), row.format);
    }
}

struct bound_case {
    const char* what;
    std::string bytes;
    bool is_admitted;
};

void expect_bounds(const std::vector<bound_case>& cases) {
    for (const bound_case& row : cases) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(admit(format_of(row.bytes), row.bytes).has_value(), row.is_admitted);
    }
}

// A PNG that says it is so large, over so many bytes of picture data.
std::string png_of(std::uint32_t width, std::uint32_t height, std::size_t data_size, int depth = 8,
                   int colour_type = 0, int interlace = 0) {
    return png_signature + png_header(width, height, depth, colour_type, interlace) +
           png_chunk("IDAT", std::string(data_size, 'x')) + png_chunk("IEND", "");
}

TEST(picture_guard, bounds_of_png) {
    const std::string good = png_file(flat(3, 2, 7));
    const std::string no_header = png_signature + png_chunk("IDAT", "x") + png_chunk("IEND", "");
    expect_bounds({
        {"a good one", good, true},
        {"no width", png_of(0, 5, 100), false},
        {"no height", png_of(5, 0, 100), false},
        {"16 megapixels", png_of(4000, 4000, 20'000), true},
        {"one row more", png_of(4000, 4001, 20'000), false},
        {"sides whose product wraps", png_of(0x80000000u, 0x80000000u, 100), false},
        {"two rows of 515 bytes and a filter each: 1,032", png_of(515, 2, 1), true},
        {"1,034", png_of(516, 2, 1), false},
        {"1 bit a pixel, 129 bytes a row and a filter", png_of(1031 * 8, 1, 1, 1), true},
        {"one bit more", png_of(1031 * 8 + 1, 1, 1, 1), false},
        {"8 bytes a pixel", png_of(128, 1, 1, 16, 6), true},
        {"8 bytes a pixel, too many", png_of(129, 1, 1, 16, 6), false},
        {"interlaced, 961 pixels and 59 filters", png_of(31, 31, 1, 8, 0, 1), true},
        {"interlaced, 992 pixels and 59 filters", png_of(32, 31, 1, 8, 0, 1), false},
        {"the same 992 pixels with 31 filters", png_of(32, 31, 1), true},
        {"not a colour type", png_of(2, 2, 9, 8, 5), false},
        {"100 megabytes of rows less 28,876 bytes", png_of(4000, 3124, 97'000, 16, 6), true},
        {"100 megabytes and 3,125 bytes", png_of(4000, 3125, 97'000, 16, 6), false},
        {"no picture data", png_signature + png_header(1, 1, 8, 0) + png_chunk("IEND", ""), false},
        {"another chunk first", no_header, false},
        {"cut in the header", good.substr(0, 30), false},
        {"the signature alone", png_signature, false},
    });
}

std::string gif_of(const std::string& images, int width = 1, int height = 1) {
    return gif_screen(width, height) + images + ";";
}

std::string repeated(const std::string& text, int count) {
    std::string all;
    while (count-- > 0) all += text;
    return all;
}

TEST(picture_guard, bounds_of_gif) {
    const std::string dot = gif_image(0, 0, 1, 1, "x");
    const std::string large = gif_image(0, 0, 4000, 4000, "x");
    const std::string good = gif_of(dot);
    expect_bounds({
        {"a good one", good, true},
        {"no frame", gif_of(""), false},
        {"no screen width", gif_of(dot, 0, 1), false},
        {"screen beyond 16 megapixels", gif_of(dot, 4000, 4001), false},
        {"no frame height", gif_of(gif_image(0, 0, 1, 0, "x")), false},
        {"no width of a second frame", gif_of(dot + gif_image(0, 0, 0, 1, "x")), false},
        {"16 megapixels", gif_of(large), true},
        {"one column more", gif_of(gif_image(0, 0, 4001, 4000, "x")), false},
        {"65,535 by 65,535", gif_of(gif_image(0, 0, 65535, 65535, "x")), false},
        {"placed within the canvas", gif_of(gif_image(3999, 3999, 1, 1, "x")), true},
        {"placed beyond the canvas", gif_of(gif_image(3999, 4000, 1, 1, "x")), false},
        {"a canvas of two frames beyond it",
         gif_of(gif_image(4000, 0, 1, 1, "x") + gif_image(0, 3999, 1, 1, "x")), false},
        {"64 megapixels over all frames", gif_of(repeated(large, 4)), true},
        {"one more", gif_of(repeated(large, 4) + dot), false},
        {"256 frames", gif_of(repeated(dot, 256)), true},
        {"257 frames", gif_of(repeated(dot, 257)), false},
        {"no end", good.substr(0, good.size() - 1), false},
        {"cut in the data", good.substr(0, good.size() - 3), false},
        {"not a block", gif_of(dot + "?"), false},
        {"the signature alone", "GIF89a", false},
    });
}

TEST(picture_guard, a_gif_of_many_small_blocks_and_many_frames_is_refused) {
    const std::string image = gif_image(0, 0, 1, 1, "");
    const auto file = [&](int block_count) {
        const std::string blocks = repeated("\1x"s, block_count - 1);
        return gif_of(repeated(image, 199) + image.substr(0, image.size() - 1) + blocks + '\0');
    };
    // Each of the 200 frames has its closing block: 500,000 blocks times 200 frames.
    EXPECT_TRUE(admit(picture_format::gif, file(500'000 - 199)));
    EXPECT_FALSE(admit(picture_format::gif, file(500'000 - 198)));
}

std::string jpeg_of(int width, int height, std::size_t data_size, int components = 1,
                    int scans = 1) {
    std::string bytes = "\xFF\xD8" + jpeg_frame_header(width, height, components);
    for (int scan = 0; scan < scans; ++scan) {
        bytes += jpeg_scan_header() + std::string(data_size, 'x');
    }
    return bytes + "\xFF\xD9";
}

TEST(picture_guard, bounds_of_jpeg) {
    const std::size_t frame = jpeg_of(1, 1, 0).size();
    expect_bounds({
        {"a good one", jpeg_file(1, {7}), true},
        {"no width", jpeg_of(0, 8, 9), false},
        {"no height", jpeg_of(8, 0, 9), false},
        {"16 megapixels", jpeg_of(4000, 4000, 16'000), true},
        {"one row more", jpeg_of(4000, 4001, 17'000), false},
        {"65,535 by 65,535", jpeg_of(65535, 65535, 100'000), false},
        {"1,000 pixels a byte", jpeg_of(1000, 100, 100 - frame), true},
        {"one row more for the bytes", jpeg_of(1000, 101, 100 - frame), false},
        {"4 components", jpeg_of(8, 8, 9, 4), true},
        {"5 components", jpeg_of(8, 8, 9, 5), false},
        {"none", jpeg_of(8, 8, 9, 0), false},
        {"40 scans of 16 megapixels", jpeg_of(4000, 4000, 400, 1, 40), true},
        {"41", jpeg_of(4000, 4000, 400, 1, 41), false},
        {"no scan", jpeg_of(8, 8, 9, 1, 0), false},
        {"no frame header", "\xFF\xD8" + jpeg_scan_header() + "x\xFF\xD9", false},
        {"a second, larger frame header",
         "\xFF\xD8" + jpeg_frame_header(8, 8) + jpeg_frame_header(4001, 4000) + jpeg_scan_header() +
             std::string(17'000, 'x'),
         false},
        {"cut in the frame header", "\xFF\xD8" + jpeg_frame_header(8, 8).substr(0, 6), false},
        {"the signature alone", "\xFF\xD8", false},
        {"a marker and nothing", "\xFF\xD8\xFF\xDA", false},
    });
}

TEST(picture_guard, what_has_no_say_in_the_pixels_is_left_out) {
    const auto bytes_of_admitted = [](const std::string& bytes) {
        return admit(format_of(bytes), bytes).value_or(admitted_picture{"refused"}).bytes;
    };
    const grey_picture dot = flat(1, 1, 7);
    const std::string gamma = png_chunk("gAMA", big_endian(45455, 4));
    EXPECT_EQ(bytes_of_admitted(png_file(
                  dot, png_chunk("tEXt", "a\0b"s) + gamma + png_chunk("eXIf", "MM"),
                  png_chunk("zTXt", "x") + png_chunk("gAMA", "late") + png_chunk("IDAT", "late"))),
              png_file(dot, gamma));
    EXPECT_EQ(bytes_of_admitted(png_file(dot, png_chunk("XXXX", "critical")) + "behind"),
              png_file(dot, png_chunk("XXXX", "critical")));

    const std::string comment = bytes_of({0x21, 0xFE}) + gif_blocks("comment");
    const std::string loop = bytes_of({0x21, 0xFF}) + gif_blocks("NETSCAPE2.0") + gif_blocks("1");
    EXPECT_EQ(bytes_of_admitted(gif_file({{dot}}, comment + loop.substr(0, 15)) + "behind"),
              gif_file({{dot}}));

    const std::string jfif = jpeg_segment(0xE0, "JFIF\0\1\2\0\0\1\0\1\0\0"s);
    const std::string adobe = jpeg_segment(0xEE, "Adobe\0d\0\0\0\0\1"s);
    const std::string dropped = jpeg_segment(0xE0, "JFXX\0"s) + jpeg_segment(0xE1, "Exif\0\0"s) +
                                jpeg_segment(0xED, "Photoshop 3.0") +
                                jpeg_segment(0xFE, "comment") + "garbage";
    EXPECT_EQ(bytes_of_admitted(jpeg_file(1, {7}, jfif + dropped + adobe) + "behind"),
              jpeg_file(1, {7}, jfif + adobe));
}

TEST(picture_guard, looks_behind_markers_that_have_no_length_for_the_decoder) {
    for (const int marker : {0x02, 0xBF, 0xDE, 0xDF, 0xF0, 0xFD}) {
        SCOPED_TRACE(marker);
        const std::string hidden = jpeg_segment(marker, jpeg_frame_header(4001, 4000));
        EXPECT_FALSE(
            admit(picture_format::jpeg, jpeg_file(1, {7}, hidden) + std::string(17'000, 'x')));
        const auto admitted =
            admit(picture_format::jpeg, jpeg_file(1, {7}, jpeg_segment(marker, "padding")));
        ASSERT_TRUE(admitted);
        EXPECT_EQ(admitted->bytes, jpeg_file(1, {7}));
    }
}

TEST(picture_guard, data_of_a_jpeg_scan_stays_as_it_is) {
    const std::string head = "\xFF\xD8" + jpeg_tables() + jpeg_frame_header(8, 8);
    // Stuffed bytes, fill bytes, restart markers and numbers that are no marker are data.
    const std::string data = "a\xFF\0b\xFF\xFF\0c\xFF\xD0\xFF\xD7\xFF\x01\xFF\xBF"s;
    const std::string bytes = head + jpeg_scan_header() + data;
    const auto admitted =
        admit(picture_format::jpeg, bytes + jpeg_segment(0xE1, "Exif") + "rest\xFF\xD3" +
                                        jpeg_scan_header() + data + "\xFF\xD9");
    ASSERT_TRUE(admitted);
    EXPECT_EQ(admitted->bytes, bytes + jpeg_scan_header() + data + "\xFF\xD9");
}

TEST(picture_guard, every_cut_and_every_byte_is_taken_calmly) {
    const std::string files[] = {
        png_file(flat(2, 2, 9), png_chunk("tEXt", "x")),
        gif_file({{flat(2, 2, 9)}, {flat(1, 1, 3), 1, 1, 100}}),
        jpeg_file(2, {9, 200}, jpeg_segment(0xFE, "x")),
    };
    for (const std::string& file : files) {
        const picture_format format = format_of(file);
        for (std::size_t size = 0; size <= file.size(); ++size) {
            const std::vector<char> exact(file.begin(), file.begin() + std::ptrdiff_t(size));
            const auto cut = admit(format, {exact.data(), exact.size()});
            EXPECT_LE(cut.value_or(admitted_picture{}).bytes.size(), size);
            if (size == file.size()) continue;
            std::string changed = file;
            changed[size] = static_cast<char>(~changed[size]);
            const auto admitted = admit(format, changed);
            EXPECT_LE(admitted.value_or(admitted_picture{}).pixels, most_picture_pixels);
        }
    }
}

}  // namespace
