#include "image/flat_bands.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>

#include "image/layout_lines.h"
#include "image/level_count.h"
#include "image/uniform_area.h"

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

level_counters count_bands(const plane& levels, const rect& area,
                           const std::vector<stretch>& bands) {
    level_counters sum{};
    for (const stretch& band : bands) {
        const level_counters counts =
            count_levels(levels, {area.left, band.first, area.right, band.last});
        for (std::size_t level = 0; level < sum.size(); ++level) sum[level] += counts[level];
    }
    return sum;
}

level_flags flags_of(const background_range& range) {
    constexpr int near = 8;
    level_flags is_background{};
    for (int level = 0; level < 256; ++level) {
        is_background[static_cast<std::size_t>(level)] =
            std::abs(level - range.low) <= near || std::abs(level - range.high) <= near;
    }
    return is_background;
}

std::vector<rect> between_bands(const rect& area, const std::vector<stretch>& bands) {
    std::vector<rect> pieces;
    rect piece = area;
    for (const stretch& band : bands) {
        piece.bottom = band.first - 1;
        pieces.push_back(piece);
        piece.top = band.last + 1;
    }
    piece.bottom = area.bottom;
    pieces.push_back(piece);
    return pieces;
}

}  // namespace

std::vector<stretch> find_flat_bands(const plane& levels, const rect& area) {
    std::vector<stretch> bands;
    std::optional<std::int32_t> rough;
    for (std::int32_t y = area.top; y <= area.bottom; ++y) {
        if (is_flat_row(levels, y, area.left, area.right)) continue;
        if (rough && y - *rough > widest_leading) bands.push_back({*rough + 1, y - 1});
        rough = y;
    }
    return bands;
}

background_range find_background(const level_counters& counts) {
    constexpr std::uint64_t nearly_all = 99;  // percent
    constexpr int most_steps = 12;
    std::uint64_t total = 0;
    for (const std::uint32_t count : counts) total += count;
    const auto is_covered_by = [&](std::uint64_t covered) {
        return covered * 100 >= nearly_all * total;
    };

    const std::uint8_t first = most_frequent_level(counts);
    if (is_covered_by(counts[first])) return {first, first};
    level_counters others = counts;
    others[first] = 0;
    const std::uint8_t second = most_frequent_level(others);

    std::size_t low = std::min(first, second);
    std::size_t high = std::max(first, second);
    std::uint64_t covered = 0;
    for (std::size_t level = low; level <= high; ++level) covered += counts[level];
    for (int steps = 0; steps < most_steps && !is_covered_by(covered); ++steps) {
        const bool downward = high == 255 || (low > 0 && counts[low - 1] > counts[high + 1]);
        covered += downward ? counts[--low] : counts[++high];
    }
    return {static_cast<std::uint8_t>(low), static_cast<std::uint8_t>(high)};
}

std::optional<layout_context> scan_flat_bands(const plane& levels, const rect& area) {
    const std::vector<stretch> bands = find_flat_bands(levels, area);
    if (bands.empty()) return std::nullopt;
    layout_context found;
    const background_range range = find_background(count_bands(levels, area, bands));
    found.background = background_map(levels, flags_of(range));
    found.areas = areas_of_leaves(found.background,
                                  cut_into_leaves(found.background, between_bands(area, bands)));
    if (found.areas.empty()) return std::nullopt;
    return found;
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
