#pragma once

#include <cstddef>
#include <string_view>

#ifdef __SSE2__
#include <emmintrin.h>

#include <bit>
#endif

// Searches of wide text for what is one or two units long, eight a step where the processor can.
namespace replay::platform {

// The first `a` or `b` from `position` on, or `stop`.
inline const char16_t* find_either(const char16_t* position, const char16_t* stop, char16_t a,
                                   char16_t b) {
#ifdef __SSE2__
    const __m128i all_a = _mm_set1_epi16(static_cast<short>(a));
    const __m128i all_b = _mm_set1_epi16(static_cast<short>(b));
    for (; stop - position >= 8; position += 8) {
        const __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i*>(position));
        const __m128i found =
            _mm_or_si128(_mm_cmpeq_epi16(units, all_a), _mm_cmpeq_epi16(units, all_b));
        const auto mask = static_cast<unsigned>(_mm_movemask_epi8(found));
        if (mask != 0) return position + std::countr_zero(mask) / 2;
    }
#endif
    while (position != stop && *position != a && *position != b) ++position;
    return position;
}

// The place of the first `unit` at or behind `from`, npos if there is none.
inline std::size_t find_unit(std::u16string_view text, char16_t unit, std::size_t from) {
    if (from >= text.size()) return std::u16string_view::npos;
    const char16_t* const stop = text.data() + text.size();
    const char16_t* const found = find_either(text.data() + from, stop, unit, unit);
    return found == stop ? std::u16string_view::npos
                         : static_cast<std::size_t>(found - text.data());
}

// The first place at or behind `from` where one of two pairs of units stands, npos if there is
// none.
inline std::size_t find_pair(std::u16string_view text, const char16_t (&a)[3],
                             const char16_t (&b)[3], std::size_t from) {
#ifdef __SSE2__
    const auto load = [](const char16_t* units) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(units));
    };
    const auto equal = [](__m128i units, char16_t wanted) {
        return _mm_cmpeq_epi16(units, _mm_set1_epi16(static_cast<short>(wanted)));
    };
    for (; from < text.size() && text.size() - from > 8; from += 8) {
        const __m128i first = load(text.data() + from);
        const __m128i second = load(text.data() + from + 1);
        const __m128i found = _mm_or_si128(_mm_and_si128(equal(first, a[0]), equal(second, a[1])),
                                           _mm_and_si128(equal(first, b[0]), equal(second, b[1])));
        const auto mask = static_cast<unsigned>(_mm_movemask_epi8(found));
        if (mask != 0) return from + static_cast<std::size_t>(std::countr_zero(mask)) / 2;
    }
#endif
    for (; from < text.size() && text.size() - from > 1; ++from) {
        const bool is_a = text[from] == a[0] && text[from + 1] == a[1];
        const bool is_b = text[from] == b[0] && text[from + 1] == b[1];
        if (is_a || is_b) return from;
    }
    return std::u16string_view::npos;
}

}  // namespace replay::platform
