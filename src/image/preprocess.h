#pragma once

#include "image/text_engine.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// The first stage of a run: reads the bitmap into the mean plane and into the plane on which text
// is looked for, with the parts of an animation's canvas that no frame painted made even, contrast
// stretched and specks removed. Sets the crop to the whole picture, the histogram and the level of
// the background. Both planes must have the size of the picture and be all zero.
//
// Stops the run on a picture that is too small (the planes stay as they are) or of one level (only
// the mean plane is filled then).
void preprocess(text_engine& engine);

}  // namespace brindlemoss::analysis::plugins::image_analysis
