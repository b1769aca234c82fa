#pragma once

#include <string>

#include "message/part.h"
#include "support/printable.h"

namespace test_support {

enum class outline_detail { with_headers, without_headers };

// A tree as text, one line a part: type, [charset], <boundary>, "body"; below it its headers, each
// behind "| ", and its children. Begins with a line end, so that it reads like a raw string.
inline std::string outline(const replay::internet::message2::part& root,
                           outline_detail detail = outline_detail::without_headers,
                           const std::string& indent = {}) {
    std::string out = indent.empty() ? "\n" : "";
    out += indent + root.content_type + " [" + root.charset + "]";
    if (!root.boundary.empty()) out += " <" + root.boundary + ">";
    out += " " + escaped(root.body) + "\n";
    if (detail == outline_detail::with_headers) {
        for (const auto& header : root.headers) {
            out += indent + "  | " + escaped(header.name) + ": " + escaped(header.value) + "\n";
        }
    }
    for (const auto& child : root.children) out += outline(child, detail, indent + "  ");
    return out;
}

inline std::size_t count_parts(const replay::internet::message2::part& root) {
    std::size_t count = 1;
    for (const auto& child : root.children) count += count_parts(child);
    return count;
}

inline unsigned depth_of(const replay::internet::message2::part& root) {
    unsigned deepest = 0;
    for (const auto& child : root.children) deepest = std::max(deepest, depth_of(child) + 1);
    return deepest;
}

}  // namespace test_support
