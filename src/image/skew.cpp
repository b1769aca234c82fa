#include "image/skew.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <numeric>
#include <string>
#include <string_view>

#include "image/edge_fit.h"

namespace brindlemoss::analysis::plugins::image_analysis {

namespace {

constexpr double agreement = 0.025;  // of the slopes of both edges
constexpr std::int32_t picture_edge = 2;

// The first two rows that each column meets, walking in from one side of the picture.
struct outermost_rows {
    std::vector<std::int32_t> first;
    std::vector<std::int32_t> second;
};

class outermost_row_collector {
public:
    outermost_row_collector(std::int32_t width, std::int32_t unmet)
        : rows_{std::vector<std::int32_t>(static_cast<std::size_t>(width), unmet),
                std::vector<std::int32_t>(static_cast<std::size_t>(width), unmet)},
          unmet_(unmet),
          open_(static_cast<std::size_t>(width) + 1) {
        std::iota(open_.begin(), open_.end(), 0);
    }

    void meet(const text_segment& segment) {
        std::int32_t x = open_from(segment.left);
        while (x <= segment.right) {
            if (rows_.first[x] == unmet_) {
                rows_.first[x] = segment.row;
                ++x;
            } else {
                rows_.second[x] = segment.row;
                open_[x] = x + 1;
            }
            x = open_from(x);
        }
    }

    outermost_rows take() { return std::move(rows_); }

private:
    // The first column from `x` on that has not met two rows. Columns that have are skipped in ever
    // longer steps.
    std::int32_t open_from(std::int32_t x) {
        while (open_[x] != x) {
            open_[x] = open_[open_[x]];
            x = open_[x];
        }
        return x;
    }

    outermost_rows rows_;
    std::int32_t unmet_;
    std::vector<std::int32_t> open_;
};

outermost_rows rows_from_top(const text_engine& engine, const row_segments& segments) {
    outermost_row_collector collector(engine.width, engine.height);
    for (std::int32_t y = engine.crop.top; y <= engine.crop.bottom; ++y) {
        for (const text_segment& each : segments.of(y)) collector.meet(each);
    }
    return collector.take();
}

outermost_rows rows_from_bottom(const text_engine& engine, const row_segments& segments) {
    outermost_row_collector collector(engine.width, -1);
    for (std::int32_t y = engine.crop.bottom; y >= engine.crop.top; --y) {
        for (const text_segment& each : segments.of(y)) collector.meet(each);
    }
    return collector.take();
}

enum class side { top, bottom };

// What became of the column of a possible point of an edge; the text is how the hook is told.
enum class column_outcome { valid, scattered, at_picture_edge, beyond_middle, count };
constexpr std::string_view outcome_texts[] = {" valid data", " invalid data", " invalid data 2",
                                              " invalid data 3"};
static_assert(std::size(outcome_texts) == static_cast<std::size_t>(column_outcome::count));

column_outcome outcome_of(const text_engine& engine, side which, std::int32_t first,
                          std::int32_t second) {
    if (first >= engine.height || std::abs(second - first) != 1) return column_outcome::scattered;
    if (first < picture_edge || first >= engine.height - picture_edge) {
        return column_outcome::at_picture_edge;
    }
    const auto middle = static_cast<std::int32_t>(engine.crop.top + height_of(engine.crop) / 2);
    const bool outside = which == side::top ? first <= middle : first >= middle;
    return outside ? column_outcome::valid : column_outcome::beyond_middle;
}

void report_columns(const text_engine& engine, side which, const outermost_rows& rows) {
    const std::string name = which == side::top ? "Top" : "Bottom";
    std::vector<rect> raw, raw_2, by_outcome[std::size(outcome_texts)];
    for (std::int32_t x = engine.crop.left; x <= engine.crop.right; ++x) {
        const std::int32_t first = rows.first[x];
        const std::int32_t second = rows.second[x];
        const rect place{x, first, x, first};
        if (first < engine.height) raw.push_back(place);
        if (second < engine.height) raw_2.push_back({x, second, x, second});
        by_outcome[static_cast<std::size_t>(outcome_of(engine, which, first, second))].push_back(
            place);
    }
    engine.checkpoint(name, engine.crop);
    engine.checkpoint(name + " raw data", raw);
    engine.checkpoint(name + " 2 raw data", raw_2);
    for (std::size_t i = 0; i < std::size(outcome_texts); ++i) {
        engine.checkpoint(name + std::string(outcome_texts[i]), by_outcome[i]);
    }
}

std::vector<edge_point> edge_points(const text_engine& engine, side which,
                                    const outermost_rows& rows) {
    if (engine.checkpoint.wanted()) report_columns(engine, which, rows);
    std::vector<edge_point> points;
    for (std::int32_t x = engine.crop.left; x <= engine.crop.right; ++x) {
        if (outcome_of(engine, which, rows.first[x], rows.second[x]) == column_outcome::valid) {
            points.push_back({x, rows.first[x]});
        }
    }
    return points;
}

// How far the shear moves a line of pixels that lies `distance` from the middle, at most by `limit`
// either way: there all of it comes from outside.
std::int32_t shift_at(double slope, std::int32_t distance, std::int32_t limit) {
    const double shift = std::round(slope * distance);
    return static_cast<std::int32_t>(
        std::clamp(shift, -static_cast<double>(limit), static_cast<double>(limit)));
}

// Neighbouring columns that move alike.
struct column_band {
    std::int32_t left;
    std::int32_t width;
    std::int32_t shift;
};

std::vector<column_band> column_bands(const text_engine& engine, std::int32_t middle) {
    std::vector<column_band> bands;
    for (std::int32_t x = 0; x < engine.width; ++x) {
        const std::int32_t shift = shift_at(engine.slope, x - middle, engine.height);
        if (bands.empty() || bands.back().shift != shift) bands.push_back({x, 0, shift});
        ++bands.back().width;
    }
    return bands;
}

// Row `y` of the columns whose `shift` has the sign of `direction`.
void shift_row(text_engine& engine, const std::vector<column_band>& bands, std::int32_t direction,
               std::int32_t y) {
    std::uint8_t* const row = engine.pp_plane.row(y);
    for (const column_band& band : bands) {
        if (band.shift == 0 || (band.shift < 0) != (direction < 0)) continue;
        const auto bytes = static_cast<std::size_t>(band.width);
        const std::int32_t source = y + band.shift;
        // Strictly inside: the outermost source row is not taken.
        if (source > 0 && source < engine.height - 1) {
            std::memcpy(row + band.left, engine.pp_plane.row(source) + band.left, bytes);
        } else {
            std::memset(row + band.left, engine.background_level, bytes);
        }
    }
}

// Row by row across all columns, in the order in which no source has been overwritten yet.
void correct_columns(text_engine& engine, std::int32_t middle) {
    const std::vector<column_band> bands = column_bands(engine, middle);
    for (std::int32_t y = 0; y < engine.height; ++y) shift_row(engine, bands, 1, y);
    for (std::int32_t y = engine.height - 1; y >= 0; --y) shift_row(engine, bands, -1, y);
}

void correct_rows(text_engine& engine, std::int32_t middle) {
    const std::int32_t width = engine.width;
    for (std::int32_t y = 0; y < engine.height; ++y) {
        const std::int32_t shift = shift_at(engine.slope, y - middle, width);
        if (shift == 0) continue;
        std::uint8_t* const row = engine.pp_plane.row(y);
        // As with columns, the pixel at the picture's edge is not taken.
        const std::int32_t moved = std::max(width - std::abs(shift) - 1, 0);
        const auto bytes = static_cast<std::size_t>(moved);
        const auto blank = static_cast<std::size_t>(width - moved);
        if (shift < 0) {
            std::memmove(row, row + std::min(-shift, width), bytes);
            std::memset(row + moved, engine.background_level, blank);
        } else {
            std::memmove(row + blank, row + 1, bytes);
            std::memset(row, engine.background_level, blank);
        }
    }
}

rect grown_crop(const text_engine& engine) {
    const auto growth = [&](std::int64_t length) {
        const std::int64_t half = length / 2;
        const double wanted = std::abs(engine.slope) * static_cast<double>(half) + 0.5;
        const double most = static_cast<double>(std::max(engine.width, engine.height));
        return static_cast<std::int32_t>(std::min(wanted, most));
    };
    const rect& crop = engine.crop;
    const std::int32_t across = growth(width_of(crop));
    const std::int32_t down = growth(height_of(crop));
    return {std::max(crop.left - across, 0), std::max(crop.top - down, 0),
            std::min(crop.right + across, engine.width - 1),
            std::min(crop.bottom + down, engine.height - 1)};
}

}  // namespace

void estimate_skew(text_engine& engine, const row_segments& segments) {
    const auto top = edge_points(engine, side::top, rows_from_top(engine, segments));
    const auto bottom = edge_points(engine, side::bottom, rows_from_bottom(engine, segments));
    const double top_slope = slope_of_edge(top, "Top 2", engine.checkpoint);
    const double bottom_slope = slope_of_edge(bottom, "Bottom 2", engine.checkpoint);
    if (std::abs(top_slope - bottom_slope) < agreement) engine.slope = bottom_slope;
}

void correct_skew(text_engine& engine) {
    const auto middle_x = static_cast<std::int32_t>(engine.crop.left + width_of(engine.crop) / 2);
    const auto middle_y = static_cast<std::int32_t>(engine.crop.top + height_of(engine.crop) / 2);
    correct_columns(engine, middle_x);
    engine.checkpoint("Vertical correction");
    correct_rows(engine, middle_y);
    engine.checkpoint("Horizontal correction");
    engine.crop = grown_crop(engine);
    engine.checkpoint("Crop - rotated", engine.crop);
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
