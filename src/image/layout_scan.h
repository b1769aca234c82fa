#pragma once

#include "image/checkpoints.h"
#include "image/layout_context.h"
#include "image/plane.h"
#include "image/rect.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// Areas, lines and words within `area`, by the first strategy that finds lines: flat bands, flat
// tiles, long runs. Without areas if none does.
layout_context find_layout(const plane& levels, const rect& area, const checkpoints& checkpoint);

}  // namespace brindlemoss::analysis::plugins::image_analysis
