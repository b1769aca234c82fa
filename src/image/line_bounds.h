#pragma once

#include "image/rect.h"
#include "image/text_engine.h"
#include "image/text_line.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// Gives each line of each block a bounding_box that ends in the middle of the gap to its neighbours
// and sorts the lines of each block in reading order.
//
// False as soon as lines are met that neither rows nor columns keep apart; the lines not yet
// reached then have no bounding_box.
bool bound_lines(text_engine& engine);

// The area within `limits` in which pixels may count to a line that stands at `box`: little more
// than the box, never less, and off the edges of a picture of that size.
rect fit_box(const rect& box, const rect& limits, std::int32_t picture_width,
             std::int32_t picture_height);

}  // namespace brindlemoss::analysis::plugins::image_analysis
