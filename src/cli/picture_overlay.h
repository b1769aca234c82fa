#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli/image_watch.h"
#include "image/text_engine.h"

namespace brindlemoss::cli {

// Colours a pixel as blue, green, red; rows from the top, without padding.
struct colour_picture {
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::vector<std::uint8_t> bytes;
};

// The picture as the engine last saw it, in grey, with outlines around what it found: crop green,
// stretches of text marked yellow, regions blue, lines cyan, glyphs red, words magenta, blocks
// orange.
colour_picture draw_overlay(const analysis::plugins::image_analysis::text_engine& engine,
                            const image_watch& watch);

// The same picture with the rectangles of the checkpoints of these labels alone, a colour for each
// label; those of a single row are marked yellow.
colour_picture draw_checkpoints(const analysis::plugins::image_analysis::text_engine& engine,
                                const image_watch& watch, const std::vector<std::string>& labels);

}  // namespace brindlemoss::cli
