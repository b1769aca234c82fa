#pragma once

#include <array>
#include <cstdint>
#include <list>
#include <span>
#include <string>
#include <vector>

#include "image/checkpoints.h"
#include "image/plane.h"
#include "image/rect.h"
#include "image/text_line.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// A bitmap of 24 bits a pixel as decoders give it: the bottom row first, rows `pitch` bytes apart,
// blue before green before red.
struct source_bitmap {
    std::int32_t width = 0;
    std::int32_t height = 0;
    const std::uint8_t* bits = nullptr;
    std::int32_t pitch = 0;
};

struct image_test {
    std::u16string name;
    std::int32_t score;
};

// What a run gives to its caller.
struct engine_result {
    std::vector<image_test> tests;
    std::vector<std::string> signatures;
};

using level_counters = std::array<std::uint32_t, 256>;
using level_flags = std::array<bool, 256>;

// Why a run ended early; kept for inspection only.
enum stop : std::int32_t {
    no_stop = 0,
    picture_too_small = 1,
    flat_histogram = 2,
    crop_too_small = 101,
    few_segments = 102,
    rotated_crop_too_small = 103,
    few_rotated_segments = 104,
    few_regions = 105,
    few_raw_lines = 201,
    little_background = 202,
};

// How lines were put right, as flags.
enum correction : std::int32_t {
    magic_1_3_correction = 0x01,
    magic_1_4_correction = 0x02,
    corrected_lines = 0x04,
    corrected_lines_2 = 0x08,
    correctable_line_2 = 0x10,
};

// Finds lines of printed text in one picture without reading them: where text stands, how large its
// words are, how the picture is laid out. The record of one run, on which every stage works.
// Belongs to one call; no two runs share anything.
struct text_engine {
    static constexpr std::int32_t pixel_step = 3;
    static constexpr std::int32_t red_index = 2;
    static constexpr std::int32_t green_index = 1;
    static constexpr std::int32_t blue_index = 0;

    // `frames` are the places of an animation's frames on its canvas, none for a still picture.
    // The bits and the frames are borrowed until run() has returned.
    explicit text_engine(const source_bitmap& bitmap, std::span<const rect> animation_frames = {},
                         checkpoint_hook* hook = nullptr);

    // Goes through all stages and adds to `result`. Once in the life of an engine.
    void run(engine_result& result);

    void stop_with(stop code) {
        keep_going = false;
        stop_code = code;
    }

    plane mean_plane;  // (red + green + blue) / 3
    level_flags background_levels{};
    std::int32_t width;
    std::int32_t height;
    plane pp_plane;  // with stretched contrast, cleaned of specks
    rect crop;       // what is still under consideration
    bool keep_going = true;
    std::int32_t stop_code = no_stop;
    source_bitmap source;
    std::span<const rect> frames;
    level_counters histogram{};  // of pp_plane
    std::uint8_t background_level = 0;
    std::int32_t covered_columns = 0;
    double segment_density = 0.0;
    double slope = 0.0;  // rows per column
    std::vector<rect> regions;
    std::int32_t region_area = 0;
    double region_density = 0.0;
    std::int32_t background_pixels = 0;
    double background_fraction = 0.0;
    std::list<text_line> lines;
    std::list<block> blocks;
    std::int32_t text_area = 0;
    double text_fraction = 0.0;
    std::int32_t valid_line_count = 0;
    std::int32_t valid_word_count = 0;
    bool corrected = false;
    std::int32_t correction_kinds = 0;
    std::int32_t score = 0;

    checkpoints checkpoint;
};

}  // namespace brindlemoss::analysis::plugins::image_analysis
