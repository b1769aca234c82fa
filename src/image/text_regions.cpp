#include "image/text_regions.h"

#include <cmath>

#include "image/clean_strokes.h"
#include "image/crop.h"
#include "image/region_growth.h"
#include "image/row_scan.h"
#include "image/row_segments.h"
#include "image/skew.h"

namespace brindlemoss::analysis::plugins::image_analysis {

namespace {

constexpr double least_segment_density = 0.1;
constexpr double least_region_density = 0.1;
constexpr std::size_t fewest_regions = 2;
constexpr double steepest_straight_slope = 0.025;

bool crop_is_too_small(text_engine& engine) {
    engine.crop = trim_crop(engine.pp_plane, engine.crop);
    engine.checkpoint("Crop", engine.crop);
    return !is_large_enough(width_of(engine.crop), height_of(engine.crop));
}

bool segments_are_few(text_engine& engine, row_segments& segments) {
    scan_rows(engine, segments);
    return engine.segment_density < least_segment_density;
}

void straighten(text_engine& engine, row_segments& segments) {
    correct_skew(engine);
    engine.checkpoint("image-pp.raw");
    if (crop_is_too_small(engine)) return engine.stop_with(rotated_crop_too_small);
    segments.clear();
    if (segments_are_few(engine, segments)) engine.stop_with(few_rotated_segments);
}

}  // namespace

void find_text_regions(text_engine& engine) {
    if (crop_is_too_small(engine)) return engine.stop_with(crop_too_small);
    row_segments segments(engine.height);
    if (segments_are_few(engine, segments)) return engine.stop_with(few_segments);
    estimate_skew(engine, segments);
    if (std::abs(engine.slope) > steepest_straight_slope) straighten(engine, segments);
    if (!engine.keep_going) return;
    clean_strokes(engine.pp_plane, engine.crop, engine.checkpoint);
    engine.checkpoint("image-pp.raw");
    build_regions(engine, segments);
    if (engine.region_density < least_region_density || engine.regions.size() < fewest_regions) {
        engine.stop_with(few_regions);
    }
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
