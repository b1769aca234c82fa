#pragma once

#include <span>
#include <vector>

#include "image/checkpoints.h"
#include "image/plane.h"
#include "image/rect.h"
#include "image/text_engine.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// What is left of a canvas when the frames are taken away one after the other: of each remaining
// rectangle that a frame meets or adjoins the band above it, the band below it and what lies to its
// left. What lies to the right of a frame counts as covered, though it is not. A frame may lie
// anywhere; one without pixels takes nothing away.
//
// The rectangles lie within the canvas and no two of them share a row, so that there is at most one
// more than twice as many as frames.
std::vector<rect> uncovered_areas(const rect& canvas, std::span<const rect> frames);

// Gives the uncovered areas of `grey` the most frequent level of its histogram (the lowest of
// several), as if that were the background, and puts the histogram right.
void fill_uncovered(const rect& canvas, std::span<const rect> frames, plane& grey,
                    level_counters& histogram, const checkpoints& checkpoint);

}  // namespace brindlemoss::analysis::plugins::image_analysis
