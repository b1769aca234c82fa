#include "cli/picture_overlay.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>

namespace brindlemoss::cli {

namespace image = analysis::plugins::image_analysis;
using image::rect;

namespace {

struct colour {
    std::uint8_t red, green, blue;
};

constexpr colour crop_colour{0, 160, 0};
constexpr colour region_colour{0, 0, 255};
constexpr colour line_colour{0, 180, 200};
constexpr colour glyph_colour{230, 0, 0};
constexpr colour word_colour{200, 0, 200};
constexpr colour block_colour{255, 128, 0};

class canvas {
public:
    canvas(std::int32_t width, std::int32_t height)
        : picture_{width, height,
                   std::vector<std::uint8_t>(3 * static_cast<std::size_t>(width) *
                                             static_cast<std::size_t>(height))} {}

    void set(std::int32_t x, std::int32_t y, const colour& c) {
        if (x < 0 || y < 0 || x >= picture_.width || y >= picture_.height) return;
        std::uint8_t* const target = pixel(x, y);
        target[0] = c.blue;
        target[1] = c.green;
        target[2] = c.red;
    }

    // Makes the pixels yellowish, as a marker pen does.
    void mark(const rect& r) {
        for (std::int32_t y = std::max(r.top, 0); y <= std::min(r.bottom, picture_.height - 1);
             ++y) {
            for (std::int32_t x = std::max(r.left, 0); x <= std::min(r.right, picture_.width - 1);
                 ++x) {
                std::uint8_t& blue = pixel(x, y)[0];
                blue = static_cast<std::uint8_t>(blue / 3);
            }
        }
    }

    // Around the rectangle, `margin` pixels outside its edge.
    void outline(const rect& r, const colour& c, std::int32_t margin = 0) {
        if (width_of(r) <= 0 || height_of(r) <= 0) return;
        for (std::int32_t x = r.left - margin; x <= r.right + margin; ++x) {
            set(x, r.top - margin, c);
            set(x, r.bottom + margin, c);
        }
        for (std::int32_t y = r.top - margin; y <= r.bottom + margin; ++y) {
            set(r.left - margin, y, c);
            set(r.right + margin, y, c);
        }
    }

    colour_picture take() { return std::move(picture_); }

private:
    std::uint8_t* pixel(std::int32_t x, std::int32_t y) {
        return picture_.bytes.data() + 3 * (static_cast<std::size_t>(y) * picture_.width + x);
    }

    colour_picture picture_;
};

// The source's own levels where the engine made no plane of it.
std::uint8_t level_at(const image::text_engine& engine, std::int32_t x, std::int32_t y) {
    const bool is_preprocessed =
        engine.stop_code != image::picture_too_small && engine.stop_code != image::flat_histogram;
    if (is_preprocessed) return engine.pp_plane.at(x, y);
    const std::uint8_t* row =
        engine.source.bits +
        static_cast<std::ptrdiff_t>(engine.height - 1 - y) * engine.source.pitch;
    const std::uint8_t* pixel = row + std::ptrdiff_t{image::text_engine::pixel_step} * x;
    return static_cast<std::uint8_t>((pixel[0] + pixel[1] + pixel[2]) / 3);
}

// Half as strong as it is, so that the outlines stand out.
colour pale(std::uint8_t level) {
    const auto paler = static_cast<std::uint8_t>(128 + level / 2);
    return {paler, paler, paler};
}

void draw_line(const image::text_line& line, canvas& drawing) {
    if (!line.valid) return;
    drawing.outline(line.box, line_colour, 1);
    for (const image::component* glyph : line.glyphs) drawing.outline(glyph->box, glyph_colour);
    for (const image::component& word : line.words) {
        if (word.valid) drawing.outline(word.box, word_colour, 2);
    }
}

canvas pale_picture(const image::text_engine& engine) {
    canvas drawing(engine.width, engine.height);
    for (std::int32_t y = 0; y < engine.height; ++y) {
        for (std::int32_t x = 0; x < engine.width; ++x) {
            drawing.set(x, y, pale(level_at(engine, x, y)));
        }
    }
    return drawing;
}

}  // namespace

colour_picture draw_overlay(const image::text_engine& engine, const image_watch& watch) {
    canvas drawing = pale_picture(engine);
    for (const rect& segment : watch.segments()) drawing.mark(segment);
    for (const rect& region : engine.regions) drawing.outline(region, region_colour);
    for (const image::block& block : engine.blocks) drawing.outline(block.box, block_colour, 4);
    for (const image::text_line& line : engine.lines) draw_line(line, drawing);
    drawing.outline(engine.crop, crop_colour);
    return drawing.take();
}

colour_picture draw_checkpoints(const image::text_engine& engine, const image_watch& watch,
                                const std::vector<std::string>& labels) {
    constexpr colour colours[] = {region_colour, glyph_colour, crop_colour,
                                  word_colour,   block_colour, line_colour};
    canvas drawing = pale_picture(engine);
    for (std::size_t number = 0; number < labels.size(); ++number) {
        for (const image_watch::checkpoint& each : watch.checkpoints()) {
            if (each.label != labels[number]) continue;
            for (const rect& r : each.rects) {
                if (height_of(r) == 1) {
                    drawing.mark(r);
                } else {
                    drawing.outline(r, colours[number % std::size(colours)]);
                }
            }
        }
    }
    return drawing.take();
}

}  // namespace brindlemoss::cli
