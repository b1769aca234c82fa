#include "image/line_bounds.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "image/line_groups.h"
#include "image/line_lists.h"
#include "image/line_measures.h"

namespace brindlemoss::analysis::plugins::image_analysis {

namespace {

constexpr std::int32_t margin = 8;  // pixels around a line

enum class direction { rows, columns };

// An area that is cut between groups of lines, by rows or by columns, into a band for each.
struct area_cut {
    direction by;
    rect area;
    std::vector<line_group> groups;  // from top to bottom or from left to right
    std::size_t next = 0;            // whose band is made next
};

area_cut cut_area(const std::list<text_line*>& lines, const rect& area, direction by,
                  const checkpoints& checkpoint) {
    checkpoint("Input region ", area);
    area_cut cut{by, area, {}};
    if (by == direction::rows) {
        cut.groups = horizontal_groups(lines, checkpoint);
        std::stable_sort(
            cut.groups.begin(), cut.groups.end(),
            [](const line_group& a, const line_group& b) { return a.hull.top < b.hull.top; });
    } else {
        cut.groups = vertical_groups(lines, checkpoint);
        std::stable_sort(
            cut.groups.begin(), cut.groups.end(),
            [](const line_group& a, const line_group& b) { return a.hull.left < b.hull.left; });
    }
    return cut;
}

// The band of the next group. Between two groups it ends in the middle of the gap.
rect next_band(const area_cut& cut) {
    rect band = cut.area;
    const rect& hull = cut.groups[cut.next].hull;
    const bool by_rows = cut.by == direction::rows;
    if (cut.next > 0) {
        const rect& before = cut.groups[cut.next - 1].hull;
        if (by_rows) {
            band.top = (before.bottom + hull.top) / 2;
        } else {
            band.left = (before.right + hull.left) / 2;
        }
    }
    if (cut.next + 1 < cut.groups.size()) {
        const rect& behind = cut.groups[cut.next + 1].hull;
        if (by_rows) {
            band.bottom = (hull.bottom + behind.top) / 2 - 1;
        } else {
            band.right = (hull.right + behind.left) / 2 - 1;
        }
    }
    return band;
}

rect kept_within(const rect& area, std::int32_t picture_width, std::int32_t picture_height) {
    return {std::max(area.left, 1), std::max(area.top, 1), std::min(area.right, picture_width - 2),
            std::min(area.bottom, picture_height - 2)};
}

void bound_line(text_engine& engine, text_line& line, const rect& limits) {
    engine.checkpoint("Raw bounding box", limits);
    line.bounding_box = fit_box(line.box, limits, engine.width, engine.height);
    engine.checkpoint("Bounding box", line.bounding_box);
}

// Cuts the area by rows, the bands of several lines by columns, the bands of that by rows and so
// on. How often is up to the picture, hence no recursion; no line stands in two cuts at a time.
bool bound_block(text_engine& engine, const std::list<text_line*>& lines, const rect& area) {
    std::vector<area_cut> cuts;
    cuts.push_back(cut_area(lines, area, direction::rows, engine.checkpoint));
    while (!cuts.empty()) {
        area_cut& cut = cuts.back();
        if (cut.next == cut.groups.size()) {
            cuts.pop_back();
            continue;
        }
        const rect band = next_band(cut);
        std::list<text_line*> banded = std::move(cut.groups[cut.next].lines);
        ++cut.next;
        if (banded.size() == 1) {
            bound_line(engine, *banded.front(), band);
            continue;
        }
        sort_in_reading_order(banded);
        const direction other = cut.by == direction::rows ? direction::columns : direction::rows;
        area_cut inner = cut_area(banded, band, other, engine.checkpoint);
        if (inner.groups.size() == 1) return false;
        cuts.push_back(std::move(inner));
    }
    return true;
}

}  // namespace

rect fit_box(const rect& box, const rect& limits, std::int32_t picture_width,
             std::int32_t picture_height) {
    rect fit{std::max(limits.left, box.left - margin), std::max(limits.top, box.top - margin),
             std::min(limits.right, box.right + margin),
             std::min(limits.bottom, box.bottom + margin)};
    if (box.left < fit.left) fit.left = box.left - 1;
    if (box.top < fit.top) fit.top = box.top - 1;
    if (box.right > fit.right) fit.right = box.right + 1;
    if (box.bottom > fit.bottom) fit.bottom = box.bottom;
    return kept_within(fit, picture_width, picture_height);
}

bool bound_lines(text_engine& engine) {
    for (block& each : engine.blocks) {
        sort_in_reading_order(each.lines);
        const rect hull = hull_of_lines(each.lines);
        const rect area = kept_within(
            {hull.left - margin, hull.top - margin, hull.right + margin, hull.bottom + margin},
            engine.width, engine.height);
        if (!bound_block(engine, each.lines, area)) return false;
    }
    return true;
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
