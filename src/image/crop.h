#pragma once

#include "image/plane.h"
#include "image/rect.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// `crop` without its uniform margins: rows and columns are taken off the edges by turns until
// nothing changes or what is left is too low or too narrow to go on. At least one row and one
// column stay.
rect trim_crop(const plane& levels, rect crop);

}  // namespace brindlemoss::analysis::plugins::image_analysis
