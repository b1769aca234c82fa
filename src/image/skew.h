#pragma once

#include "image/row_segments.h"
#include "image/text_engine.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// Measures how the upper and the lower edge of the text slope. Sets `slope` where the two agree and
// leaves it alone otherwise.
void estimate_skew(text_engine& engine, const row_segments& segments);

// Shears `pp_plane` back by `slope`: columns up or down, then rows left or right. What comes in
// from outside, and the outermost row or column that would still have a source, becomes
// `background_level`. Grows the crop by what the shear may have moved out of it.
void correct_skew(text_engine& engine);

}  // namespace brindlemoss::analysis::plugins::image_analysis
