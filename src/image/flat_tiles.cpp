#include "image/flat_tiles.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "image/layout_lines.h"

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

constexpr std::int32_t tile_side = 11;

using word = std::uint64_t;

word word_at(const std::uint8_t* pixels) {
    word read;
    std::memcpy(&read, pixels, sizeof read);
    return read;
}

bool is_of_one_level(const plane& levels, std::int32_t left, std::int32_t top) {
    // A row of a tile is read as two overlapping words.
    constexpr std::int32_t second_word = tile_side - static_cast<std::int32_t>(sizeof(word));
    const word expected = levels.at(left, top) * (~word{0} / 255);
    for (std::int32_t y = top; y < top + tile_side; ++y) {
        const std::uint8_t* const row = levels.row(y) + left;
        if (word_at(row) != expected || word_at(row + second_word) != expected) return false;
    }
    return true;
}

// The one level of a tile that is not among the known ones, if there is exactly one.
std::optional<std::uint8_t> stray_level(const plane& levels, std::int32_t left, std::int32_t top,
                                        const level_flags& known) {
    std::optional<std::uint8_t> stray;
    for (std::int32_t y = top; y < top + tile_side; ++y) {
        const std::uint8_t* const row = levels.row(y) + left;
        for (std::int32_t x = 0; x < tile_side; ++x) {
            if (known[row[x]]) continue;
            if (stray && *stray != row[x]) return std::nullopt;
            stray = row[x];
        }
    }
    return stray;
}

// Lines by clear rows alone.
std::vector<scan_area> find_tile_lines(const background_map& background, const rect& area) {
    constexpr std::int32_t lowest_line = 5;
    std::vector<scan_area> lines;
    for (const stretch& rows : background.rows(area, 0)) {
        scan_area line;
        line.box = {area.left, rows.first, area.right, rows.last};
        if (rows.length() >= lowest_line && background.trim_columns(line.box) &&
            width_of(line.box) >= narrowest_area) {
            lines.push_back(std::move(line));
        }
    }
    return lines;
}

}  // namespace

level_counters count_stray_levels(const plane& levels) {
    struct tile {
        std::int32_t left, top;
    };
    level_flags known{};
    std::vector<tile> mixed;
    for (std::int32_t top = 0; top + tile_side <= levels.height; top += tile_side) {
        for (std::int32_t left = 0; left + tile_side <= levels.width; left += tile_side) {
            if (is_of_one_level(levels, left, top)) {
                known[levels.at(left, top)] = true;
            } else {
                mixed.push_back({left, top});
            }
        }
    }
    level_counters counts{};
    for (const tile& place : mixed) {
        const std::optional<std::uint8_t> stray = stray_level(levels, place.left, place.top, known);
        if (stray) ++counts[*stray];
    }
    return counts;
}

std::optional<layout_context> scan_flat_tiles(const plane& levels, const rect& area) {
    constexpr std::uint32_t enough_tiles = 25;
    constexpr std::size_t fewest_lines = 6;
    const level_counters counts = count_stray_levels(levels);
    if (*std::max_element(counts.begin(), counts.end()) < enough_tiles) return std::nullopt;
    level_flags is_background{};
    for (std::size_t level = 0; level < counts.size(); ++level) {
        is_background[level] = counts[level] < enough_tiles;
    }
    layout_context found;
    found.background = background_map(levels, is_background);
    std::vector<scan_area> lines = find_tile_lines(found.background, area);
    if (lines.size() < fewest_lines) return std::nullopt;
    found.areas = group_into_areas(std::move(lines));
    found.colour_mode = true;
    return found;
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
