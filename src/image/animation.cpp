#include "image/animation.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "image/level_count.h"

namespace brindlemoss::analysis::plugins::image_analysis {

namespace {

// Appends what is left of `area`.
void subtract(const rect& frame, const rect& area, std::vector<rect>& remaining) {
    if (!touch(frame, area)) {
        remaining.push_back(area);
        return;
    }
    rect beside = area;
    if (frame.top > area.top) {
        remaining.push_back({area.left, area.top, area.right, frame.top - 1});
        beside.top = frame.top;
    }
    if (frame.bottom < area.bottom) {
        remaining.push_back({area.left, frame.bottom + 1, area.right, area.bottom});
        beside.bottom = frame.bottom;
    }
    if (frame.left > area.left && beside.top <= beside.bottom) {
        beside.right = frame.left - 1;
        remaining.push_back(beside);
    }
}

}  // namespace

std::vector<rect> uncovered_areas(const rect& canvas, std::span<const rect> frames) {
    std::vector<rect> uncovered{canvas};
    std::vector<rect> remaining;
    for (const rect& frame : frames) {
        if (width_of(frame) <= 0 || height_of(frame) <= 0) continue;
        remaining.clear();
        for (const rect& area : uncovered) subtract(frame, area, remaining);
        uncovered.swap(remaining);
    }
    return uncovered;
}

void fill_uncovered(const rect& canvas, std::span<const rect> frames, plane& grey,
                    level_counters& histogram, const checkpoints& checkpoint) {
    for (const rect& frame : frames) checkpoint("Animation frame", frame);
    const std::vector<rect> uncovered = uncovered_areas(canvas, frames);
    if (uncovered.empty()) return;
    checkpoint("Uncovered", uncovered);

    const std::uint8_t fill = most_frequent_level(histogram);
    level_counters corrected = histogram;
    std::uint32_t filled = 0;
    for (const rect& area : uncovered) {
        const level_counters lost = count_levels(grey, area);
        for (std::size_t level = 0; level < lost.size(); ++level) corrected[level] -= lost[level];
        for (std::int32_t y = area.top; y <= area.bottom; ++y) {
            std::fill_n(grey.row(y) + area.left, width_of(area), fill);
        }
        filled += static_cast<std::uint32_t>(area_of(area));
    }
    checkpoint("Uncovered histogram");
    checkpoint("Corrected histogram");
    corrected[fill] += filled;
    histogram = corrected;
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
