#pragma once

#ifdef __SSE2__
#include <emmintrin.h>

#include <bit>
#endif

namespace replay::internet::message2 {

// The first CR or LF from `position` on, or `end`. Lines are short: looking for both at once, 16
// bytes a step and without a call, takes half the time of two memchr.
inline const char* find_line_end(const char* position, const char* end) {
#ifdef __SSE2__
    const __m128i line_feeds = _mm_set1_epi8('\n');
    const __m128i carriage_returns = _mm_set1_epi8('\r');
    for (; end - position >= 16; position += 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(position));
        const __m128i found = _mm_or_si128(_mm_cmpeq_epi8(bytes, line_feeds),
                                           _mm_cmpeq_epi8(bytes, carriage_returns));
        const auto mask = static_cast<unsigned>(_mm_movemask_epi8(found));
        if (mask != 0) return position + std::countr_zero(mask);
    }
#endif
    while (position != end && *position != '\n' && *position != '\r') ++position;
    return position;
}

}  // namespace replay::internet::message2
