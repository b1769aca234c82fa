#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <list>

#include "image/rect.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// Whether `a` is read before `b`: the upper one where their rows do not overlap (adjoining rows
// count as overlapping), the left one where they do.
//
// Three rectangles may well stand in a circle, so this is no order that a sort of the standard
// library could be trusted with.
constexpr bool read_before(const rect& a, const rect& b) {
    const std::int64_t hull = std::int64_t{std::max(a.bottom, b.bottom)} - std::min(a.top, b.top);
    const std::int64_t heights =
        (std::int64_t{a.bottom} - a.top) + (std::int64_t{b.bottom} - b.top);
    return hull >= heights + 2 ? a.top < b.top : a.left < b.left;
}

// Merges `right`, whose elements stood behind, into `left`; of equal ones the left comes first.
template <typename element, typename before_function>
void merge_runs(std::list<element>& left, std::list<element>& right, before_function before) {
    auto place = left.begin();
    while (place != left.end() && !right.empty()) {
        if (before(right.front(), *place)) {
            left.splice(place, right, right.begin());
        } else {
            ++place;
        }
    }
    left.splice(left.end(), right);
}

// Sorts by merging neighbouring runs of 1, 2, 4, ... elements. As `before` need not be transitive,
// which elements meet is part of the outcome: on every machine it must come out alike.
template <typename element, typename before_function>
void merge_sort(std::list<element>& elements, before_function before) {
    constexpr std::size_t most_runs = 64;
    std::array<std::list<element>, most_runs> runs;  // runs[n] is empty or 2^n elements long
    std::size_t used = 0;
    std::list<element> carry;
    while (!elements.empty()) {
        carry.splice(carry.begin(), elements, elements.begin());
        std::size_t size = 0;
        while (size < used && !runs[size].empty()) {
            merge_runs(runs[size], carry, before);
            carry.swap(runs[size]);
            ++size;
        }
        carry.swap(runs[size]);
        if (size == used) ++used;
    }
    for (std::size_t size = 1; size < used; ++size) merge_runs(runs[size], runs[size - 1], before);
    if (used > 0) elements.swap(runs[used - 1]);
}

// `rect_of` gives the rectangle of an element.
template <typename element, typename rect_function>
void sort_in_reading_order(std::list<element>& elements, rect_function rect_of) {
    merge_sort(elements, [&](const element& a, const element& b) {
        return read_before(rect_of(a), rect_of(b));
    });
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
