#include "image/background.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace brindlemoss::analysis::plugins::image_analysis {

namespace {

constexpr std::ptrdiff_t longest_ignored_run = 25;

// The first pixel at or behind `from` that is not of `level`, or `end`.
const std::uint8_t* end_of_run(const std::uint8_t* from, const std::uint8_t* end,
                               std::uint8_t level) {
    constexpr std::ptrdiff_t step = sizeof(std::uint64_t);
    const std::uint64_t pattern = level * 0x0101010101010101u;
    const auto differs = [&](const std::uint8_t* place) {
        std::uint64_t pixels;
        std::memcpy(&pixels, place, step);
        return pixels ^ pattern;
    };
    while (end - from >= 4 * step && (differs(from) | differs(from + step) |
                                      differs(from + 2 * step) | differs(from + 3 * step)) == 0) {
        from += 4 * step;
    }
    while (end - from >= step && differs(from) == 0) from += step;
    while (from != end && *from == level) ++from;
    return from;
}

// A run that counts holds the pixel 25 behind its beginning; from one of another run the search
// goes back to where that run begins. Most pixels between short runs are never looked at.
void count_runs_of_row(const std::uint8_t* row, const std::uint8_t* end, level_counters& counters) {
    const std::uint8_t* start = row;  // of the run that is looked at
    const std::uint8_t* known = row;  // the last pixel known to be in it
    while (end - start > longest_ignored_run) {
        const std::uint8_t* probe = start + longest_ignored_run;
        const std::uint8_t level = *probe;
        const std::uint8_t* run = probe;
        while (run > known && run[-1] == level) --run;
        if (run > known) {
            start = run;
            known = probe;
            continue;
        }
        const std::uint8_t* const run_end = end_of_run(probe, end, level);
        const std::ptrdiff_t length = (run_end == end ? end - 1 : run_end) - start;
        if (length > longest_ignored_run) counters[level] += static_cast<std::uint32_t>(length);
        start = known = run_end;
    }
}

// Marks every level less than 17 away from a marked one.
level_flags dilated(const level_flags& marked) {
    constexpr int radius = 16;
    level_flags result{};
    for (int level = 0; level < 256; ++level) {
        if (!marked[level]) continue;
        const int first = std::max(level - radius, 0);
        const int last = std::min(level + radius, 255);
        std::fill(result.begin() + first, result.begin() + last + 1, true);
    }
    return result;
}

}  // namespace

level_counters count_flat_runs(const plane& levels, const rect& area) {
    level_counters counters{};
    for (std::int32_t y = area.top; y <= area.bottom; ++y) {
        const std::uint8_t* const row = levels.row(y);
        count_runs_of_row(row + area.left, row + area.right + 1, counters);
    }
    return counters;
}

void measure_background(text_engine& engine) {
    const level_counters counters =
        count_flat_runs(engine.pp_plane, {0, 0, engine.width - 1, engine.height - 1});
    const std::int64_t pixels = std::int64_t{engine.width} * engine.height;
    level_flags flat{};
    for (std::size_t level = 0; level < flat.size(); ++level) {
        flat[level] = counters[level] > pixels * 25 / 1000;
    }
    engine.background_levels = dilated(flat);
    std::int64_t background = 0;
    for (std::size_t level = 0; level < flat.size(); ++level) {
        if (engine.background_levels[level]) background += engine.histogram[level];
    }
    engine.background_pixels = static_cast<std::int32_t>(background);
    engine.background_fraction = static_cast<double>(background) / static_cast<double>(pixels);
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
