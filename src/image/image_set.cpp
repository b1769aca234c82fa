#include "image/image_set.h"

#include <algorithm>
#include <array>
#include <utility>

#include "image/frame_combination.h"
#include "image/picture_guard.h"
#include "image/puzzle.h"

namespace brindlemoss::analysis::plugins::image_analysis {

using replay::internet::message2::part;
using replay::internet::message2::part_map;

namespace {

constexpr std::string_view image_type = "image/";
constexpr std::size_t fewest_tiles = 3;

// "jepg" is what senders write.
constexpr std::array<std::string_view, 5> decoded_subtypes = {"gif", "png", "jpg", "jpeg", "jepg"};
constexpr std::array<std::string_view, 3> skipped_subtypes = {"bmp", "tiff", "html"};

template <std::size_t size>
bool contains(const std::array<std::string_view, size>& list, std::string_view text) {
    return std::find(list.begin(), list.end(), text) != list.end();
}

image_parts find_images(part& root) {
    part_map found;
    root.flatten(found, image_type, false);
    image_parts images;
    images.reserve(found.size());
    for (const auto& [level, entry] : found) images.push_back(entry.item);
    return images;
}

bool is_decoded(const part& image, image_set& images) {
    const std::string_view subtype = std::string_view(image.content_type).substr(image_type.size());
    if (contains(decoded_subtypes, subtype)) return true;
    images.notes |= contains(skipped_subtypes, subtype) ? skipped_subtype : unknown_subtype;
    return false;
}

// The picture with 24 bits, or none. Fills the frames of an animation.
bitmap load(const encoded_picture& source, const admitted_picture& admitted,
            const decoding_budget& budget, image_set& images, std::vector<rect>& frames) {
    if (admitted.frames > 1) {
        combined_frames combined = combine_frames(source, admitted.canvas, budget);
        if (combined.page_count > 1) images.notes |= multi_page;
        if (combined.was_chosen) images.notes |= frame_chosen;
        frames = std::move(combined.frames);
        if (combined.picture || combined.ran_over) return std::move(combined.picture);
    }
    return source.load().to_24_bits();
}

}  // namespace

void decode_picture(std::size_t place, std::string_view bytes, const picture_decoder& decoder,
                    decoding_budget& budget, image_set& images) {
    const picture_format format = format_of(bytes);
    if (format == picture_format::unknown || format == picture_format::other) {
        images.load_errors |=
            format == picture_format::unknown ? unknown_file_type : unwanted_file_type;
        return;
    }
    if (!decoder.is_ready()) return;  // no fault of the picture, and the log tells it
    budget.begin_picture();
    const std::optional<admitted_picture> admitted = admit(format, bytes);
    bitmap picture;
    std::vector<rect> frames;
    if (admitted && budget.has_room_for(admitted->canvas)) {
        const encoded_picture source(format, admitted->bytes);
        picture = load(source, *admitted, budget, images, frames);
    }
    if (!picture || !budget.has_room_for(admitted->canvas)) {
        images.load_errors |= no_bitmap;
    } else if (!picture.has_24_bits()) {
        images.load_errors |= not_24_bits;
    } else if (picture.width() == 0 || picture.height() == 0) {
        images.notes |= empty_bitmap;
    } else {
        budget.hold(admitted->canvas);
        if (!frames.empty()) images.frame_rects[place] = std::move(frames);
        images.bitmaps[place] = std::move(picture);
    }
}

image_set build_image_set(part& root, std::optional<picture_decoder>& decoder,
                          decoding_budget budget) {
    image_set images;
    const image_parts parts = find_images(root);
    if (parts.empty()) images.notes |= no_images;
    if (parts.size() > 1) images.notes |= several_images;
    for (std::size_t place = 0; place < parts.size(); ++place) {
        if (!is_decoded(*parts[place], images)) continue;
        if (!decoder) decoder.emplace();
        decode_picture(place, parts[place]->body, *decoder, budget, images);
    }
    if (images.bitmaps.size() >= fewest_tiles && images.load_errors == 0) {
        check_puzzle(root, parts, images);
    }
    return images;
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
