#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "image/checkpoints.h"

namespace brindlemoss::analysis::plugins::image_analysis {

struct edge_point {
    std::int32_t x;
    std::int32_t y;
};

// The slope, in rows per column, of the longest straight stretch along points that ascend in x.
// 0.0 where there are too few of them, or too few that lie steadily. `label` names the points to
// the hook. The cost is about linear in the points.
double slope_of_edge(const std::vector<edge_point>& points, std::string_view label,
                     const checkpoints& checkpoint);

}  // namespace brindlemoss::analysis::plugins::image_analysis
