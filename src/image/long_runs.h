#pragma once

#include <optional>

#include "image/layout_context.h"
#include "image/plane.h"
#include "image/rect.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// The layout scan's third strategy: levels that run along rows for long are the background. Nothing
// where it fails.
std::optional<layout_context> scan_long_runs(const plane& levels, const rect& area);

}  // namespace brindlemoss::analysis::plugins::image_analysis
