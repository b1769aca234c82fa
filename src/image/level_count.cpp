#include "image/level_count.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

using eight_pixels = std::uint64_t;
constexpr std::int32_t step = sizeof(eight_pixels);

eight_pixels eight_at(const std::uint8_t* pixels) {
    eight_pixels read;
    std::memcpy(&read, pixels, step);
    return read;
}

// Counts eight pixels at a time, and the same eight only once with the number of their repeats:
// pages are mostly paper.
class level_counter {
public:
    void add_row(const std::uint8_t* pixels, std::int32_t count) {
        const std::uint8_t* const end = pixels + count;
        while (end - pixels >= step) {
            const std::uint8_t* const first = pixels;
            const eight_pixels repeated = eight_at(first);
            do {
                pixels += step;
            } while (end - pixels >= step && eight_at(pixels) == repeated);
            add_eight(first, static_cast<std::uint32_t>((pixels - first) / step));
        }
        for (; pixels < end; ++pixels) ++tables_[0][*pixels];
    }

    level_counters sum() const {
        level_counters result{};
        for (const level_counters& counts : tables_) {
            for (std::size_t level = 0; level < result.size(); ++level) {
                result[level] += counts[level];
            }
        }
        return result;
    }

private:
    void add_eight(const std::uint8_t* pixels, std::uint32_t repeats) {
        for (std::size_t place = 0; place < step; ++place) {
            tables_[place % tables_.size()][pixels[place]] += repeats;
        }
    }

    // A counter that was just written is slow to read again, and neighbours are often equal.
    std::array<level_counters, 4> tables_{};
};

}  // namespace

level_counters count_levels(const plane& levels, const rect& area) {
    level_counter counter;
    for (std::int32_t y = area.top; y <= area.bottom; ++y) {
        counter.add_row(levels.row(y) + area.left, area.right - area.left + 1);
    }
    return counter.sum();
}

std::uint8_t most_frequent_level(const level_counters& counts) {
    return static_cast<std::uint8_t>(std::max_element(counts.begin(), counts.end()) -
                                     counts.begin());
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
