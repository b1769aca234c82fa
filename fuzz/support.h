#pragma once

#include <cstdlib>
#include <string>
#include <string_view>

#include "message/character_set.h"

namespace fuzz_support {

// What must hold whatever the input: else the fuzzer has a finding.
inline void require(bool holds) {
    if (!holds) std::abort();
}

// The input as text. An odd first byte says that 16-bit units follow, low byte first; other input
// is UTF-8, so that a file of text is a seed.
inline std::u16string to_units(std::string_view bytes) {
    if (bytes.empty() || bytes.front() % 2 == 0) {
        return replay::unicode::to_wide(bytes, replay::unicode::utf8);
    }
    std::u16string units;
    for (std::size_t i = 1; i + 1 < bytes.size(); i += 2) {
        const unsigned low = static_cast<unsigned char>(bytes[i]);
        const unsigned high = static_cast<unsigned char>(bytes[i + 1]);
        units += static_cast<char16_t>(high << 8 | low);
    }
    return units;
}

}  // namespace fuzz_support
