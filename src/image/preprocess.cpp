#include "image/preprocess.h"

#include <algorithm>
#include <cstdint>
#include <optional>

#include "image/animation.h"
#include "image/contrast.h"
#include "image/grey_levels.h"
#include "image/level_count.h"
#include "image/smoothing.h"

namespace brindlemoss::analysis::plugins::image_analysis {

void preprocess(text_engine& engine) {
    engine.crop = {0, 0, engine.width - 1, engine.height - 1};
    if (!is_large_enough(engine.width, engine.height)) {
        engine.stop_with(picture_too_small);
        return;
    }

    // The plane of the result holds the grey levels in between: that saves one more.
    plane& grey = engine.pp_plane;
    read_levels(engine.source, grey, engine.mean_plane);
    level_counters raw_histogram = count_levels(grey, engine.crop);
    engine.checkpoint("Histogram");
    if (!engine.frames.empty()) {
        fill_uncovered(engine.crop, engine.frames, grey, raw_histogram, engine.checkpoint);
    }

    const std::optional<level_table> table = contrast_table(raw_histogram, engine.checkpoint);
    if (!table) {
        std::fill(grey.levels.begin(), grey.levels.end(), std::uint8_t{0});
        engine.stop_with(flat_histogram);
        return;
    }
    engine.histogram = mapped(raw_histogram, *table);
    engine.background_level = most_frequent_level(engine.histogram);
    engine.checkpoint("Histogram 2");
    smooth_and_map(grey, *table);
    engine.checkpoint("image-pp.raw");
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
