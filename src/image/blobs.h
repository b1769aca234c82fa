#pragma once

#include <cstdint>
#include <vector>

#include "image/background_map.h"
#include "image/rect.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// The boxes of the sets of foreground pixels within `band` that hang together, also at corners, and
// are at least `lowest` rows high: in order of left, then top. The cost is about linear in the
// stretches of foreground.
std::vector<rect> find_blobs(const background_map& background, const rect& band,
                             std::int32_t lowest);

}  // namespace brindlemoss::analysis::plugins::image_analysis
