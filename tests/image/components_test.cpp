#include "image/components.h"

#include <gmock/gmock.h>

#include <random>
#include <string>
#include <vector>

#include "image/line_lists.h"
#include "support/plane_drawing.h"
#include "support/recorded_checkpoints.h"

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

using namespace test_support;
using testing::ElementsAre;
using testing::IsEmpty;

// An engine with ink on paper and lines whose bounds lie 5 pixels around them.
struct scene {
    scene(const drawing& picture, const std::vector<rect>& boxes)
        : engine(source_bitmap{picture.result.width, picture.result.height, nullptr, 0}, {},
                 &recorded) {
        engine.pp_plane = picture.result;
        engine.background_levels[paper] = true;
        for (const rect& box : boxes) {
            engine.lines.emplace_back(box).bounding_box = {box.left - 5, box.top - 5, box.right + 5,
                                                           box.bottom + 5};
        }
    }
    text_line& line() { return engine.lines.front(); }
    std::vector<rect> components() { return boxes_of(line().components); }

    recorded_checkpoints recorded;
    text_engine engine;
};

// A line in a picture of any size with components, and which of them are left.
struct filtered_line {
    filtered_line(const rect& box, const std::vector<rect>& boxes) : page(drawing(1, 1), {box}) {
        for (const rect& each : boxes) page.line().components.push_back({each});
        filter_components(page.engine);
    }
    scene page;
};

TEST(classify_components, tells_frames_and_rules_from_glyphs) {
    text_line line(rect{10, 10, 209, 29});
    line.bounding_box = {2, 2, 217, 37};
    const struct {
        const char* name;
        rect box;
        const char* label;
    } rows[] = {
        {"full height at the right", {205, 2, 209, 37}, "Raw invalid components #1"},
        {"full height, next to the right", {204, 2, 208, 37}, "Raw valid components"},
        {"less high at the right", {205, 3, 209, 37}, "Raw valid components"},
        {"a frame", {5, 2, 215, 37}, "Raw invalid components #1"},
        {"full height at the left", {10, 2, 14, 37}, "Raw invalid components #2"},
        {"full height, next to the left", {11, 2, 15, 37}, "Raw valid components"},
        {"less high at the left", {10, 2, 14, 36}, "Raw valid components"},
        {"full height, 61 wide", {50, 2, 110, 37}, "Raw invalid components #3"},
        {"full height, 60 wide", {50, 2, 109, 37}, "Raw valid components"},
        {"less high, 61 wide", {50, 2, 110, 36}, "Raw valid components"},
        {"as wide as the line", {10, 28, 209, 29}, "Raw invalid components #4"},
        {"not quite as wide", {10, 28, 208, 29}, "Raw invalid components #5"},
        {"101 wide", {50, 10, 150, 20}, "Raw invalid components #5"},
        {"100 wide", {50, 10, 149, 20}, "Raw valid components"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        recorded_checkpoints recorded;
        std::vector<component> components{{row.box}};
        classify_components(line, components, checkpoints(&recorded));
        EXPECT_THAT(recorded.at_label, ElementsAre(testing::Pair(row.label, ElementsAre(row.box))));
        EXPECT_EQ(components.front().valid, std::string(row.label) == "Raw valid components");
    }
}

TEST(merge_components, merges_as_one_after_the_other_would) {
    std::mt19937 random(99);
    for (int round = 0; round < 300; ++round) {
        SCOPED_TRACE(round);
        std::vector<component> components;
        std::list<rect> expected;
        for (std::size_t left = random() % 60; left > 0; --left) {
            const auto x = static_cast<std::int32_t>(random() % 400);
            const auto y = static_cast<std::int32_t>(random() % 100);
            rect box = sized(x, y, 1 + static_cast<std::int32_t>(random() % 8), 3);
            components.push_back({box, false, random() % 4 != 0});
            if (!components.back().valid) continue;
            for (auto each = expected.begin(); each != expected.end();) {
                const rect hull = hull_of(box, *each);
                const bool joins = width_of(hull) <= width_of(box) + width_of(*each);
                if (joins) box = hull;
                each = joins ? expected.erase(each) : std::next(each);
            }
            expected.push_back(box);
        }
        EXPECT_EQ(boxes_of(merge_components(components)),
                  std::vector<rect>(expected.begin(), expected.end()));
    }
}

TEST(find_components, takes_a_letter_and_its_dot_for_one_glyph) {
    const auto picture = drawing(100, 50)
                             .fill(sized(20, 20, 3, 2))
                             .fill(sized(20, 24, 3, 8))    // an i
                             .fill(sized(24, 24, 6, 8))    // a column away
                             .fill(sized(50, 20, 5, 12));  // and far from both
    scene page(picture, {{20, 20, 54, 31}});
    find_components(page.engine);
    EXPECT_THAT(page.components(),
                ElementsAre(sized(20, 20, 3, 12), sized(24, 24, 6, 8), sized(50, 20, 5, 12)));
    EXPECT_EQ(page.recorded.at_label["Raw components"].size(), 4u);
    EXPECT_EQ(page.recorded.at_label["Valid merged components"], page.components());
}

TEST(find_components, drops_the_frame_around_a_line) {
    const auto picture = drawing(120, 50).outline({15, 10, 84, 40}).fill(sized(30, 20, 5, 12));
    scene page(picture, {{15, 10, 84, 40}});
    page.line().bounding_box = {15, 10, 84, 40};
    find_components(page.engine);
    EXPECT_THAT(page.components(), ElementsAre(sized(30, 20, 5, 12)));
    EXPECT_THAT(page.recorded.at_label["Raw invalid components #1"],
                ElementsAre(rect{15, 10, 84, 40}));
}

TEST(find_components, gives_up_a_line_that_is_one_blob_larger_than_itself) {
    const struct {
        const char* name;
        rect blob;
        bool valid;
    } rows[] = {{"larger by a row", {20, 18, 39, 28}, false},
                {"as large", {20, 20, 39, 29}, true},
                {"smaller", {20, 20, 38, 29}, true}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        // Twenty pixels wide is too wide for the line to hold, hence as two halves that adjoin.
        const auto picture = drawing(80, 60)
                                 .fill({row.blob.left, row.blob.top, 29, 23})
                                 .fill({30, 25, row.blob.right, row.blob.bottom});
        scene page(picture, {{20, 20, 39, 29}});
        find_components(page.engine);
        EXPECT_EQ(page.line().valid, row.valid);
        EXPECT_EQ(page.components().empty(), !row.valid);
    }
}

TEST(find_components, labels_lines_in_reading_order_and_leaves_out_invalid_ones) {
    const auto picture = drawing(60, 60).fill(sized(20, 10, 3, 30));
    scene page(picture, {{20, 25, 49, 34}, {20, 10, 49, 19}, {20, 40, 49, 49}});
    page.engine.lines.back().valid = false;
    find_components(page.engine);
    // The upper line labels its bounds, down to row 24; the lower one finds that number again above
    // its first row, with which it would otherwise begin.
    EXPECT_THAT(boxes_of(page.engine.lines.back().components), IsEmpty());
    EXPECT_THAT(boxes_of(std::next(page.engine.lines.begin())->components),
                ElementsAre(rect{20, 10, 22, 24}));
    EXPECT_THAT(page.components(), IsEmpty());
}

TEST(filter_components, leaves_out_specks_and_bars) {
    const struct {
        const char* name;
        rect box;
        const char* label;
    } rows[] = {
        {"2 by 2", sized(20, 10, 2, 2), "Invalid CC 1"},
        {"2 by 3", sized(20, 10, 2, 3), "Valid CC"},
        {"3 by 2", sized(20, 10, 3, 2), "Valid CC"},
        {"as wide as the line", sized(10, 10, 300, 9), "Invalid CC 2"},
        {"not quite as wide", sized(10, 10, 299, 9), "Invalid CC 3"},
        {"150 wide", sized(20, 10, 150, 9), "Invalid CC 3"},
        {"149 wide", sized(20, 10, 149, 9), "Valid CC"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        filtered_line filtered(sized(10, 10, 300, 12), {row.box});
        EXPECT_THAT(filtered.page.recorded.at_label,
                    ElementsAre(testing::Pair(row.label, ElementsAre(row.box))));
        const bool valid = std::string(row.label) == "Valid CC";
        EXPECT_EQ(filtered.page.line().glyphs.size(), valid ? 1u : 0u);
        EXPECT_EQ(filtered.page.line().box, valid ? row.box : inverted_rect);
    }
}

TEST(filter_components, goes_through_the_lines_in_reading_order) {
    scene page(drawing(1, 1), {{10, 40, 200, 60}, {10, 10, 200, 30}});
    page.line().components.push_back({sized(20, 45, 5, 8)});
    page.engine.lines.back().components.push_back({sized(90, 15, 5, 8)});
    filter_components(page.engine);
    EXPECT_THAT(page.recorded.at_label["Valid CC"],
                ElementsAre(sized(90, 15, 5, 8), sized(20, 45, 5, 8)));
}

TEST(filter_components, lists_glyphs_from_left_to_right_and_shrinks_the_line) {
    // In reading order the upper one comes first.
    filtered_line filtered({10, 10, 200, 40},
                           {sized(60, 12, 5, 4), sized(20, 30, 5, 8), sized(90, 30, 2, 2)});
    EXPECT_THAT(boxes_of(filtered.page.line().glyphs),
                ElementsAre(sized(20, 30, 5, 8), sized(60, 12, 5, 4)));
    EXPECT_EQ(filtered.page.line().box, (rect{20, 12, 64, 37}));
    EXPECT_EQ(filtered.page.line().components.size(), 3u);
}

}  // namespace
}  // namespace brindlemoss::analysis::plugins::image_analysis
