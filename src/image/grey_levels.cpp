#include "image/grey_levels.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace brindlemoss::analysis::plugins::image_analysis {

namespace {

constexpr std::size_t channels = text_engine::pixel_step;

// So many pixels are taken at a time. The loops below have fixed bounds and no branches, so that
// compilers make them into vector code.
constexpr std::size_t block_pixels = 32;
constexpr std::size_t block_bytes = channels * block_pixels;

using block = std::array<std::uint8_t, block_bytes>;

void interleave_halves(const std::uint8_t* __restrict from, std::uint8_t* __restrict to) {
    for (std::size_t index = 0; index < block_bytes / 2; ++index) {
        to[2 * index] = from[index];
        to[2 * index + 1] = from[block_bytes / 2 + index];
    }
}

// Each interleaving moves the byte at place i to 2 i modulo 95, so that five of them move it to
// 32 i: the bytes 0, 3, 6, ... to 0, 1, 2, ... and the other two channels behind them.
void separate_channels(const std::uint8_t* pixels, block& planes) {
    block other;
    interleave_halves(pixels, planes.data());
    interleave_halves(planes.data(), other.data());
    interleave_halves(other.data(), planes.data());
    interleave_halves(planes.data(), other.data());
    interleave_halves(other.data(), planes.data());
}

// Everything fits 16 bits: the weights come to 256, so the brightness to at most 65,280.
constexpr std::uint8_t brightness(unsigned red, unsigned green, unsigned blue) {
    const auto weighted = static_cast<std::uint16_t>(151 * green + 28 * blue + 77 * red);
    return static_cast<std::uint8_t>(weighted >> 8);
}

// A third in 16 bits: exact for every sum of three levels.
constexpr std::uint8_t third(unsigned sum) {
    const auto scaled = static_cast<std::uint16_t>(85 * sum + sum / 4 + 64);
    return static_cast<std::uint8_t>(scaled >> 8);
}

static_assert([] {
    unsigned sum = 0;
    while (sum <= 3 * 255 && third(sum) == sum / 3) ++sum;
    return sum > 3 * 255;
}());

void read_block(const std::uint8_t* pixels, std::uint8_t* __restrict grey,
                std::uint8_t* __restrict mean) {
    block planes;
    separate_channels(pixels, planes);
    const std::uint8_t* const red = planes.data() + text_engine::red_index * block_pixels;
    const std::uint8_t* const green = planes.data() + text_engine::green_index * block_pixels;
    const std::uint8_t* const blue = planes.data() + text_engine::blue_index * block_pixels;
    for (std::size_t x = 0; x < block_pixels; ++x) {
        grey[x] = brightness(red[x], green[x], blue[x]);
        mean[x] = third(static_cast<std::uint16_t>(red[x] + green[x] + blue[x]));
    }
}

void read_row(const std::uint8_t* pixels, std::size_t width, std::uint8_t* grey,
              std::uint8_t* mean) {
    std::size_t x = 0;
    for (; x + block_pixels <= width; x += block_pixels) {
        const std::uint8_t* const here = pixels + channels * x;
        if (x > 0 && std::memcmp(here, here - block_bytes, block_bytes) == 0) {  // as on paper
            std::memcpy(grey + x, grey + x - block_pixels, block_pixels);
            std::memcpy(mean + x, mean + x - block_pixels, block_pixels);
        } else {
            read_block(here, grey + x, mean + x);
        }
    }
    if (x == width) return;
    block rest{};
    std::array<std::uint8_t, block_pixels> rest_grey;
    std::array<std::uint8_t, block_pixels> rest_mean;
    std::memcpy(rest.data(), pixels + channels * x, channels * (width - x));
    read_block(rest.data(), rest_grey.data(), rest_mean.data());
    std::memcpy(grey + x, rest_grey.data(), width - x);
    std::memcpy(mean + x, rest_mean.data(), width - x);
}

}  // namespace

void read_levels(const source_bitmap& bitmap, plane& grey, plane& mean) {
    const auto width = static_cast<std::size_t>(bitmap.width);
    for (std::int32_t y = 0; y < bitmap.height; ++y) {
        const auto source_row = static_cast<std::ptrdiff_t>(bitmap.height - y - 1);
        read_row(bitmap.bits + source_row * bitmap.pitch, width, grey.row(y), mean.row(y));
    }
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
