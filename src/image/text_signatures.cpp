#include "image/text_signatures.h"

#include <cstddef>
#include <cstdint>
#include <utility>

#include "image/layout_words.h"

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

constexpr std::size_t fewest_words = 40;
constexpr std::size_t shortest_text = 90;
constexpr std::size_t shortest_colour_text = 50;

std::int64_t width_in(const layout_context& context, const scan_word& word) {
    if (!context.colour_mode) return word.right - word.left + 1;
    std::int64_t width = 0;
    for (const rect& span : word.spans) width += width_of(span);
    return width;
}

void append_area(const layout_context& context, const scan_area& area, std::string& text) {
    constexpr std::int64_t narrowest_word = 5;
    text += ".2";
    std::int64_t previous = 0;
    for (const scan_area& line : area.lines) {
        for (const scan_word& word : line.cells) {
            const std::int64_t width = width_in(context, word);
            if (width < narrowest_word) continue;
            text += previous > width ? ".1" : ".0";
            previous = width;
        }
    }
}

std::string text_of_whole(const layout_context& context) {
    std::string text = "[ocr-3]";
    std::size_t words = 0;
    for (const scan_area& area : context.areas) {
        words += count_words(area);
        if (area.enabled) append_area(context, area, text);
    }
    const bool is_enough = context.colour_mode
                               ? text.size() >= shortest_colour_text
                               : text.size() >= shortest_text && words >= fewest_words;
    return is_enough ? text : std::string();
}

// What a window may hold: its areas have at least two words each.
struct usable_area {
    const scan_area* area;
    std::size_t words;
};

std::vector<usable_area> usable_areas(const layout_context& context) {
    std::vector<usable_area> usable;
    for (const scan_area& area : context.areas) {
        if (area.enabled) usable.push_back({&area, count_words(area)});
    }
    return usable;
}

}  // namespace

text_signatures make_text_signatures(const layout_context& context) {
    text_signatures made{text_of_whole(context), {}};
    const std::vector<usable_area> usable = usable_areas(context);
    std::size_t start = 0;
    std::size_t words = 0;
    for (std::size_t end = 0; end < usable.size(); ++end) {
        words += usable[end].words;
        if (words < fewest_words) continue;
        while (words - usable[start].words >= fewest_words) words -= usable[start++].words;
        std::string text = "[ocr-7b]";
        for (std::size_t index = start; index <= end; ++index) {
            append_area(context, *usable[index].area, text);
        }
        if (text.size() >= shortest_text) made.windows.push_back(std::move(text));
        words -= usable[start++].words;
    }
    return made;
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
