#pragma once

#include <cstdint>

#include "image/plane.h"
#include "image/rect.h"
#include "image/text_engine.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// How often each level stands in `area`, which lies within the plane.
level_counters count_levels(const plane& levels, const rect& area);

// Of several, the lowest.
std::uint8_t most_frequent_level(const level_counters& counts);

}  // namespace brindlemoss::analysis::plugins::image_analysis
