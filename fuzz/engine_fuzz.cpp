// A picture straight to the search for text: two bytes each for width and height, low byte first,
// then grey levels from the bottom row on, begun again where they end. Sides are cut so that a run
// stays short.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "image/text_engine.h"

namespace {

using namespace brindlemoss::analysis::plugins::image_analysis;

constexpr std::int32_t most_pixels = 200'000;

std::int32_t number_at(const std::uint8_t* data) {
    return data[0] + 256 * data[1];
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t head = 4;
    if (size <= head) return -1;
    const std::int32_t width = std::clamp(number_at(data), 1, 65'535);
    const std::int32_t height = std::clamp(number_at(data + 2), 1, most_pixels / width + 1);

    const std::int32_t pitch = (3 * width + 3) / 4 * 4;
    std::vector<std::uint8_t> bits(static_cast<std::size_t>(pitch) * height);
    std::size_t next = head;
    for (std::int32_t y = 0; y < height; ++y) {
        for (std::int32_t x = 0; x < width; ++x) {
            std::fill_n(bits.begin() + std::ptrdiff_t{y} * pitch + 3 * x, 3, data[next]);
            if (++next == size) next = head;
        }
    }
    engine_result result;
    text_engine({width, height, bits.data(), pitch}).run(result);
    return 0;
}
