#include "image/row_profile.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>

namespace brindlemoss::analysis::plugins::image_analysis {

row_profile row_projection(const plane& levels, const level_flags& background, const rect& area) {
    std::array<std::int32_t, 256> ink{};
    for (std::size_t level = 0; level < ink.size(); ++level) ink[level] = background[level] ? 0 : 1;
    row_profile profile;
    for (std::int32_t y = area.top; y <= area.bottom; ++y) {
        const std::uint8_t* const row = levels.row(y);
        std::int32_t pixels = 0;
        for (std::int32_t x = area.left; x <= area.right; ++x) pixels += ink[row[x]];
        profile.push_back(pixels);
    }
    return profile;
}

std::int32_t true_midline(const row_profile& profile, std::int32_t midline) {
    constexpr std::int32_t reach = 2;
    const std::int32_t last =
        std::min(midline + reach, static_cast<std::int32_t>(profile.size()) - 1);
    std::int32_t best = midline;
    for (std::int32_t row = std::max(midline - reach, 0); row <= last; ++row) {
        if (profile[row] < profile[best]) best = row;
    }
    return best;
}

std::vector<row_range> cut_rows(std::int32_t rows, std::span<const std::int32_t> cuts) {
    std::vector<row_range> pieces;
    std::int32_t first = 0;
    for (const std::int32_t cut : cuts) {
        pieces.push_back({first, cut - 1});
        first = cut;
    }
    pieces.push_back({first, rows - 1});
    return pieces;
}

row_profile normalised(const row_profile& profile, std::span<const row_range> pieces) {
    constexpr std::int32_t full = 100;
    row_profile result(profile.size(), full);
    for (const row_range& piece : pieces) {
        std::int32_t largest = 0;
        for (std::int32_t row = piece.first; row <= piece.last; ++row) {
            largest = std::max(largest, profile[row]);
        }
        for (std::int32_t row = piece.first; row <= piece.last; ++row) {
            result[row] = largest == 0 ? full : profile[row] * full / largest;
        }
    }
    return result;
}

std::optional<std::int32_t> waist_of(const row_profile& profile) {
    constexpr std::int32_t weak = 20;
    std::array<std::int32_t, 101> rows_with{};  // of the rows still looked at
    for (const std::int32_t value : profile) ++rows_with[value];
    const std::int32_t bottom = static_cast<std::int32_t>(profile.size()) - 1;
    std::int32_t a = 0, b = bottom;
    std::int32_t least = 0, most = 100;
    while (b - a > 1) {
        while (rows_with[least] == 0) ++least;
        if (profile[a] == least || profile[a] < weak) {
            --rows_with[profile[a++]];
        } else if (profile[b] == least || profile[b] < weak) {
            --rows_with[profile[b--]];
        } else {
            while (rows_with[most] == 0) --most;
            const bool falls_only = a == 0 && profile[a] == most;
            const bool rises_only = b == bottom && profile[b] == most;
            if (falls_only || rises_only) return std::nullopt;
            return least;
        }
    }
    return std::nullopt;
}

std::optional<std::int32_t> row_level(std::int32_t waist) {
    struct step {
        std::int32_t deepest;
        std::int32_t level;
    };
    constexpr step steps[] = {{15, 40}, {36, 45}, {51, 50}, {56, 55}};
    std::int32_t level = 60;
    for (const step& each : steps) {
        if (waist < each.deepest) {
            level = each.level;
            break;
        }
    }
    if (waist > level) return std::nullopt;
    return level;
}

std::vector<row_range> segments_above(const row_profile& profile, std::int32_t level) {
    std::vector<row_range> segments;
    const auto rows = static_cast<std::int32_t>(profile.size());
    for (std::int32_t row = 0; row < rows; ++row) {
        if (profile[row] <= level) continue;
        const std::int32_t first = row;
        while (row + 1 < rows && profile[row + 1] > level) ++row;
        if (row > first) segments.push_back({first, row});
    }
    return segments;
}

std::vector<row_range> combined(const std::vector<row_range>& segments, const rect& line,
                                const checkpoints& checkpoint) {
    constexpr std::int32_t long_enough = 3;
    std::vector<row_range> kept;
    for (std::size_t place = 0; place < segments.size(); ++place) {
        const row_range& segment = segments[place];
        const bool is_last = place + 1 == segments.size();
        if (segment.length() >= long_enough || (kept.empty() && is_last)) {
            kept.push_back(segment);
        } else if (kept.empty()) {
            kept.push_back({segment.first, segments[++place].last});
            checkpoint("Combine segments 1", part_of(line, kept.back()));
        } else {
            if (!is_last) checkpoint("Combine segments 2", part_of(line, segment));
            kept.back().last = segment.last;
            checkpoint(is_last ? "Combine segments 4" : "Combine segments 3",
                       part_of(line, kept.back()));
        }
    }
    return kept;
}

bool fit_height(const std::vector<row_range>& segments, std::int32_t height) {
    constexpr std::int32_t near = 2;
    for (const row_range& segment : segments) {
        const std::int32_t length = segment.length();
        if (std::abs(height - length) <= near) continue;
        if (3 * height < 2 * length || 3 * length < 2 * height) return false;
    }
    if (segments.size() != 2) return true;
    const auto [smaller, larger] = std::minmax({segments[0].length(), segments[1].length()});
    return larger < 2 * smaller;
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
