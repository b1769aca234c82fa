#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace test_support {

// Bytes between quotes with all but printable ASCII escaped: "a\r\n\xE9".
inline std::string escaped(std::string_view bytes) {
    std::string out = "\"";
    for (const char byte : bytes) {
        char escape[8];
        if (byte == '\r') {
            out += "\\r";
        } else if (byte == '\n') {
            out += "\\n";
        } else if (byte >= 32 && byte <= 126) {
            out += byte;
        } else {
            std::snprintf(escape, sizeof escape, "\\x%02X", static_cast<unsigned char>(byte));
            out += escape;
        }
    }
    return out + '"';
}

// ASCII units as they are, others as {41F}.
inline std::string printable(std::u16string_view wide) {
    std::string out;
    for (const char16_t unit : wide) {
        char escape[8];
        if (unit >= 32 && unit <= 126) {
            out += static_cast<char>(unit);
        } else {
            std::snprintf(escape, sizeof escape, "{%X}", static_cast<unsigned>(unit));
            out += escape;
        }
    }
    return out;
}

}  // namespace test_support
