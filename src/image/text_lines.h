#pragma once

#include "image/text_engine.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// From the regions of a picture to its lines of text with their glyphs and words, in blocks. Stops
// the run where these are too few to be text. Throws std::bad_alloc.
void find_text_lines(text_engine& engine);

}  // namespace brindlemoss::analysis::plugins::image_analysis
