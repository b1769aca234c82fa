#include "image/region_growth.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <vector>

#include "image/region_set.h"
#include "image/unused_segments.h"

namespace brindlemoss::analysis::plugins::image_analysis {

namespace {

constexpr std::int32_t smear = 10;  // columns by which the activity window widens segments
constexpr std::int64_t least_height = 4;
constexpr std::int64_t largest_height = 40;
constexpr std::int64_t least_width = 8;

rect rect_of(const text_segment& segment) {
    return {segment.left, segment.row, segment.right, segment.row};
}

class region_grower {
public:
    region_grower(row_segments& segments, std::int32_t last_row, const checkpoints& checkpoint)
        : segments_(segments), unused_(segments), last_row_(last_row), checkpoint_(checkpoint) {}

    // Marks the first unused segment and all that belong to it as used.
    std::optional<rect> next_region() {
        std::int32_t& y = segments_.next_row;
        for (; y <= last_row_; ++y) {
            const std::size_t seed = unused_.next(y, 0);
            if (seed == unused_.count(y)) continue;
            rect region = rect_of(unused_.use(y, seed));
            checkpoint_("Seed segments", region);
            while (region.bottom < last_row_ && take_row_below(region)) {
            }
            fill(region);
            return region;
        }
        return std::nullopt;
    }

private:
    // The nearest unused segment of a row on one side of the region.
    struct candidate {
        std::int32_t near_edge;
        std::int32_t row;
        std::size_t number;
    };

    // Segments of one row do not overlap, so what it is widened by meets no other one of the row.
    bool take_row_below(rect& region) {
        const std::int32_t y = region.bottom + 1;
        const std::int32_t right = region.right;
        bool taken = false;
        for (std::size_t number = unused_.first_from(y, region.left);
             number < unused_.count(y) && unused_.at(y, number).left <= right;
             number = unused_.next(y, number + 1)) {
            take(y, number, region, "Merged segments");
            taken = true;
        }
        return taken;
    }

    void take(std::int32_t y, std::size_t number, rect& region, const char* label) {
        const rect place = rect_of(unused_.use(y, number));
        region = hull_of(region, place);
        checkpoint_(label, place);
    }

    // Takes whatever overlaps the columns of the region in any of its rows until nothing does. Each
    // row offers only its nearest segment on either side, and of all rows the nearest is looked at.
    void fill(rect& region) {
        on_left_.clear();
        on_right_.clear();
        for (std::int32_t y = region.top; y <= region.bottom; ++y) {
            const std::size_t number = unused_.first_from(y, region.left);
            offer_right(y, number);
            offer_left(y, number);
        }
        while (fill_right(region) || fill_left(region)) {
        }
    }

    bool fill_right(rect& region) {
        if (on_right_.empty() || on_right_.front().near_edge > region.right) return false;
        const candidate taken = pop(on_right_, farther_right);
        take(taken.row, taken.number, region, "Merged segments 2");
        offer_right(taken.row, taken.number + 1);
        return true;
    }

    bool fill_left(rect& region) {
        if (on_left_.empty() || on_left_.front().near_edge < region.left) return false;
        const candidate taken = pop(on_left_, farther_left);
        take(taken.row, taken.number, region, "Merged segments 2");
        offer_left(taken.row, taken.number);
        return true;
    }

    void offer_right(std::int32_t y, std::size_t from) {
        const std::size_t number = unused_.next(y, from);
        if (number == unused_.count(y)) return;
        on_right_.push_back({unused_.at(y, number).left, y, number});
        std::push_heap(on_right_.begin(), on_right_.end(), farther_right);
    }

    void offer_left(std::int32_t y, std::size_t before) {
        const std::size_t end = unused_.end_before(y, before);
        if (end == 0) return;
        on_left_.push_back({unused_.at(y, end - 1).right, y, end - 1});
        std::push_heap(on_left_.begin(), on_left_.end(), farther_left);
    }

    static bool farther_right(const candidate& a, const candidate& b) {
        return a.near_edge > b.near_edge;
    }
    static bool farther_left(const candidate& a, const candidate& b) {
        return a.near_edge < b.near_edge;
    }

    template <typename farther_function>
    static candidate pop(std::vector<candidate>& heap, farther_function farther) {
        std::pop_heap(heap.begin(), heap.end(), farther);
        const candidate top = heap.back();
        heap.pop_back();
        return top;
    }

    row_segments& segments_;
    unused_segments unused_;
    std::int32_t last_row_;
    const checkpoints& checkpoint_;
    std::vector<candidate> on_left_, on_right_;  // heaps, the nearest at the front
};

void trim(rect& region, const rect& crop, const checkpoints& checkpoint) {
    checkpoint("Found text regions", region);
    if (region.left > crop.left + smear) region.left += smear;
    if (region.right < crop.right - smear) region.right -= smear;
    checkpoint(region.right < region.left ? "Trimmed text regions invalid" : "Trimmed text regions",
               region);
}

bool may_hold_text(const rect& region) {
    const std::int64_t width = width_of(region);
    const std::int64_t height = height_of(region);
    return height >= least_height && height <= largest_height && width >= least_width &&
           2 * width >= 3 * height;
}

}  // namespace

void build_regions(text_engine& engine, row_segments& segments) {
    region_grower grower(segments, engine.crop.bottom, engine.checkpoint);
    region_set found(engine.crop, engine.checkpoint);
    while (std::optional<rect> region = grower.next_region()) {
        trim(*region, engine.crop, engine.checkpoint);
        found.add(*region);
    }
    std::vector<rect> invalid;
    std::int64_t area = 0;
    for (const rect& region : found.regions()) {
        const bool valid = may_hold_text(region);
        (valid ? engine.regions : invalid).push_back(region);
        if (valid) area += area_of(region);
    }
    engine.checkpoint("Valid text regions", engine.regions);
    engine.checkpoint("Invalid text regions", invalid);
    engine.region_area = static_cast<std::int32_t>(area);
    engine.region_density = static_cast<double>(area) / static_cast<double>(area_of(engine.crop));
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
