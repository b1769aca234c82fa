#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>

namespace brindlemoss::analysis::plugins::image_analysis {

// A rectangle of pixels. All edges are inclusive; y grows downward.
struct rect {
    std::int32_t left = 0;
    std::int32_t top = 0;
    std::int32_t right = 0;
    std::int32_t bottom = 0;

    friend bool operator==(const rect&, const rect&) = default;
};

// The hull of no rectangle. Its measures are far below zero.
inline constexpr rect inverted_rect{
    std::numeric_limits<std::int32_t>::max(), std::numeric_limits<std::int32_t>::max(),
    std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::min()};

// Measures are taken in 64 bits, which hold those of an inverted rectangle too.

constexpr std::int64_t width_of(const rect& r) {
    return std::int64_t{r.right} - r.left + 1;
}

constexpr std::int64_t height_of(const rect& r) {
    return std::int64_t{r.bottom} - r.top + 1;
}

constexpr std::int64_t area_of(const rect& r) {
    return width_of(r) * height_of(r);
}

constexpr bool is_empty(const rect& r) {
    return width_of(r) <= 0 || height_of(r) <= 0;
}

constexpr rect hull_of(const rect& a, const rect& b) {
    return {std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right),
            std::max(a.bottom, b.bottom)};
}

constexpr bool overlap_in_x(const rect& a, const rect& b) {
    return a.left <= b.right && b.left <= a.right;
}

constexpr bool overlap_in_y(const rect& a, const rect& b) {
    return a.top <= b.bottom && b.top <= a.bottom;
}

constexpr bool intersect(const rect& a, const rect& b) {
    return overlap_in_x(a, b) && overlap_in_y(a, b);
}

// The distance between the edges that face each other: 1 where the two adjoin, below that where
// their ranges overlap.

constexpr std::int64_t horizontal_gap(const rect& a, const rect& b) {
    return std::int64_t{std::max(a.left, b.left)} - std::min(a.right, b.right);
}

constexpr std::int64_t vertical_gap(const rect& a, const rect& b) {
    return std::int64_t{std::max(a.top, b.top)} - std::min(a.bottom, b.bottom);
}

// Whether they overlap or adjoin, also at a corner.
constexpr bool touch(const rect& a, const rect& b) {
    return horizontal_gap(a, b) <= 1 && vertical_gap(a, b) <= 1;
}

// Pieces that cover what `whole` has beyond `part`, which lies within it; some may be empty.
constexpr std::array<rect, 4> remainder_of(const rect& whole, const rect& part) {
    return {rect{whole.left, whole.top, whole.right, part.top - 1},
            rect{whole.left, part.bottom + 1, whole.right, whole.bottom},
            rect{whole.left, part.top, part.left - 1, part.bottom},
            rect{part.right + 1, part.top, whole.right, part.bottom}};
}

// The smallest picture, or piece of one, in which text is looked for.
constexpr bool is_large_enough(std::int64_t width, std::int64_t height) {
    return width >= 125 && height >= 36 && width * height >= 8450;
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
