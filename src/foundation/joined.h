#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>

namespace replay {

// The pieces one behind the other, in one allocation.
inline std::u16string joined(std::initializer_list<std::u16string_view> pieces) {
    std::size_t size = 0;
    for (const std::u16string_view piece : pieces) size += piece.size();
    std::u16string whole;
    whole.reserve(size);
    for (const std::u16string_view piece : pieces) whole.append(piece);
    return whole;
}

}  // namespace replay
