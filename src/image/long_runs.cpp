#include "image/long_runs.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "image/background.h"
#include "image/layout_lines.h"

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

level_flags levels_in_long_runs(const plane& levels, const rect& area) {
    constexpr std::uint32_t few_pixels = 500;
    const level_counters counts = count_flat_runs(levels, area);
    level_flags is_background{};
    for (std::size_t level = 0; level < counts.size(); ++level) {
        is_background[level] = counts[level] > few_pixels;
    }
    return is_background;
}

// What rows without text leave of the area; nothing if its text is too low altogether.
std::vector<rect> text_pieces(const background_map& background, const rect& area) {
    const std::vector<stretch> rows = background.rows(area, widest_leading);
    std::vector<rect> pieces;
    if (rows.empty() || rows.back().last - rows.front().first + 1 < lowest_area) return pieces;
    for (const stretch& piece : rows) {
        pieces.push_back({area.left, piece.first, area.right, piece.last});
    }
    return pieces;
}

}  // namespace

std::optional<layout_context> scan_long_runs(const plane& levels, const rect& area) {
    const level_flags is_background = levels_in_long_runs(levels, area);
    // Without background the whole area would be one line: too few.
    if (std::find(is_background.begin(), is_background.end(), true) == is_background.end()) {
        return std::nullopt;
    }
    layout_context found;
    found.background = background_map(levels, is_background);
    std::vector<rect> leaves =
        cut_into_leaves(found.background, text_pieces(found.background, area));
    std::stable_sort(leaves.begin(), leaves.end(),
                     [](const rect& a, const rect& b) { return a.top < b.top; });
    found.areas = areas_of_leaves(found.background, leaves);
    if (found.areas.empty()) return std::nullopt;
    return found;
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
