#include "image/layout_scan.h"

#include <optional>
#include <utility>

#include "image/flat_bands.h"
#include "image/flat_tiles.h"
#include "image/layout_words.h"
#include "image/long_runs.h"

namespace brindlemoss::analysis::plugins::image_analysis {

layout_context find_layout(const plane& levels, const rect& area, const checkpoints& checkpoint) {
    std::optional<layout_context> found = scan_flat_bands(levels, area);
    if (!found) found = scan_flat_tiles(levels, area);
    if (!found) found = scan_long_runs(levels, area);
    if (!found) return {};
    find_layout_words(*found, checkpoint);
    return std::move(*found);
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
