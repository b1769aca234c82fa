#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "image/background_map.h"
#include "image/layout_context.h"
#include "image/plane.h"
#include "image/rect.h"
#include "image/text_engine.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// The layout scan's first strategy: uniform rows between the paragraphs tell what the background
// is.

// The rows between two that are not uniform and lie far apart, from top to bottom.
std::vector<stretch> find_flat_bands(const plane& levels, const rect& area);

// The background lies near either of the two levels.
struct background_range {
    std::uint8_t low;
    std::uint8_t high;

    friend bool operator==(const background_range&, const background_range&) = default;
};

// `counts` are of the pixels of the bands, at least one.
background_range find_background(const level_counters& counts);

// Nothing where the strategy fails.
std::optional<layout_context> scan_flat_bands(const plane& levels, const rect& area);

}  // namespace brindlemoss::analysis::plugins::image_analysis
