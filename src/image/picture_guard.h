#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// Our own look at the bytes of a picture, ahead of the decoder: of its weaknesses most need a
// picture that says of itself what its bytes cannot hold, or parts of a file that have nothing to
// do with pixels. docs/security.md tells the reason of each bound.
namespace brindlemoss::analysis::plugins::image_analysis {

enum class picture_format {
    unknown,  // no signature that is known here
    other,    // a picture, but none that is decoded
    gif,
    png,
    jpeg,
};

// By the signature alone.
picture_format format_of(std::string_view bytes);

// A megapixel is a million.
inline constexpr std::uint64_t most_frame_pixels = 16'000'000;
inline constexpr std::uint64_t most_canvas_pixels = 16'000'000;   // that the frames span together
inline constexpr std::uint64_t most_picture_pixels = 64'000'000;  // over all frames
inline constexpr std::uint32_t most_frames = 256;

// The decoder walks all blocks of a GIF anew for every frame: blocks times frames.
inline constexpr std::uint64_t most_block_visits = 100'000'000;

// The scans of a JPEG go over all its pixels each: scans times pixels. Encoders write ten scans.
inline constexpr std::uint64_t most_scanned_pixels = 640'000'000;

// Of the filtered rows of a PNG: red, green and blue of 16 bits for a whole frame.
inline constexpr std::uint64_t most_png_row_bytes = 100'000'000;

// A deflate stream grows by no more than this, and no JPEG holds more pixels a byte.
inline constexpr std::uint64_t most_png_growth = 1032;
inline constexpr std::uint64_t most_jpeg_growth = 1000;

// What the decoder may be given.
struct admitted_picture {
    std::string bytes;         // with the same pixels as the original
    std::uint64_t pixels = 0;  // over all frames
    std::uint64_t canvas = 0;  // pixels that the frames span
    std::uint32_t frames = 1;
};

// Nothing for a picture that is not to be decoded: one beyond the bounds above, with a side of 0,
// or broken in a way in which the decoder gives no picture either. The format is that of the bytes
// and one of the three. Time and memory are linear in the size.
//
// A GIF comes back up to its end and without comments and other extensions that say nothing of a
// frame, a PNG without the ancillary chunks that have no say in its pixels
// and without all behind its picture data, a JPEG without the segments APPn and COM but for those
// that its colours depend on (JFIF, Adobe).
std::optional<admitted_picture> admit(picture_format format, std::string_view bytes);

}  // namespace brindlemoss::analysis::plugins::image_analysis
