#pragma once

#include "image/checkpoints.h"
#include "image/plane.h"
#include "image/rect.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// Wipes dark strokes of two pixels that stand alone inside a lighter cell of 4x4 pixels, in the
// crop and a few pixels around it. Cells are visited row by row, and each sees what those before it
// wrote.
void clean_strokes(plane& levels, const rect& crop, const checkpoints& checkpoint);

}  // namespace brindlemoss::analysis::plugins::image_analysis
