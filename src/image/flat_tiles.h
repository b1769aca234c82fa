#pragma once

#include <optional>

#include "image/layout_context.h"
#include "image/plane.h"
#include "image/rect.h"
#include "image/text_engine.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// The layout scan's second strategy, for coloured and textured pictures: text is what many small
// tiles have on an otherwise known background.

// How many tiles of the plane have a level, and no other one, that fills no tile.
level_counters count_stray_levels(const plane& levels);

// Nothing where the strategy fails.
std::optional<layout_context> scan_flat_tiles(const plane& levels, const rect& area);

}  // namespace brindlemoss::analysis::plugins::image_analysis
