#pragma once

#include <cstdint>
#include <vector>

#include "image/rect.h"
#include "image/text_engine.h"

namespace brindlemoss::benchmarks {

struct colour {
    std::uint8_t red, green, blue;
};

inline constexpr colour white{255, 255, 255};
inline constexpr colour black{0, 0, 0};

// A picture of 24 bits a pixel that owns its bytes, laid out as decoders do. Places are counted
// from the top left corner; what is drawn beyond the edges is cut off. Equal arguments draw equal
// pictures, everywhere.
class picture {
public:
    picture(std::int32_t width, std::int32_t height, colour paper = white);

    std::int32_t width() const { return view_.width; }
    std::int32_t height() const { return view_.height; }
    double megapixels() const { return 1e-6 * view_.width * view_.height; }

    // Borrows from this.
    analysis::plugins::image_analysis::source_bitmap bitmap() const;

    void set(std::int32_t x, std::int32_t y, colour value);
    void fill(const analysis::plugins::image_analysis::rect& area, colour value);

private:
    analysis::plugins::image_analysis::source_bitmap view_;
    std::vector<std::uint8_t> bytes_;
};

// How a page is printed.
struct page_style {
    double dot = 2.0;    // pixels a dot of the letters, which are up to 9 dots high
    double slope = 0.0;  // rows that a line falls in each column
    unsigned seed = 1;   // which words
    colour ink = black;
    colour paper = white;
};

// Paragraphs of words between margins, smoothly drawn.
picture text_page(std::int32_t width, std::int32_t height, const page_style& style = {});

// Soft light with some round things in it and the grain of a film.
picture photograph(std::int32_t width, std::int32_t height);

// Black pixels at random, so many in a hundred.
picture noise(std::int32_t width, std::int32_t height, std::int32_t percent);

// Shapes that make finding lines as hard as can be.

picture checkerboard(std::int32_t width, std::int32_t height, std::int32_t period);
picture specks(std::int32_t width, std::int32_t height, std::int32_t count);
picture staggered_dashes(std::int32_t width, std::int32_t height);  // each a region of its own
picture one_wide_line(std::int32_t width, std::int32_t height);
picture spiral(std::int32_t width, std::int32_t height, std::int32_t thickness);
picture comb(std::int32_t width, std::int32_t height, std::int32_t tooth);

}  // namespace brindlemoss::benchmarks
