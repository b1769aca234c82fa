#pragma once

#include "image/plane.h"
#include "image/rect.h"
#include "image/text_engine.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// Counts, for each level, the pixels of `area` that lie in runs of more than 25 equal pixels of a
// row. The last run of a row counts a pixel less than it has. The area lies within the plane.
level_counters count_flat_runs(const plane& levels, const rect& area);

// Marks the levels on which long flat runs cover more than 2.5 percent of the picture, and their
// neighbours; finds how much of the picture they are. From there on a pixel of pp_plane is
// foreground if its level is not marked. Needs pp_plane and its histogram.
void measure_background(text_engine& engine);

}  // namespace brindlemoss::analysis::plugins::image_analysis
