#include "platform/character_class.h"

#include <algorithm>
#include <iterator>

#include "platform/character_ranges.h"

namespace replay::platform {

constexpr character_table::character_table() noexcept : classes_{}, to_lower_{} {
    std::size_t behind = units;
    for (std::size_t row = std::size(class_ranges); row > 0; --row) {
        const class_range& range = class_ranges[row - 1];
        for (std::size_t unit = range.first; unit < behind; ++unit) classes_[unit] = range.classes;
        behind = range.first;
    }
    for (const lower_case_range& range : lower_case_ranges) {
        for (std::size_t unit = range.first; unit <= range.last; unit += range.step) {
            to_lower_[unit] = range.distance;
        }
    }
}

void character_table::make_lower(char16_t* text, std::size_t size) const noexcept {
    std::transform(text, text + size, text, [this](char16_t unit) { return to_lower(unit); });
}

const character_table& characters() noexcept {
    static constexpr character_table table;
    return table;
}

std::u16string to_lower(std::u16string_view text) {
    std::u16string lowered(text);
    characters().make_lower(lowered.data(), lowered.size());
    return lowered;
}

}  // namespace replay::platform
