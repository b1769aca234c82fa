#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "foundation/md5.h"
#include "support/kept_home.h"
#include "support/picture_files.h"
#include "support/plane_drawing.h"

namespace {

using nlohmann::json;
using std::string;
using test_support::kept_home;
using testing::HasSubstr;
using testing::StartsWith;

// Words of upright bars.
test_support::plane text_plane() {
    test_support::comb_page page;
    page.lines = 6;
    return test_support::drawing(page.width() + 40, page.height() + 60).page(20, 30, page).result;
}

string levels_of_text() {
    const auto levels = text_plane().levels;
    return {levels.begin(), levels.end()};
}

string page_of_text() {
    const test_support::plane drawn = text_plane();
    return test_support::png_file({drawn.width, drawn.height, drawn.levels});
}

TEST(image_command, gives_all_that_the_engine_saw) {
    const kept_home home;
    home.folder().file("page.png", page_of_text());
    const string path = home.folder().path("page.png");
    const json seen = json::parse(home.done({"image", "--json", "--checkpoints", path}));
    EXPECT_EQ(seen["file"], path);
    EXPECT_EQ(seen["width"], 6 * 31 - 8 + 40);
    EXPECT_EQ(seen["height"], 6 * 18 - 8 + 60);
    EXPECT_EQ(seen["stop_code"], 0);
    EXPECT_EQ(seen["crop"].size(), 4u);
    EXPECT_EQ(seen["regions"].size(), 6u);
    EXPECT_EQ(seen["lines"].size(), 6u);
    EXPECT_EQ(seen["lines"][0]["words"].size(), 6u);
    EXPECT_EQ(seen["lines"][0]["glyphs"], 30);
    EXPECT_EQ(seen["valid_word_count"], 36);
    EXPECT_EQ(seen["tests"][0], json::parse(R"(["Part.Image.Text_Detected",40])"));
    EXPECT_EQ(seen["score"], 40 + (seen["tests"].size() > 1 ? int(seen["tests"][1][1]) : 0));
    EXPECT_EQ(seen["mean_plane_md5"], replay::md5(levels_of_text()).hex());
    EXPECT_EQ(seen["checkpoints"][0][0], "Histogram");
    for (const char* key :
         {"keep_going", "pp_plane_after_preprocess_md5", "histogram_md5", "background_level",
          "background_levels", "segment_density", "slope", "region_density", "background_fraction",
          "blocks", "valid_line_count", "text_fraction", "correction_kinds", "signatures"}) {
        EXPECT_TRUE(seen.contains(key)) << key;
    }
}

TEST(image_command, draws_what_it_saw_into_a_picture_of_the_same_size) {
    const kept_home home;
    home.folder().file("page.png", page_of_text());
    const string path = home.folder().path("page.png");
    for (const string label : {"", "Valid text regions"}) {
        const string drawn = home.folder().path("drawn" + label + ".png");
        std::vector<string> arguments = {"image", "--overlay", drawn, path};
        if (!label.empty()) arguments.insert(arguments.end(), {"--show", label});
        EXPECT_THAT(home.done(arguments), StartsWith(path + ": 218 x 160 pixels"));
        const json seen = json::parse(home.done({"image", "--json", drawn}));
        EXPECT_EQ(seen["width"], 218);
        EXPECT_EQ(seen["height"], 160);
        EXPECT_NE(home.folder().read("drawn" + label + ".png"), page_of_text());
    }
    EXPECT_THAT(home.refused({"image", "--overlay", "x.png", path, path}),
                HasSubstr("one picture"));
    const auto unwritten = home.run({"image", "--overlay", home.folder().path("no/x.png"), path});
    EXPECT_EQ(unwritten.code, 2);
    EXPECT_THAT(unwritten.out, StartsWith(path + ": 218 x 160 pixels"));
    EXPECT_THAT(unwritten.err, StartsWith("brindlemoss: cannot write the overlay '"));
}

TEST(image_command, names_what_it_cannot_read_and_does_the_rest) {
    const kept_home home;
    home.folder().file("a.txt", "no picture");
    home.folder().file("b.gif", "GIF89a");
    home.folder().file("c.png", png_file(test_support::flat(100, 20, 90)));
    const auto result = home.run({"image", home.folder().path("a.txt"), home.folder().path("b.gif"),
                                  home.folder().path("c.png"), home.folder().path("none.png")});
    EXPECT_EQ(result.code, 2);
    EXPECT_THAT(result.out,
                StartsWith(home.folder().path("c.png") + ": 100 x 20 pixels, too small"));
    EXPECT_THAT(result.err, HasSubstr("a.txt': not a picture\n"));
    EXPECT_THAT(result.err, HasSubstr("b.gif': broken, or refused as too large\n"));
    EXPECT_THAT(result.err, HasSubstr("none.png'"));
}

}  // namespace
