#pragma once

#include "image/row_segments.h"
#include "image/text_engine.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// Grows the segments of neighbouring rows together and leaves those rectangles that a line of text
// may have as `regions`, with `region_area` and `region_density`. Uses all segments up. The cost is
// about linear in the segments, whatever figure they form.
void build_regions(text_engine& engine, row_segments& segments);

}  // namespace brindlemoss::analysis::plugins::image_analysis
