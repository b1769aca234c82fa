#pragma once

#include "image/plane.h"
#include "image/text_engine.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// Fills two planes of the bitmap's size from its colours, the top row first: `grey` with the
// weighted brightness (151 G + 28 B + 77 R) / 256, `mean` with the plain mean of the three, both
// truncated.
void read_levels(const source_bitmap& bitmap, plane& grey, plane& mean);

}  // namespace brindlemoss::analysis::plugins::image_analysis
