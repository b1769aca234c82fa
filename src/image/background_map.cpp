#include "image/background_map.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

using word = bit_word;

// Looks up eight pixels at a time, but not the same eight again: pages are mostly paper.
class eight_pixels {
public:
    explicit eight_pixels(const level_flags& flags) : flags_(flags) {}

    word bits_of(const std::uint8_t* pixels) {
        word levels;
        std::memcpy(&levels, pixels, sizeof levels);
        if (levels != levels_ || !known_) {
            bits_ = 0;
            for (int place = 0; place < 8; ++place) bits_ |= word{flags_[pixels[place]]} << place;
            levels_ = levels;
            known_ = true;
        }
        return bits_;
    }

private:
    const level_flags& flags_;
    word levels_ = 0;
    word bits_ = 0;
    bool known_ = false;
};

// Lengthens the last stretch over a short space, or begins one.
void append(std::vector<stretch>& stretches, const stretch& next, std::int32_t longest_space) {
    if (!stretches.empty() && next.first - stretches.back().last - 1 <= longest_space) {
        stretches.back().last = next.last;
    } else {
        stretches.push_back(next);
    }
}

}  // namespace

background_map::background_map(const plane& levels, const level_flags& is_background)
    : words_(words_for(levels.width)) {
    mark_background(levels, is_background);
    mark_busy(levels.width, levels.height);
}

void background_map::mark_background(const plane& levels, const level_flags& is_background) {
    background_.assign(words_ * static_cast<std::size_t>(levels.height), 0);
    word* bits = background_.data();
    for (std::int32_t y = 0; y < levels.height; ++y, bits += words_) {
        const std::uint8_t* const pixels = levels.row(y);
        eight_pixels eight(is_background);
        std::int32_t x = 0;
        for (; x + 8 <= levels.width; x += 8) {
            bits[word_of(x)] |= eight.bits_of(pixels + x) << (x % word_bits);
        }
        for (; x < levels.width; ++x) {
            bits[word_of(x)] |= word{is_background[pixels[x]]} << (x % word_bits);
        }
    }
}

void background_map::mark_busy(std::int32_t width, std::int32_t height) {
    busy_.assign(background_.size(), 0);
    for (std::int32_t y = 0; y < height; ++y) {
        const word* const here = row(background_, y);
        const bool at_edge = y == 0 || y == height - 1;
        const word* const above = at_edge ? here : here - words_;
        const word* const below = at_edge ? here : here + words_;
        word* const busy = busy_.data() + static_cast<std::size_t>(y) * words_;
        for (std::size_t index = 0; index < words_; ++index) {
            word left = here[index] << 1;
            word right = here[index] >> 1;
            if (index > 0) left |= here[index - 1] >> (word_bits - 1);
            if (index + 1 < words_) right |= here[index + 1] << (word_bits - 1);
            const word clear = here[index] | (left & right & above[index] & below[index]);
            busy[index] = ~clear & bits_between(index, 0, width - 1);
        }
    }
}

bool background_map::is_background(std::int32_t x, std::int32_t y) const {
    return (row(background_, y)[word_of(x)] >> (x % word_bits) & 1) != 0;
}

std::int32_t background_map::background_in_row(std::int32_t y, std::int32_t left,
                                               std::int32_t right) const {
    const word* const bits = row(background_, y);
    std::int32_t count = 0;
    for (std::size_t index = word_of(left); index <= word_of(right); ++index) {
        count += std::popcount(bits[index] & bits_between(index, left, right));
    }
    return count;
}

bool background_map::is_clear_row(std::int32_t y, std::int32_t left, std::int32_t right) const {
    return find_bit(row(busy_, y), left, right + 1, true) > right;
}

std::vector<stretch> background_map::columns(const rect& area, std::int32_t longest_space) const {
    const std::size_t first_word = word_of(area.left);
    std::vector<word> busy(word_of(area.right) - first_word + 1);
    for (std::int32_t y = area.top; y <= area.bottom; ++y) {
        const word* const bits = row(busy_, y) + first_word;
        for (std::size_t index = 0; index < busy.size(); ++index) busy[index] |= bits[index];
    }
    std::vector<stretch> found;
    const std::int32_t origin = static_cast<std::int32_t>(first_word) * word_bits;
    const std::int32_t end = area.right + 1 - origin;
    std::int32_t place = find_bit(busy.data(), area.left - origin, end, true);
    while (place < end) {
        const std::int32_t behind = find_bit(busy.data(), place, end, false);
        append(found, {place + origin, behind - 1 + origin}, longest_space);
        place = find_bit(busy.data(), behind, end, true);
    }
    return found;
}

std::vector<stretch> background_map::rows(const rect& area, std::int32_t longest_space) const {
    std::vector<stretch> found;
    for (std::int32_t y = area.top; y <= area.bottom; ++y) {
        if (!is_clear_row(y, area.left, area.right)) append(found, {y, y}, longest_space);
    }
    return found;
}

void background_map::foreground_in_row(std::int32_t y, std::int32_t left, std::int32_t right,
                                       std::vector<stretch>& found) const {
    const word* const bits = row(background_, y);
    std::int32_t place = find_bit(bits, left, right + 1, false);
    while (place <= right) {
        const std::int32_t behind = find_bit(bits, place, right + 1, true);
        found.push_back({place, behind - 1});
        place = find_bit(bits, behind, right + 1, false);
    }
}

bool background_map::trim_columns(rect& area) const {
    const std::vector<stretch> busy = columns(area, 0);
    if (busy.empty()) return false;
    area.left = busy.front().first;
    area.right = busy.back().last;
    return true;
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
