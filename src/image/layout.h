#pragma once

#include <string>
#include <vector>

#include "image/checkpoints.h"
#include "image/plane.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// The signatures of a picture's layout, whatever the search for text lines found: of its text if
// the scan finds enough, or else of the picture as such. In the order in which they are to be kept;
// none for small and for flat pictures. The cost is about linear in the pixels.
std::vector<std::string> make_layout_signatures(const plane& mean_plane,
                                                const checkpoints& checkpoint);

}  // namespace brindlemoss::analysis::plugins::image_analysis
