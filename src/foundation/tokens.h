#pragma once

#include <string_view>
#include <vector>

namespace replay {

// The pieces of a text between separators. Separators in a row count as one, and those at either
// end separate nothing: no piece is empty. The text must outlive the pieces.
inline std::vector<std::string_view> tokens_of(std::string_view text, char separator) {
    std::vector<std::string_view> tokens;
    while (true) {
        const std::size_t begin = text.find_first_not_of(separator);
        if (begin == std::string_view::npos) return tokens;
        text.remove_prefix(begin);
        const std::size_t size = text.find(separator);
        tokens.push_back(text.substr(0, size));
        if (size == std::string_view::npos) return tokens;
        text.remove_prefix(size);
    }
}

}  // namespace replay
