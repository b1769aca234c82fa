#include "platform/character_class.h"

#include <unicode/uchar.h>

#include <algorithm>

namespace replay::platform {

namespace {

character_class::flags flags_of(UCharCategory category) {
    using namespace character_class;
    switch (category) {
        case U_SPACE_SEPARATOR:
        case U_LINE_SEPARATOR:
        case U_PARAGRAPH_SEPARATOR: return space;
        case U_CONTROL_CHAR:
        case U_FORMAT_CHAR: return control;
        case U_DASH_PUNCTUATION:
        case U_START_PUNCTUATION:
        case U_END_PUNCTUATION:
        case U_CONNECTOR_PUNCTUATION:
        case U_OTHER_PUNCTUATION:
        case U_INITIAL_PUNCTUATION:
        case U_FINAL_PUNCTUATION:
        case U_MATH_SYMBOL:
        case U_CURRENCY_SYMBOL:
        case U_MODIFIER_SYMBOL:
        case U_OTHER_SYMBOL: return punctuation | printable;
        case U_UPPERCASE_LETTER:
        case U_LOWERCASE_LETTER:
        case U_TITLECASE_LETTER:
        case U_MODIFIER_LETTER:
        case U_OTHER_LETTER: return alpha | printable;
        case U_DECIMAL_DIGIT_NUMBER: return digit | printable;
        default: return 0;
    }
}

bool has_lower_case(UCharCategory category) {
    return category == U_UPPERCASE_LETTER || category == U_TITLECASE_LETTER ||
           category == U_LETTER_NUMBER;
}

// The only symbols with a lower case; asking for that of all symbols would take as long as asking
// for that of all letters.
constexpr UChar32 first_circled_capital = 0x24B6;
constexpr UChar32 last_circled_capital = 0x24CF;

// The code points from `first` up to and without `behind`, all of one category.
struct category_range {
    UChar32 first;
    UChar32 behind;
    UCharCategory category;
};

// Calls `take` with the ranges of the first `units` code points in order; far quicker than asking
// for the category of each.
template <typename taker>
void for_each_category_range(std::size_t units, taker take) {
    struct state {
        UChar32 units;
        taker& take;
    } walk{static_cast<UChar32>(units), take};
    const auto on_range = [](const void* context, UChar32 first, UChar32 behind,
                             UCharCategory category) -> UBool {
        const auto& target = *static_cast<const state*>(context);
        if (first >= target.units) return false;
        target.take(category_range{first, std::min(behind, target.units), category});
        return true;
    };
    u_enumCharTypes(on_range, &walk);
}

}  // namespace

character_table::character_table() noexcept {
    const auto add_lower_case = [this](UChar32 unit) {
        to_lower_[static_cast<std::size_t>(unit)] = static_cast<char16_t>(u_tolower(unit) - unit);
    };
    for_each_category_range(units, [&](const category_range& range) {
        if (const character_class::flags flags = flags_of(range.category)) {
            std::fill(classes_.begin() + range.first, classes_.begin() + range.behind, flags);
        }
        if (!has_lower_case(range.category)) return;
        for (UChar32 unit = range.first; unit < range.behind; ++unit) add_lower_case(unit);
    });
    for (UChar32 unit = first_circled_capital; unit <= last_circled_capital; ++unit) {
        add_lower_case(unit);
    }
    for (const char16_t unit : {u'\t', u'\n', u'\v', u'\f', u'\r', u'\u0085'}) {
        classes_[unit] |= character_class::space;
    }
    classes_[u' '] |= character_class::printable;
}

void character_table::make_lower(char16_t* text, std::size_t size) const noexcept {
    std::transform(text, text + size, text, [this](char16_t unit) { return to_lower(unit); });
}

const character_table& characters() noexcept {
    static const character_table table;
    return table;
}

std::u16string to_lower(std::u16string_view text) {
    std::u16string lowered(text);
    characters().make_lower(lowered.data(), lowered.size());
    return lowered;
}

}  // namespace replay::platform
