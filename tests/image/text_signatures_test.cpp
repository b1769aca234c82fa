#include "image/text_signatures.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

using testing_words = std::vector<std::int32_t>;

// One line of words with these widths.
scan_area area_of_words(const testing_words& widths, bool enabled = true) {
    scan_area line;
    for (const std::int32_t width : widths) line.cells.push_back({100, 99 + width, {}});
    scan_area area;
    area.enabled = enabled;
    area.lines.push_back(std::move(line));
    return area;
}

scan_area area_of(std::size_t words, std::int32_t width = 9, bool enabled = true) {
    return area_of_words(testing_words(words, width), enabled);
}

layout_context context_of(std::vector<scan_area> areas) {
    layout_context context;
    context.areas = std::move(areas);
    return context;
}

std::string times(std::size_t count, std::string_view text) {
    std::string repeated;
    for (; count > 0; --count) repeated += text;
    return repeated;
}

TEST(text_signatures, tell_which_words_are_narrower_than_the_one_before) {
    testing_words widths{9, 5, 4, 5, 6, 4, 5};
    widths.resize(50, 5);
    scan_area area = area_of_words(widths);
    area.lines.push_back(area_of_words({4, 3, 2, 1, 7}).lines.front());
    const auto made = make_text_signatures(context_of({area, area_of_words({8, 7})}));
    // The first word of an area follows none; words below 5 columns are passed over.
    EXPECT_EQ(made.whole, "[ocr-3].2.0.1.0.0.1" + times(43, ".0") + ".0.2.0.1");
}

TEST(text_signatures, keep_no_whole_with_little_text) {
    const struct {
        const char* what;
        std::vector<scan_area> areas;
        std::size_t wanted;
    } rows[] = {
        {"89 characters", {area_of(40)}, 0},
        {"91 characters by words", {area_of(41)}, 91},
        {"91 characters by areas", {area_of(20), area_of(20)}, 91},
        {"39 words", {area_of(13), area_of(13), area_of(13)}, 0},
        {"40 words, small ones too", {area_of(13), area_of(13), area_of(13), area_of(1, 4)}, 93},
        {"40 words, disabled ones too",
         {area_of(13), area_of(13), area_of(13), area_of(1, 9, false)},
         91},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(make_text_signatures(context_of(row.areas)).whole.size(), row.wanted);
    }
}

TEST(text_signatures, add_the_spans_of_words_in_colour_mode) {
    scan_area area = area_of(0);
    for (int word = 0; word < 20; ++word) {
        // Two blobs of 3 columns each, one of 4 in every other word: 6 or 4 wide.
        const std::int32_t second = word % 2 == 0 ? 3 : 1;
        area.lines[0].cells.push_back({0, 40, {{0, 0, 2, 9}, {30, 0, 29 + second, 9}}});
    }
    layout_context context = context_of({area, area_of(0)});
    context.colour_mode = true;
    EXPECT_EQ(make_text_signatures(context).whole, "");  // 31 characters
    for (auto& word : area.lines[0].cells) word.spans[1].right = word.spans[1].left + 1;
    context.areas[0] = area;
    EXPECT_EQ(make_text_signatures(context).whole, "[ocr-3].2" + times(20, ".0") + ".2");
    context.areas.pop_back();
    EXPECT_EQ(make_text_signatures(context).whole, "");  // 49 characters
}

TEST(text_signatures, slide_windows_of_forty_words_over_the_enabled_areas) {
    const auto text = [](std::initializer_list<std::size_t> counts) {
        std::string window = "[ocr-7b]";
        for (const std::size_t count : counts) window += ".2" + times(count, ".0");
        return window;
    };
    using windows = std::vector<std::string>;
    const struct {
        const char* what;
        std::vector<scan_area> areas;
        windows wanted;
    } rows[] = {
        {"too few words", {area_of(20), area_of(19)}, {}},
        {"overlapping", {area_of(20), area_of(21), area_of(22)}, {text({20, 21}), text({21, 22})}},
        {"a large one behind small ones",
         {area_of(5), area_of(10), area_of(40), area_of(30)},
         {text({40})}},
        {"shrunk to just enough", {area_of(5), area_of(10), area_of(31)}, {text({10, 31})}},
        {"disabled between", {area_of(20), area_of(30, 9, false), area_of(20)}, {text({20, 20})}},
        {"88 characters",
         {area_of_words({4, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9,
                         9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9})},
         {}},
        {"90 characters", {area_of(40)}, {text({40})}},
        {"nothing", {}, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(make_text_signatures(context_of(row.areas)).windows, row.wanted);
    }
}

}  // namespace
}  // namespace brindlemoss::analysis::plugins::image_analysis
