#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string_view>
#include <vector>

#include "image/bitmap.h"
#include "image/decoding_budget.h"
#include "image/rect.h"
#include "message/part.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// What went wrong with the pictures of a message, as flags.
enum load_error : std::uint32_t {
    unknown_file_type = 1,
    unwanted_file_type = 2,  // a picture, but neither GIF nor PNG nor JPEG
    no_bitmap = 4,           // broken, refused or beyond the budget
    not_24_bits = 8,
    reserved_error = 16,  // never set, but looked for with the two above
};

// What was met on the way, as flags.
enum note : std::uint32_t {
    no_images = 0x1,
    unknown_subtype = 0x2,
    several_images = 0x4,
    multi_page = 0x8,
    frame_chosen = 0x10,
    puzzle_assembled = 0x20,
    puzzle_without_html = 0x40,
    puzzle_with_several_html = 0x80,
    puzzle_in_table = 0x100,
    puzzle_without_identifiers = 0x200,
    puzzle_count_differs = 0x400,
    puzzle_tile_missing = 0x800,
    empty_bitmap = 0x1000,
    skipped_subtype = 0x2000,
};

// The image parts of a message in the order in which it is flattened. All else names a part by its
// place here, so that the order of maps is the same on every run.
using image_parts = std::vector<replay::internet::message2::part*>;

// The pictures of one message.
struct image_set {
    std::map<std::size_t, bitmap> bitmaps;  // of 24 bits, by part
    std::vector<std::size_t> puzzle_parts;  // as the HTML names them; a part may occur repeatedly
    std::uint32_t load_errors = 0;          // load_error
    std::uint32_t notes = 0;                // note
    std::map<std::size_t, std::vector<rect>> frame_rects;  // by part: the frames on a canvas
};

// Decodes one picture into `images` under `place`, or sets the flags that tell why not. `decoder`
// need not be ready; the bytes are borrowed for the call.
void decode_picture(std::size_t place, std::string_view bytes, const picture_decoder& decoder,
                    decoding_budget& budget, image_set& images);

// Decodes all image parts below `root` and puts a picture together that was cut into tiles. The
// decoder is made when the first picture wants it, and must outlive the set. Whatever the pictures
// hold, nothing is thrown but std::bad_alloc.
image_set build_image_set(replay::internet::message2::part& root,
                          std::optional<picture_decoder>& decoder,
                          decoding_budget budget = decoding_budget());

}  // namespace brindlemoss::analysis::plugins::image_analysis
