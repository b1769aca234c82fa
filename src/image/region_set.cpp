#include "image/region_set.h"

#include <algorithm>
#include <array>

namespace brindlemoss::analysis::plugins::image_analysis {

namespace {

rect with_tolerance(const rect& r) {
    return {r.left - 1, r.top - 1, r.right + 1, r.bottom + 1};
}

// Edge by edge, so that it also tells of rectangles whose edges stand in reverse order.
bool meet(const rect& searched, const rect& other) {
    return other.top <= searched.bottom && other.bottom >= searched.top &&
           other.left <= searched.right && other.right >= searched.left;
}

}  // namespace

region_set::region_set(const rect& extent, const checkpoints& checkpoint)
    : cells_(extent), checkpoint_(checkpoint) {}

void region_set::add(const rect& region) {
    rect area = region;
    rect quiet = inverted_rect;  // nothing in the set touches it any more
    std::vector<std::uint32_t> swallowed;
    while (area != quiet) {
        std::size_t next = swallowed.size();
        swallow_touching(area, quiet, swallowed);
        quiet = area;
        for (; next < swallowed.size(); ++next) {
            const rect& other = entries_[swallowed[next]].place;
            checkpoint_("Overlap", std::array{area, other});
            area = hull_of(area, other);
            // It touched no other in the set, so around it all is quiet too.
            if (!is_empty(other) && area_of(other) > area_of(quiet)) quiet = other;
        }
    }
    if (swallowed.empty()) {
        entries_.push_back({area, arrivals_++, standing::in_set});
        settle(static_cast<std::uint32_t>(entries_.size() - 1), area, {0, 0, -1, -1});
        return;
    }
    const std::uint32_t survivor = survivor_of(swallowed);
    settle(survivor, area, cells_of(entries_[survivor].place));
    entries_[survivor] = {area, arrivals_++, standing::in_set};
}

// All but the largest are gone for good; that one lends its cells to what comes out.
std::uint32_t region_set::survivor_of(const std::vector<std::uint32_t>& swallowed) {
    const auto smaller = [&](std::uint32_t a, std::uint32_t b) {
        return area_of(entries_[a].place) < area_of(entries_[b].place);
    };
    for (const std::uint32_t number : swallowed) entries_[number].state = standing::gone;
    return *std::max_element(swallowed.begin(), swallowed.end(), smaller);
}

// Enters the number in the cells of `place` that are not among those where it stands already.
void region_set::settle(std::uint32_t number, const rect& place, const cell_range& settled) {
    const cell_range range = cells_of(place);
    for (std::int32_t row = range.top; row <= range.bottom; ++row) {
        for (std::int32_t column = range.left; column <= range.right; ++column) {
            if (settled.holds(column, row)) {
                column = settled.right;
                continue;
            }
            cells_.at(column, row).push_back(number);
        }
    }
}

void region_set::swallow_touching(const rect& area, const rect& quiet,
                                  std::vector<std::uint32_t>& swallowed) {
    const rect searched = with_tolerance(area);
    if (is_empty(quiet)) return swallow_in(cells_of(searched), searched, swallowed);
    for (const rect& piece : remainder_of(searched, with_tolerance(quiet))) {
        if (!is_empty(piece)) swallow_in(cells_of(piece), searched, swallowed);
    }
}

void region_set::swallow_in(const cell_range& range, const rect& searched,
                            std::vector<std::uint32_t>& swallowed) {
    for (std::int32_t row = range.top; row <= range.bottom; ++row) {
        for (std::int32_t column = range.left; column <= range.right; ++column) {
            std::vector<std::uint32_t>& numbers = cells_.at(column, row);
            std::erase_if(numbers, [&](std::uint32_t number) {
                entry& each = entries_[number];
                if (each.state == standing::in_set && meet(searched, each.place)) {
                    each.state = standing::swallowed;
                    swallowed.push_back(number);
                }
                return each.state == standing::gone;
            });
        }
    }
}

// A region whose edges stand in reverse order can only touch what reaches both of them.
cell_range region_set::cells_of(const rect& place) const {
    return cells_.cells_of({std::min(place.left, place.right), place.top,
                            std::max(place.left, place.right), place.bottom});
}

std::vector<rect> region_set::regions() const {
    std::vector<const entry*> alive;
    for (const entry& each : entries_) {
        if (each.state == standing::in_set) alive.push_back(&each);
    }
    std::sort(alive.begin(), alive.end(),
              [](const entry* a, const entry* b) { return a->arrival < b->arrival; });
    std::vector<rect> places;
    places.reserve(alive.size());
    for (const entry* each : alive) places.push_back(each->place);
    return places;
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
