// The bytes of one picture through the guard and the decoder to the set of pictures. The decoder is
// the distribution's, without instrumentation: what it does to memory shows in its own faults, in
// what the sanitizer sees of its allocations, and in what comes out here.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "image/image_set.h"
#include "support.h"

namespace {

using fuzz_support::require;
using namespace brindlemoss::analysis::plugins::image_analysis;

void check_guard(picture_format format, std::string_view bytes) {
    const auto admitted = admit(format, bytes);
    if (!admitted) return;
    require(admitted->bytes.size() <= bytes.size());
    require(admitted->frames >= 1 && admitted->frames <= most_frames);
    require(admitted->pixels >= 1 && admitted->pixels <= most_picture_pixels);
    // What was left out no longer counts for what the bytes can hold.
    const auto again = admit(format, admitted->bytes);
    require(!again || (again->bytes == admitted->bytes && again->pixels == admitted->pixels));
}

// Every pixel is there to be read.
void check_picture(const bitmap& picture) {
    require(picture.has_24_bits());
    const source_bitmap pixels = picture.pixels();
    require(pixels.width > 0 && pixels.height > 0 && pixels.pitch >= 3 * pixels.width);
    require(std::uint64_t(pixels.width) * std::uint64_t(pixels.height) <= most_canvas_pixels);
    const std::size_t size = std::size_t(pixels.pitch) * std::size_t(pixels.height);
    unsigned sum = 0;
    for (std::size_t at = 0; at < size; ++at) sum += pixels.bits[at];
    require(sum <= 255 * size);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const picture_decoder decoder;
    require(decoder.is_ready());
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    check_guard(format_of(bytes), bytes);

    image_set images;
    // Time stands still: what comes out must not depend on the machine.
    decoding_budget budget([] { return decoding_budget::clock::time_point(); });
    decode_picture(0, bytes, decoder, budget, images);
    require(images.bitmaps.size() + (images.load_errors != 0) +
                ((images.notes & empty_bitmap) != 0) ==
            1);
    for (const auto& [place, picture] : images.bitmaps) {
        check_picture(picture);
        for (const rect& each : images.frame_rects[place]) {
            require(each.left >= 0 && each.right < picture.width() && each.left <= each.right);
            require(each.top >= 0 && each.bottom < picture.height() && each.top <= each.bottom);
        }
    }
    return 0;
}
