#include "image/image_set.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include "message/character_set.h"
#include "support/bitmap_levels.h"
#include "support/picture_mail.h"

namespace {

using namespace brindlemoss::analysis::plugins::image_analysis;
using namespace std::chrono_literals;
using namespace test_support;
using replay::internet::message2::part;
using levels = std::vector<std::uint8_t>;

class image_set_test : public testing::Test {
protected:
    image_set build(const std::vector<mail_part>& parts,
                    decoding_budget budget = decoding_budget()) {
        part root(mail_of(parts));
        return build_image_set(root, decoder_, std::move(budget));
    }

    // The frames of an animation, by the first level of the picture that became of them.
    image_set build_gif(const std::vector<gif_frame>& frames) {
        return build({{"image/gif", gif_file(frames)}});
    }

    std::optional<picture_decoder> decoder_;
};

TEST_F(image_set_test, which_parts_are_decoded) {
    const std::string jpeg = jpeg_file(1, {40});
    const std::string png = png_file(flat(2, 1, 7));
    const std::string refused = gif_file({{flat(1, 1, 0), 65000, 65000}});
    const levels block(64, 40);
    const struct {
        const char* what;
        mail_part image;
        std::uint32_t load_errors;
        std::uint32_t notes;
        levels decoded;
    } cases[] = {
        {"no image", {"application/octet-stream", png}, 0, no_images, {}},
        {"jpeg", {"image/jpeg", jpeg}, 0, 0, block},
        {"jpg", {"image/jpg", jpeg}, 0, 0, block},
        {"jepg", {"image/jepg", jpeg}, 0, 0, block},
        {"in capitals", {"Image/JPEG", jpeg}, 0, 0, block},
        {"gif whose body is a PNG", {"image/gif", png}, 0, 0, {7, 7}},
        {"bmp whose body is a good JPEG", {"image/bmp", jpeg}, 0, skipped_subtype, {}},
        {"tiff", {"image/tiff", png}, 0, skipped_subtype, {}},
        {"html", {"image/html", png}, 0, skipped_subtype, {}},
        {"x-png", {"image/x-png", png}, 0, unknown_subtype, {}},
        {"no subtype", {"image/", png}, 0, unknown_subtype, {}},
        {"no picture", {"image/png", "hello"}, unknown_file_type, 0, {}},
        {"an empty body", {"image/png", ""}, unknown_file_type, 0, {}},
        {"a BMP", {"image/png", "BM picture"}, unwanted_file_type, 0, {}},
        {"a PNG that breaks off", {"image/png", png.substr(0, 50)}, no_bitmap, 0, {}},
        {"a refused GIF", {"image/gif", refused}, no_bitmap, 0, {}},
        {"a chunk that is of no type",
         {"image/png", png_file(flat(2, 1, 7), png_chunk("a zz", "x"))},
         no_bitmap,
         0,
         {}},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.what);
        const image_set images = build({row.image});
        EXPECT_EQ(images.load_errors, row.load_errors);
        EXPECT_EQ(images.notes, row.notes);
        EXPECT_EQ(images.bitmaps.size(), row.decoded.empty() ? 0u : 1u);
        if (images.bitmaps.empty()) continue;
        EXPECT_EQ(levels_of(images.bitmaps.at(0)), row.decoded);
    }
}

TEST_F(image_set_test, no_decoder_is_opened_for_what_is_not_decoded) {
    build({{"image/bmp", "x"}, {"text/plain", "x"}});
    EXPECT_FALSE(decoder_);
    build({{"image/png", "x"}});
    EXPECT_TRUE(decoder_);
}

TEST_F(image_set_test, flags_of_all_parts_come_together) {
    const image_set images = build({{"image/png", png_file(flat(1, 1, 5))},
                                    {"image/bmp", "x"},
                                    {"image/png", "x"},
                                    {"image/gif", gif_file({{flat(1, 1, 6)}})}});
    EXPECT_EQ(images.load_errors, unknown_file_type);
    EXPECT_EQ(images.notes, several_images | skipped_subtype);
    ASSERT_EQ(images.bitmaps.size(), 2u);
    EXPECT_EQ(levels_of(images.bitmaps.at(0)), (levels{5}));
    EXPECT_EQ(levels_of(images.bitmaps.at(3)), (levels{6}));
}

TEST_F(image_set_test, frames_of_one_size_give_the_one_shown_longest) {
    const struct {
        const char* what;
        std::vector<int> times;
        std::uint8_t chosen;
    } cases[] = {
        {"the second", {100, 200}, 1},
        {"the last of two", {200, 200}, 1},
        {"the first", {200, 100}, 0},
        {"no times", {0, 0, 0}, 2},
        {"the later of the longest", {300, 100, 300, 200}, 2},
        {"over a second ends nothing", {1500, 2000}, 1},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.what);
        std::vector<gif_frame> frames;
        for (const int time : row.times) {
            frames.push_back({flat(2, 2, static_cast<std::uint8_t>(frames.size())), 0, 0, time});
        }
        const image_set images = build_gif(frames);
        EXPECT_EQ(images.notes, multi_page | frame_chosen);
        EXPECT_TRUE(images.frame_rects.empty());
        ASSERT_EQ(images.bitmaps.count(0), 1u);
        EXPECT_EQ(levels_of(images.bitmaps.at(0)), levels(4, row.chosen));
    }
}

TEST_F(image_set_test, frames_of_one_size_need_not_lie_on_each_other) {
    const image_set images = build_gif({{flat(1, 1, 10), 0, 0, 50}, {flat(1, 1, 20), 9, 9, 10}});
    EXPECT_EQ(levels_of(images.bitmaps.at(0)), (levels{10}));
}

TEST_F(image_set_test, frames_that_differ_in_one_side_lie_over_each_other) {
    for (const grey_picture& below : {flat(1, 2, 10), flat(2, 1, 10)}) {
        const image_set images = build_gif({{below, 0, 0, 50}, {flat(1, 1, 20), 0, 0, 10}});
        EXPECT_EQ(levels_of(images.bitmaps.at(0)), (levels{20, 10}));
    }
}

TEST_F(image_set_test, an_overlay_ends_where_the_animation_rests) {
    const struct {
        const char* what;
        std::vector<int> times;
        std::size_t pasted;
    } cases[] = {
        {"the longest, above half a second", {100, 600, 100}, 2},
        {"the longest, of half a second", {100, 500, 100}, 3},
        {"the longest, just above", {100, 510, 100}, 2},
        {"the first of two longest", {600, 600, 600}, 1},
        {"above a second, and not the longest", {1010, 5000, 100}, 1},
        {"a second, and not the longest", {1000, 5000, 100}, 2},
        {"no times", {0, 0, 0}, 3},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.what);
        const image_set images = build_gif({{flat(2, 2, 10), 0, 0, row.times[0]},
                                            {flat(1, 1, 20), 1, 0, row.times[1]},
                                            {flat(1, 1, 30), 3, 1, row.times[2]}});
        EXPECT_EQ(images.notes, multi_page);
        ASSERT_EQ(images.bitmaps.count(0), 1u);
        levels expected{10, 10, 0, 0, 10, 10, 0, 0};
        std::vector<rect> places{{0, 0, 1, 1}};
        if (row.pasted > 1) {
            expected[1] = 20;
            places.push_back({1, 0, 1, 0});
        }
        if (row.pasted > 2) {
            expected[7] = 30;
            places.push_back({3, 1, 3, 1});
        }
        EXPECT_EQ(images.bitmaps.at(0).width(), 4);
        EXPECT_EQ(levels_of(images.bitmaps.at(0)), expected);
        EXPECT_EQ(images.frame_rects.at(0), places);
    }
}

TEST_F(image_set_test, html_names_its_pictures) {
    const image_set images = build({html_showing({"a@x", "b@x", "c@x"}), tile(20, 20, 3, "<c@x>"),
                                    tile(10, 10, 1, "<a@x>"), tile(10, 10, 2, "<b@x>")});
    EXPECT_EQ(images.notes, several_images | puzzle_assembled);
    EXPECT_EQ(images.puzzle_parts, (std::vector<std::size_t>{1, 2, 0}));
    ASSERT_EQ(images.bitmaps.size(), 1u);
    const bitmap& canvas = images.bitmaps.at(1);
    EXPECT_EQ(canvas.width(), 20);
    levels expected;
    for (int row = 0; row < 10; ++row) {
        expected.insert(expected.end(), 10, 1);
        expected.insert(expected.end(), 10, 2);
    }
    expected.insert(expected.end(), 20 * 20, 3);
    EXPECT_EQ(levels_of(canvas), expected);
}

TEST_F(image_set_test, what_is_no_puzzle) {
    using parts = std::vector<mail_part>;
    const mail_part a = tile(10, 10, 1, "<a>"), b = tile(10, 10, 2, "<b>"),
                    c = tile(10, 10, 3, "<c>");
    const mail_part html = html_showing({"a", "b", "c"}), four = html_showing({"a", "b", "c", "d"});
    const auto with_tiles = [&](const mail_part& shown) { return parts{shown, a, b, c}; };
    const mail_part upper{"text/html", "<IMG SRC=cid:a><Img Src='cid:b'><img alt=x src=cid:c>"};
    const mail_part elsewhere{"text/html", "<img src=http://x/><a src=cid:a><img>src=cid:b"};
    const mail_part nameless = tile(10, 10, 3, "<>");
    const struct {
        const char* what;
        parts mail;
        std::uint32_t notes;  // beside several_images
    } cases[] = {
        {"a row of three", with_tiles(html), puzzle_assembled},
        {"in capitals", with_tiles(upper), puzzle_assembled},
        {"two pictures", {html_showing({"a", "b"}), a, b}, 0},
        {"one that is broken", {html, a, b, c, {"image/png", "x", "<d>"}}, 0},
        {"no HTML", with_tiles({"text/plain", "x"}), puzzle_without_html},
        {"two of HTML", {html, html, a, b, c}, puzzle_with_several_html},
        {"a table", with_tiles(html_showing({}, "<TABLE x>")), puzzle_in_table},
        {"its end", with_tiles(html_showing({"a", "b", "c"}, "</table>")), puzzle_assembled},
        {"pictures from elsewhere", with_tiles(elsewhere), puzzle_without_identifiers},
        {"one not named", with_tiles(html_showing({"a", "b"})), puzzle_count_differs},
        {"one without identifier", {html, a, b, tile(10, 10, 3, "")}, puzzle_count_differs},
        {"one of brackets", {html_showing({"a", "b", ""}), a, b, nameless}, puzzle_count_differs},
        {"one named once more", with_tiles(html_showing({"a", "b", "c", "a"})),
         puzzle_count_differs},
        {"and in place of another", with_tiles(html_showing({"a", "b", "a"})), puzzle_assembled},
        {"one of another subtype",
         {four, a, b, c, {"image/bmp", "x", "<d>"}},
         skipped_subtype | puzzle_tile_missing},
        {"rows of two widths", {html, a, b, tile(10, 20, 3, "<c>")}, 0},
        {"a column of two widths", {html, tile(9, 1, 1, "<a>"), tile(9, 2, 2, "<b>"), c}, 0},
        {"a column", {html, a, tile(10, 20, 2, "<b>"), tile(10, 5, 3, "<c>")}, puzzle_assembled},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.what);
        const image_set images = build(row.mail);
        EXPECT_EQ(images.notes, several_images | row.notes);
        const auto is_tile = [](const auto& each) { return each.body.starts_with(png_signature); };
        const auto tiles = std::count_if(row.mail.begin(), row.mail.end(), is_tile);
        EXPECT_EQ(std::ssize(images.bitmaps), row.notes & puzzle_assembled ? 1 : tiles);
    }
}

TEST_F(image_set_test, html_that_cannot_be_read_ends_the_search_for_a_puzzle) {
    std::vector<mail_part> parts{{"text/html; charset=Shift_JIS", "<img src=cid:a>\x81"},
                                 tile(1, 1, 1, "<a>"),
                                 tile(1, 1, 1, "<b>")};
    EXPECT_EQ(build(parts).notes, several_images);  // too few to look at the text
    parts.push_back(tile(1, 1, 1, "<c>"));
    EXPECT_THROW(build(parts), replay::unicode::unmappable_character);
}

TEST_F(image_set_test, a_puzzle_is_no_larger_than_a_picture) {
    // A tile of 3.9 megapixels, named five times.
    const mail_part large{"image/gif", gif_screen(1, 1) + gif_image(0, 0, 3900, 1000, "") + ";",
                          "<l>"};
    std::vector<mail_part> parts{html_showing({"l", "l", "l", "l"}), large};
    while (parts.size() < 5) parts.push_back(tile(1, 1, 1, "<t>"));
    EXPECT_EQ(build(parts).notes, several_images | puzzle_assembled);
    parts[0] = html_showing({"l", "l", "l", "l", "l"});
    parts.push_back(tile(1, 1, 1, "<t>"));
    EXPECT_EQ(build(parts).notes, several_images);
}

// A clock that goes on by a step whenever it is read.
decoding_budget budget_with_steps_of(std::chrono::milliseconds step) {
    return decoding_budget(
        [step, now = decoding_budget::clock::time_point()]() mutable { return now += step; });
}

TEST_F(image_set_test, pictures_beyond_the_time_of_a_mail_count_as_not_decoded) {
    const std::vector<mail_part> ten(10, {"image/png", png_file(flat(1, 1, 7))});
    EXPECT_EQ(build(ten, budget_with_steps_of(1ms)).bitmaps.size(), 10u);
    // Three readings a picture: its beginning, before it is decoded, after that. The eighth second
    // goes by within the ninth picture.
    const image_set images = build(ten, budget_with_steps_of(300ms));
    EXPECT_EQ(images.bitmaps.size(), 8u);
    EXPECT_EQ(images.load_errors, no_bitmap);
}

TEST_F(image_set_test, an_animation_beyond_the_time_of_a_picture_counts_as_not_decoded) {
    const std::vector<gif_frame> frames(10, {flat(1, 1, 7)});
    const auto build_in = [&](std::chrono::milliseconds step) {
        return build({{"image/gif", gif_file(frames)}}, budget_with_steps_of(step));
    };
    // Readings behind its beginning: before it is decoded, before each frame, at the end.
    EXPECT_EQ(build_in(160ms).load_errors, 0u);
    EXPECT_EQ(build_in(170ms).load_errors, no_bitmap);
}

TEST_F(image_set_test, no_more_pixels_are_held_than_fit) {
    const std::string large = gif_screen(1, 1) + gif_image(0, 0, 4000, 4000, "") + ";";
    std::vector<mail_part> parts(9, {"image/gif", large});
    const image_set images = build(parts, budget_with_steps_of(0ms));
    EXPECT_EQ(images.bitmaps.size(), 8u);
    EXPECT_EQ(images.load_errors, no_bitmap);
}

}  // namespace
