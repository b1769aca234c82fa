#pragma once

#include "image/plane.h"
#include "image/rect.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// What is left of `area` without the frame around a picture that is nearly all of one level: up to
// 20 rows or columns on each side in which that level is rare. `area` is more than 40 rows and
// columns large and lies within the plane.
rect strip_frame(const plane& levels, const rect& area);

// What is left of `area` without uniform rows, then columns, at its edges. Nothing may be left:
// then an edge stands one beyond the edge that it faces.
//
// The walks down and to the right end where the coordinate reaches the height or width of `area`,
// so that an area away from the plane's corner may keep margins at its far end. Signatures depend
// on that.
rect strip_lasso(const plane& levels, const rect& area);

}  // namespace brindlemoss::analysis::plugins::image_analysis
