#include "picture_drawing.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <random>
#include <string_view>

namespace brindlemoss::benchmarks {

using analysis::plugins::image_analysis::rect;
using analysis::plugins::image_analysis::source_bitmap;

picture::picture(std::int32_t width, std::int32_t height, colour paper)
    : view_{width, height, nullptr, (3 * width + 3) / 4 * 4},
      bytes_(static_cast<std::size_t>(view_.pitch) * static_cast<std::size_t>(height)) {
    fill({0, 0, width - 1, height - 1}, paper);
}

source_bitmap picture::bitmap() const {
    source_bitmap lent = view_;
    lent.bits = bytes_.data();
    return lent;
}

void picture::set(std::int32_t x, std::int32_t y, colour value) {
    if (x < 0 || y < 0 || x >= width() || y >= height()) return;
    std::uint8_t* const pixel =
        bytes_.data() + static_cast<std::ptrdiff_t>(height() - 1 - y) * view_.pitch + 3 * x;
    pixel[0] = value.blue;
    pixel[1] = value.green;
    pixel[2] = value.red;
}

void picture::fill(const rect& area, colour value) {
    for (std::int32_t y = std::max(area.top, 0); y <= std::min(area.bottom, height() - 1); ++y) {
        for (std::int32_t x = std::max(area.left, 0); x <= std::min(area.right, width() - 1); ++x) {
            set(x, y, value);
        }
    }
}

namespace {

// The same numbers on every machine.
class dice {
public:
    explicit dice(unsigned seed) : engine_(seed) {}

    std::int32_t below(std::int32_t limit) {
        return static_cast<std::int32_t>(engine_() % static_cast<unsigned>(limit));
    }

private:
    std::mt19937 engine_;
};

constexpr std::int32_t alphabet_size = 26;
constexpr std::int32_t letter_height = 9;
constexpr std::int32_t line_height = 13;
constexpr std::int32_t letter_gap = 1;
constexpr std::int32_t word_gap = 4;

// Two bands of letters; a blank column ends each letter.
constexpr std::string_view alphabet[2][letter_height] = {
    {
        "     #            #       ##      #    #  # #    #       ",
        "     #            #      #        #         #    #       ",
        " ##  ###   ###  ###  ##  ###  ### ###  #  # #  # # ## #  ",
        "   # #  # #    #  # #  # #   #  # #  # #  # # #  # # # # ",
        " ### #  # #    #  # #### #   #  # #  # #  # ##   # # # # ",
        "#  # #  # #    #  # #    #   #  # #  # #  # # #  # # # # ",
        " ### ###   ###  ###  ### #    ### #  # #  # #  # # # # # ",
        "                                #         #              ",
        "                             ###         #               ",
    },
    {
        "                                                                 ",
        "                             #                                   ",
        "###   ##  ###   ### # #  ### ### #  # #   # #   # #  # #  # #### ",
        "#  # #  # #  # #  # ##  #    #   #  # #   # # # # #  # #  #    # ",
        "#  # #  # #  # #  # #    ##  #   #  #  # #  # # #  ##  #  #  ##  ",
        "#  # #  # #  # #  # #      # #   #  #  # #  # # # #  # #  # #    ",
        "#  #  ##  ###   ### #   ###   ##  ###   #    # #  #  #  ### #### ",
        "          #       #                                       #      ",
        "          #       #                                    ###       ",
    },
};

struct letter {
    const std::string_view* rows;
    std::size_t first;
    std::int32_t width;

    bool dot_at(std::int32_t x, std::int32_t y) const {
        return x >= 0 && y >= 0 && x < width && y < letter_height &&
               rows[y][first + static_cast<std::size_t>(x)] == '#';
    }
};

std::vector<letter> letters() {
    std::vector<letter> found;
    for (const auto& band : alphabet) {
        std::size_t first = 0;
        for (std::size_t x = 0; x < band[0].size(); ++x) {
            const bool blank = std::all_of(std::begin(band), std::end(band),
                                           [x](std::string_view row) { return row[x] == ' '; });
            if (!blank) continue;
            found.push_back({band, first, static_cast<std::int32_t>(x - first)});
            first = x + 1;
        }
    }
    return found;
}

std::uint8_t mixed(std::uint8_t under, std::uint8_t over, double share) {
    return static_cast<std::uint8_t>(std::lround(under + (over - under) * share));
}

class page_printer {
public:
    page_printer(picture& page, const page_style& style)
        : page_(page), style_(style), random_(style.seed) {}

    void print() {
        const double margin = 0.06 * page_.width();
        const double line = line_height * style_.dot;
        std::int32_t lines_left = 3 + random_.below(5);
        for (double y = margin; y + line < page_.height() - margin; y += line) {
            const bool last_of_paragraph = --lines_left == 0;
            const double share = last_of_paragraph ? 0.3 + 0.1 * random_.below(6) : 1.0;
            print_line(margin, margin + (page_.width() - 2 * margin) * share, y);
            if (!last_of_paragraph) continue;
            lines_left = 3 + random_.below(5);
            y += line;
        }
    }

private:
    void print_line(double left, double right, double y) {
        double x = left;
        while (x + 12 * 5 * style_.dot < right) {
            const std::int32_t length = 2 + random_.below(8);
            for (std::int32_t place = 0; place < length; ++place) {
                const letter& shape =
                    letters_[static_cast<std::size_t>(random_.below(alphabet_size))];
                print_letter(shape, x, y);
                x += (shape.width + letter_gap) * style_.dot;
            }
            x += (word_gap - letter_gap) * style_.dot;
        }
    }

    void print_letter(const letter& shape, double left, double top) {
        const double fallen = top + left * style_.slope;
        const auto first_x = static_cast<std::int32_t>(left);
        const auto first_y = static_cast<std::int32_t>(fallen);
        const auto last_x = static_cast<std::int32_t>(left + shape.width * style_.dot);
        const auto last_y = static_cast<std::int32_t>(fallen + letter_height * style_.dot);
        for (std::int32_t y = first_y; y <= last_y; ++y) {
            for (std::int32_t x = first_x; x <= last_x; ++x) {
                const double share = coverage(shape, x - left, y - fallen);
                if (share == 0.0) continue;
                page_.set(x, y,
                          {mixed(style_.paper.red, style_.ink.red, share),
                           mixed(style_.paper.green, style_.ink.green, share),
                           mixed(style_.paper.blue, style_.ink.blue, share)});
            }
        }
    }

    // How much of the pixel at this distance from the letter's corner the letter covers.
    double coverage(const letter& shape, double x, double y) const {
        constexpr int steps = 4;
        int hits = 0;
        for (int step = 0; step < steps * steps; ++step) {
            const double dots_right = (x + (step % steps + 0.5) / steps) / style_.dot;
            const double dots_down = (y + (step / steps + 0.5) / steps) / style_.dot;
            hits += shape.dot_at(static_cast<std::int32_t>(std::floor(dots_right)),
                                 static_cast<std::int32_t>(std::floor(dots_down)));
        }
        return static_cast<double>(hits) / (steps * steps);
    }

    picture& page_;
    page_style style_;
    dice random_;
    std::vector<letter> letters_ = letters();
};

std::uint8_t clamped(double level) {
    return static_cast<std::uint8_t>(std::clamp(level, 0.0, 255.0));
}

}  // namespace

picture text_page(std::int32_t width, std::int32_t height, const page_style& style) {
    picture page(width, height, style.paper);
    page_printer(page, style).print();
    return page;
}

picture photograph(std::int32_t width, std::int32_t height) {
    picture result(width, height);
    dice random(3);
    for (std::int32_t y = 0; y < height; ++y) {
        for (std::int32_t x = 0; x < width; ++x) {
            const double u = static_cast<double>(x) / width, v = static_cast<double>(y) / height;
            const double hills = std::sin(9 * u + 4 * std::sin(5 * v)) * std::cos(7 * v - 3 * u);
            const double leaves = std::sin(60 * u * v + 20 * u) * std::sin(45 * v);
            const double light = 120 + 60 * hills + 30 * leaves + random.below(24);
            result.set(x, y, {clamped(light + 30 * v), clamped(light), clamped(light + 40 * u)});
        }
    }
    return result;
}

picture noise(std::int32_t width, std::int32_t height, std::int32_t percent) {
    picture result(width, height);
    dice random(4);
    for (std::int32_t y = 0; y < height; ++y) {
        for (std::int32_t x = 0; x < width; ++x) {
            if (random.below(100) < percent) result.set(x, y, black);
        }
    }
    return result;
}

picture checkerboard(std::int32_t width, std::int32_t height, std::int32_t period) {
    picture result(width, height);
    for (std::int32_t y = 0; y < height; ++y) {
        for (std::int32_t x = 0; x < width; ++x) {
            if ((x / period + y / period) % 2 == 0) result.set(x, y, black);
        }
    }
    return result;
}

picture specks(std::int32_t width, std::int32_t height, std::int32_t count) {
    picture result(width, height);
    dice random(5);
    for (std::int32_t speck = 0; speck < count; ++speck) {
        const std::int32_t x = random.below(width);
        const std::int32_t y = random.below(height);
        result.fill({x, y, x + 1, y + 1}, black);
    }
    return result;
}

picture staggered_dashes(std::int32_t width, std::int32_t height) {
    constexpr std::int32_t dash = 23, pitch = 52, row_pitch = 7, thickness = 5;
    picture result(width, height);
    for (std::int32_t row = 0; row * row_pitch < height; ++row) {
        const std::int32_t y = row * row_pitch;
        for (std::int32_t x = row % 2 * (pitch / 2); x < width; x += pitch) {
            for (std::int32_t stroke = x; stroke < x + dash; stroke += 4) {
                result.fill({stroke, y, stroke + 1, y + thickness - 1}, black);
            }
        }
    }
    return result;
}

picture one_wide_line(std::int32_t width, std::int32_t height) {
    picture result(width, height);
    const std::int32_t middle = height / 2;
    for (std::int32_t x = 2; x < width - 2; x += 4) {
        result.fill({x, middle - 5, x + 1, middle + 5}, black);
    }
    return result;
}

picture spiral(std::int32_t width, std::int32_t height, std::int32_t thickness) {
    picture result(width, height);
    rect way{0, 0, width - 1, height - 1};
    const std::int32_t inward = 2 * thickness;
    while (way.left + inward < way.right && way.top + inward < way.bottom) {
        result.fill({way.left, way.top, way.right, way.top + thickness - 1}, black);
        result.fill({way.right - thickness + 1, way.top, way.right, way.bottom}, black);
        result.fill({way.left, way.bottom - thickness + 1, way.right, way.bottom}, black);
        result.fill({way.left, way.top + inward, way.left + thickness - 1, way.bottom}, black);
        way = {way.left + inward, way.top + inward, way.right - inward, way.bottom - inward};
        // The step from one turn into the next.
        result.fill({way.left - inward, way.top, way.left + thickness, way.top + thickness - 1},
                    black);
    }
    return result;
}

picture comb(std::int32_t width, std::int32_t height, std::int32_t tooth) {
    picture result(width, height);
    result.fill({0, 0, width - 1, tooth - 1}, black);
    for (std::int32_t x = 0; x < width; x += 2 * tooth) {
        result.fill({x, 0, x + tooth - 1, height - 1}, black);
    }
    return result;
}

}  // namespace brindlemoss::benchmarks
