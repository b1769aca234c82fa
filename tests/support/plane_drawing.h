#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <vector>

#include "image/plane.h"
#include "image/rect.h"
#include "image/text_engine.h"

namespace test_support {

using brindlemoss::analysis::plugins::image_analysis::level_flags;
using brindlemoss::analysis::plugins::image_analysis::plane;
using brindlemoss::analysis::plugins::image_analysis::rect;
using brindlemoss::analysis::plugins::image_analysis::source_bitmap;

inline constexpr std::uint8_t paper = 255;
inline constexpr std::uint8_t ink = 0;

constexpr rect sized(std::int32_t left, std::int32_t top, std::int32_t width, std::int32_t height) {
    return {left, top, left + width - 1, top + height - 1};
}

inline rect whole(const plane& levels) {
    return {0, 0, levels.width - 1, levels.height - 1};
}

// For pictures whose background is paper.
inline level_flags paper_alone() {
    level_flags flags{};
    flags[paper] = true;
    return flags;
}

// A word without shapes: upright strokes that stand `gap` columns apart.
struct comb {
    std::int32_t strokes = 5;
    std::int32_t stroke_width = 3;
    std::int32_t gap = 2;
    std::int32_t height = 10;

    std::int32_t width() const { return strokes * (stroke_width + gap) - gap; }
};

// What is laid out in rows of equal words.
struct comb_page {
    comb word;
    std::int32_t words_per_line = 6;
    std::int32_t word_gap = 8;
    std::int32_t lines = 5;
    std::int32_t line_gap = 8;  // blank rows between two lines

    std::int32_t width() const { return words_per_line * (word.width() + word_gap) - word_gap; }
    std::int32_t height() const { return lines * (word.height + line_gap) - line_gap; }
};

// A plane that is drawn step by step. What falls beyond its edges is cut off. Each step gives the
// drawing back: drawing(200, 100).fill(sized(10, 10, 50, 5)).page(20, 30, {}).result.
struct drawing {
    drawing(std::int32_t width, std::int32_t height, std::uint8_t background = paper)
        : result(width, height) {
        std::fill(result.levels.begin(), result.levels.end(), background);
    }

    drawing& fill(const rect& area, std::uint8_t level = ink) {
        const std::int32_t left = std::max(area.left, 0);
        const std::int32_t right = std::min(area.right, result.width - 1);
        const std::int32_t bottom = std::min(area.bottom, result.height - 1);
        for (std::int32_t y = std::max(area.top, 0); y <= bottom && left <= right; ++y) {
            std::fill(result.row(y) + left, result.row(y) + right + 1, level);
        }
        return *this;
    }

    // The edge of a rectangle, inside it.
    drawing& outline(const rect& area, std::int32_t thickness = 1, std::uint8_t level = ink) {
        const auto width = static_cast<std::int32_t>(width_of(area));
        const auto height = static_cast<std::int32_t>(height_of(area));
        fill(sized(area.left, area.top, width, thickness), level);
        fill(sized(area.left, area.bottom - thickness + 1, width, thickness), level);
        fill(sized(area.left, area.top, thickness, height), level);
        return fill(sized(area.right - thickness + 1, area.top, thickness, height), level);
    }

    drawing& word(std::int32_t left, std::int32_t top, const comb& shape,
                  std::uint8_t level = ink) {
        for (std::int32_t stroke = 0; stroke < shape.strokes; ++stroke) {
            fill(sized(left + stroke * (shape.stroke_width + shape.gap), top, shape.stroke_width,
                       shape.height),
                 level);
        }
        return *this;
    }

    drawing& page(std::int32_t left, std::int32_t top, const comb_page& text,
                  std::uint8_t level = ink) {
        for (std::int32_t line = 0; line < text.lines; ++line) {
            for (std::int32_t place = 0; place < text.words_per_line; ++place) {
                word(left + place * (text.word.width() + text.word_gap),
                     top + line * (text.word.height + text.line_gap), text.word, level);
            }
        }
        return *this;
    }

    // One character a pixel: '#' is ink, '.' paper, a digit or 'a' to 'f' 17 times its value; a
    // blank leaves the pixel as it is.
    drawing& art(std::int32_t left, std::int32_t top,
                 std::initializer_list<std::string_view> rows) {
        std::int32_t y = top;
        for (const std::string_view row : rows) {
            std::int32_t x = left;
            for (const char pixel : row) {
                if (pixel != ' ') fill({x, y, x, y}, level_of(pixel));
                ++x;
            }
            ++y;
        }
        return *this;
    }

    static std::uint8_t level_of(char pixel) {
        if (pixel == '#') return ink;
        if (pixel == '.') return paper;
        return static_cast<std::uint8_t>(17 * (pixel <= '9' ? pixel - '0' : pixel - 'a' + 10));
    }

    plane result;
};

inline plane plane_of(std::initializer_list<std::string_view> rows) {
    const auto width = static_cast<std::int32_t>(rows.begin()->size());
    return drawing(width, static_cast<std::int32_t>(rows.size())).art(0, 0, rows).result;
}

struct colour {
    std::uint8_t red, green, blue;
};

// Owns the bytes of a bitmap as decoders give it: the bottom row first, rows padded to four bytes,
// blue before green before red. The padding holds a pattern that no result may show.
class drawn_bitmap {
public:
    drawn_bitmap(std::int32_t width, std::int32_t height, colour background = {paper, paper, paper})
        : view_{width, height, nullptr, (3 * width + 3) / 4 * 4},
          bytes_(static_cast<std::size_t>(view_.pitch) * static_cast<std::size_t>(height), 0xA5) {
        fill({0, 0, width - 1, height - 1}, background);
    }

    explicit drawn_bitmap(const plane& grey) : drawn_bitmap(grey.width, grey.height) {
        for (std::int32_t y = 0; y < grey.height; ++y) {
            for (std::int32_t x = 0; x < grey.width; ++x) {
                set(x, y, {grey.at(x, y), grey.at(x, y), grey.at(x, y)});
            }
        }
    }

    // Counted from the top left corner.
    drawn_bitmap& set(std::int32_t x, std::int32_t y, colour value) {
        std::uint8_t* const pixel =
            bytes_.data() + static_cast<std::ptrdiff_t>(view_.height - 1 - y) * view_.pitch + 3 * x;
        pixel[0] = value.blue;
        pixel[1] = value.green;
        pixel[2] = value.red;
        return *this;
    }

    drawn_bitmap& fill(const rect& area, colour value) {
        for (std::int32_t y = area.top; y <= area.bottom; ++y) {
            for (std::int32_t x = area.left; x <= area.right; ++x) set(x, y, value);
        }
        return *this;
    }

    // Lives as long as this and its bytes.
    source_bitmap view() const {
        source_bitmap lent = view_;
        lent.bits = bytes_.data();
        return lent;
    }

private:
    source_bitmap view_;
    std::vector<std::uint8_t> bytes_;
};

}  // namespace test_support
