#include "image/layout_words.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "image/blobs.h"

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

rect box_of(const scan_word& word, const rect& line) {
    return {word.left, line.top, word.right, line.bottom};
}

void find_words_by_columns(const background_map& background, scan_area& line,
                           const checkpoints& checkpoint) {
    constexpr std::int32_t lowest_line = 5;
    constexpr std::int32_t widest_space = 2;  // within a word
    if (height_of(line.box) < lowest_line) return;
    for (const stretch& columns : background.columns(line.box, widest_space)) {
        line.cells.push_back({columns.first, columns.last, {}});
        checkpoint("Word:", box_of(line.cells.back(), line.box));
    }
    checkpoint("Line:", line.box);
}

// Blobs that stand no more than a few columns behind what is left of them.
std::vector<scan_word> words_of_blobs(const std::vector<rect>& blobs) {
    constexpr std::int32_t widest_space = 7;
    std::vector<scan_word> words;
    for (const rect& blob : blobs) {
        if (words.empty() || blob.left - words.back().right - 1 > widest_space) {
            words.push_back({blob.left, blob.right, {}});
        }
        words.back().right = std::max(words.back().right, blob.right);
        words.back().spans.push_back(blob);
    }
    return words;
}

std::int32_t foreground_in_column(const background_map& background, std::int32_t x,
                                  const rect& line) {
    std::int32_t count = 0;
    for (std::int32_t y = line.top; y <= line.bottom; ++y) count += !background.is_background(x, y);
    return count;
}

// Eats the columns on both sides that hold next to nothing, all of them if need be.
void trim_word(const background_map& background, const rect& line, scan_word& word) {
    const std::int64_t enough = height_of(line) / 5 + 1;
    std::int64_t met = 0;
    for (; word.left <= word.right; ++word.left) {
        met += foreground_in_column(background, word.left, line);
        if (met > enough) break;
    }
    met = 0;
    for (; word.right >= word.left; --word.right) {
        met += foreground_in_column(background, word.right, line);
        if (met > enough) break;
    }
}

// `top` is the first row in which blobs of the line may begin.
void find_words_by_blobs(const background_map& background, std::int32_t top, scan_area& line,
                         const checkpoints& checkpoint) {
    constexpr std::int32_t lowest_blob = 4;
    constexpr std::int32_t narrowest_word = 5;
    const rect band{line.box.left, top, line.box.right, line.box.bottom};
    line.cells = words_of_blobs(find_blobs(background, band, lowest_blob));
    for (const scan_word& word : line.cells) checkpoint("Word:", box_of(word, line.box));
    checkpoint("Line:", line.box);

    const std::size_t found = line.cells.size();
    for (scan_word& word : line.cells) trim_word(background, line.box, word);
    const std::size_t small = std::erase_if(line.cells, [](const scan_word& word) {
        return word.right - word.left + 1 < narrowest_word;
    });
    if (found < 2 * small) line.cells.clear();
}

void find_words(const layout_context& context, scan_area& area, const checkpoints& checkpoint) {
    constexpr std::int32_t rows_above_first = 10;
    std::int32_t top = std::max(area.box.top - rows_above_first, 0);
    for (scan_area& line : area.lines) {
        if (context.colour_mode) {
            find_words_by_blobs(context.background, top, line, checkpoint);
        } else {
            find_words_by_columns(context.background, line, checkpoint);
        }
        top = line.box.bottom + 1;
    }
}

}  // namespace

void find_layout_words(layout_context& context, const checkpoints& checkpoint) {
    constexpr std::size_t fewest_words = 2;
    for (scan_area& area : context.areas) {
        find_words(context, area, checkpoint);
        const bool has_words = count_words(area) >= fewest_words;
        if (!has_words && !context.colour_mode) area.lines.clear();
        area.enabled =
            has_words && width_of(area.box) >= narrowest_area && height_of(area.box) >= lowest_area;
    }
}

std::size_t count_words(const scan_area& area) {
    std::size_t count = 0;
    for (const scan_area& line : area.lines) count += line.cells.size();
    return count;
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
