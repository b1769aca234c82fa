#include "image/uniform_area.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <optional>

#include "image/uniform.h"

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

constexpr std::int32_t samples = 5;

std::uint8_t difference(std::uint8_t a, std::uint8_t b) {
    return static_cast<std::uint8_t>(std::max(a, b) - std::min(a, b));
}

constexpr std::int32_t stride = 32;

// Whether a walk from the first of these pixels to the one `stride` behind it meets no step that it
// doesn't follow.
bool is_gentle(const std::uint8_t* first) {
    std::uint8_t steepest = 0;
    for (std::int32_t index = 0; index < stride; ++index) {
        steepest = std::max(steepest, difference(first[index], first[index + 1]));
    }
    return steepest <= gentle_step;
}

constexpr std::int32_t narrow_block = 16;

// Walks down up to `span` columns. All are walked, on whole vectors, whatever stands beside the
// area.
template <std::int32_t span>
void descend(const plane& levels, const rect& area, std::array<bool, columns_in_block>& flat) {
    const std::int32_t count = std::min(area.right - area.left + 1, span);
    const bool has_room = levels.width - area.left >= span;
    std::uint8_t level[span] = {};
    std::uint8_t base[span] = {};
    std::uint8_t strayed[span] = {};  // by the pixel above
    std::uint8_t broken[span] = {};
    for (std::int32_t column = 0; column < count; ++column) {
        const std::optional<std::uint8_t> start =
            base_level(levels.row(area.top) + area.left + column, levels.width);
        base[column] = start.value_or(0);
        broken[column] = !start;
    }
    for (std::int32_t y = area.top; y <= area.bottom; ++y) {
        const std::uint8_t* const row = levels.row(y) + area.left;
        std::memcpy(level, row, has_room ? span : static_cast<std::size_t>(count));
        for (std::int32_t column = 0; column < span; ++column) {
            const std::uint8_t strays = difference(level[column], base[column]) > gentle_step;
            broken[column] |= static_cast<std::uint8_t>(strays & strayed[column]);
            strayed[column] = strays;
            base[column] = strays ? base[column] : level[column];
        }
    }
    for (std::int32_t column = 0; column < count; ++column) flat[column] = broken[column] == 0;
}
static_assert(static_cast<int>(stray_limit::layout) == 2, "walks here look one pixel back");

// The bits of eight flags, the lowest for the first.
bit_word packed(const std::uint8_t* flags) {
    bit_word bytes = 0;
    for (int place = 0; place < 8; ++place) bytes |= bit_word{flags[place]} << (8 * place);
    return bytes * 0x0102'0408'1020'4080u >> 56;
}

// Sets the bits of those of `count` pixels that a walk to the other pixel doesn't follow.
void mark_steps(const std::uint8_t* from, const std::uint8_t* to, std::int32_t count,
                bit_word* bits) {
    std::uint8_t steep[word_bits];
    for (std::int32_t start = 0; start < count; start += word_bits) {
        const std::int32_t here = std::min(count - start, word_bits);
        if (here < word_bits) std::fill(std::begin(steep), std::end(steep), std::uint8_t{0});
        for (std::int32_t place = 0; place < here; ++place) {
            steep[place] = difference(from[start + place], to[start + place]) > gentle_step;
        }
        bit_word& word = bits[word_of(start)];
        for (std::int32_t place = 0; place < word_bits; place += 8) {
            word |= packed(steep + place) << place;
        }
    }
}

}  // namespace

bool is_flat_row(const plane& levels, std::int32_t y, std::int32_t left, std::int32_t right) {
    const std::uint8_t* const first = levels.row(y) + left;
    const std::int32_t count = right - left + 1;
    if (count < samples) return true;
    const std::optional<std::uint8_t> start = base_level(first, 1);
    if (!start) return false;
    int base = *start;
    bool strayed = false;
    std::int32_t next_look = 0;  // not at once where a look was in vain
    for (std::int32_t index = 0; index < count; ++index) {
        const int level = first[index];
        if (level - base > gentle_step || base - level > gentle_step) {
            if (strayed) return false;
            strayed = true;
            continue;
        }
        strayed = false;
        base = level;
        if (index < next_look || index + stride >= count) continue;
        next_look = index + stride;
        if (is_gentle(first + index)) {
            base = first[next_look];
            index = next_look;
        }
    }
    return true;
}

std::array<bool, columns_in_block> flat_columns(const plane& levels, const rect& area) {
    std::array<bool, columns_in_block> flat;
    flat.fill(true);
    if (height_of(area) < samples) return flat;
    if (width_of(area) <= narrow_block) {
        descend<narrow_block>(levels, area, flat);
    } else {
        descend<columns_in_block>(levels, area, flat);
    }
    return flat;
}

flatness::flatness(const plane& levels) : levels_(levels), words_(words_for(levels.width)) {
    steps_right_.resize(words_ * static_cast<std::size_t>(levels.height));
    breaks_right_.resize(steps_right_.size());
    steps_down_.resize(steps_right_.size());
    for (std::int32_t y = 0; y < levels.height; ++y) {
        const std::uint8_t* const row = levels.row(y);
        const std::size_t start = static_cast<std::size_t>(y) * words_;
        mark_steps(row, row + 1, levels.width - 1, &steps_right_[start]);
        mark_steps(row, row + 2, levels.width - 2, &breaks_right_[start]);
        bit_word step_before = 0;
        for (std::size_t index = start; index < start + words_; ++index) {
            const bit_word steps = steps_right_[index];
            breaks_right_[index] &= steps & ~(steps << 1 | step_before);
            step_before = steps >> (word_bits - 1);
        }
        if (y + 1 < levels.height) {
            mark_steps(row, levels.row(y + 1), levels.width, &steps_down_[start]);
        }
    }
}

bool flatness::is_flat(const rect& area) const {
    if (has_break(area)) return false;
    for (std::int32_t y = area.top; y <= area.bottom; ++y) {
        if (!is_flat_row(y, area.left, area.right)) return false;
    }
    return are_flat_columns(area);
}

// Whether a row is surely not uniform. Nearly all areas of a photo are told by this.
bool flatness::has_break(const rect& area) const {
    if (width_of(area) < samples) return false;
    // A walk may begin at another level than the row, and ends with it.
    const std::int32_t first = area.left + 1;
    const std::int32_t last = area.right - 2;
    for (std::size_t index = word_of(first); index <= word_of(last); ++index) {
        const bit_word inside = bits_between(index, first, last);
        for (std::int32_t y = area.top; y <= area.bottom; ++y) {
            const bit_word breaks = breaks_right_[static_cast<std::size_t>(y) * words_ + index];
            if ((breaks & inside) != 0) return true;
        }
    }
    return false;
}

bool flatness::is_flat_row(std::int32_t y, std::int32_t left, std::int32_t right) const {
    if (right - left + 1 < samples) return true;
    const bit_word* const steps = &steps_right_[static_cast<std::size_t>(y) * words_];
    std::int32_t step = find_bit(steps, left, right, true);
    if (step == right) return true;
    const std::uint8_t* const row = levels_.row(y);
    if (step < left + samples - 1) {
        // The walk may begin at another level than the row.
        const std::optional<std::uint8_t> base = base_level(row + left, 1);
        if (!base) return false;
        const bool first_strays = difference(row[left], *base) > gentle_step;
        if (first_strays && difference(row[left + 1], *base) > gentle_step) return false;
        step = find_bit(steps, left + first_strays, right, true);
    }
    // Behind a step one pixel strays; the next one must be near the level before it.
    while (step + 2 <= right) {
        if (difference(row[step], row[step + 2]) > gentle_step) return false;
        step = find_bit(steps, step + 2, right, true);
    }
    return true;
}

bool flatness::are_flat_columns(const rect& area) const {
    constexpr std::int32_t low = 32;  // cheap to walk down column after column
    if (height_of(area) < samples) return true;
    for (std::size_t index = word_of(area.left); index <= word_of(area.right); ++index) {
        bit_word steep = 0;
        for (std::int32_t y = area.top; y < area.bottom; ++y) {
            steep |= steps_down_[static_cast<std::size_t>(y) * words_ + index];
        }
        steep &= bits_between(index, area.left, area.right);
        const std::int32_t origin = static_cast<std::int32_t>(index) * word_bits;
        if (steep != 0 && height_of(area) > low) {
            rect block = area;
            block.left = std::max(area.left, origin);
            block.right = std::min(area.right, origin + word_bits - 1);
            const std::array<bool, columns_in_block> flat = flat_columns(levels_, block);
            if (std::find(flat.begin(), flat.end(), false) != flat.end()) return false;
            continue;
        }
        for (; steep != 0; steep &= steep - 1) {
            const std::int32_t x = origin + std::countr_zero(steep);
            if (!is_uniform_column(levels_, x, area.top, area.bottom, stray_limit::layout)) {
                return false;
            }
        }
    }
    return true;
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
