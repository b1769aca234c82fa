#pragma once

#include "image/text_engine.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// Decides from the profiles of rows alone whether the preprocessed picture holds text, and where:
// cuts margins off, puts slanted text straight, wipes thin strokes out of `pp_plane`, and leaves
// the rectangles that lines of text may stand in as `regions`. Stops the engine where there is too
// little text to go on; a photograph costs a scan of every fourth row.
void find_text_regions(text_engine& engine);

}  // namespace brindlemoss::analysis::plugins::image_analysis
