#include "image/contrast.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace brindlemoss::analysis::plugins::image_analysis {

namespace {

constexpr int highest_level = 255;

// Both figures are part of the outcome: pi has no more digits here.
constexpr double per_level = 0.00390625;
constexpr double pi = 3.14159265;

// No library's last bit matters: no value but the exact 0 and 128 comes near a whole number.
std::uint8_t along_the_wave(int level) {
    return static_cast<std::uint8_t>((std::sin((level * per_level - 0.5) * pi) + 1.0) * 128.0);
}

}  // namespace

std::optional<level_table> contrast_table(const level_counters& histogram,
                                          const checkpoints& checkpoint) {
    const auto used = [](std::uint32_t count) { return count != 0; };
    const auto lowest = std::find_if(histogram.begin(), histogram.end(), used);
    const auto behind_highest = std::find_if(histogram.rbegin(), histogram.rend(), used).base();
    if (behind_highest - lowest < 2) return std::nullopt;

    const auto lo = static_cast<int>(lowest - histogram.begin());
    const auto hi = static_cast<int>(behind_highest - histogram.begin()) - 1;
    level_table table{};
    for (int level = 0; level <= highest_level; ++level) {
        const int stretched = (std::clamp(level, lo, hi) - lo) * highest_level / (hi - lo);
        table[static_cast<std::size_t>(level)] = static_cast<std::uint8_t>(stretched);
    }
    checkpoint("Contrast 1");
    for (std::uint8_t& level : table) level = along_the_wave(level);
    checkpoint("Contrast 2");
    return table;
}

level_counters mapped(const level_counters& histogram, const level_table& table) {
    level_counters result{};
    for (std::size_t level = 0; level < table.size(); ++level) {
        result[table[level]] += histogram[level];
    }
    return result;
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
