#pragma once

#include "image/contrast.h"
#include "image/plane.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// Limits each level to what its neighbours span, as they were before, which removes lone specks,
// and writes what the table makes of it.
//
// The neighbours are looked at clockwise from the top left. One below all before it is the minimum
// from there on and is no candidate for the maximum; so the maximum is 0 where each is below the
// one before it. This shows in the outcome and is relied upon.
void smooth_and_map(plane& levels, const level_table& table);

}  // namespace brindlemoss::analysis::plugins::image_analysis
