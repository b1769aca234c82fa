#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "message/part.h"

namespace test_support {

// A raw string literal without the line end that it begins with.
inline std::string mail(std::string_view literal) {
    return std::string(literal.substr(1));
}

inline std::string join(const std::vector<std::string>& lines, std::string_view line_end = "\r\n") {
    std::string text;
    for (const std::string& line : lines) text.append(line).append(line_end);
    return text;
}

// Splits a text byte by byte, with the line end last seen as the only memory.
inline std::vector<std::string> split_slowly(std::string_view text, bool final_line) {
    std::vector<std::string> lines;
    std::string line;
    char memory = 0;
    for (const char byte : text) {
        if (byte != '\r' && byte != '\n') {
            line += byte;
            memory = 0;
        } else if (memory == 0 || memory == byte) {
            lines.push_back(line);
            line.clear();
            memory = byte;
        } else {
            memory = 0;
        }
    }
    if (final_line || !line.empty()) lines.push_back(line);
    return lines;
}

// What unparse() gives, as save() writes it.
inline std::string written(const replay::internet::message2::part& root) {
    return join(root.unparse());
}

// Each begins a level deeper; the innermost part has the depth `levels` and the text "x".

inline std::string nested_multiparts(unsigned levels) {
    std::string text;
    for (unsigned level = 0; level < levels; ++level) {
        const std::string boundary = "b" + std::to_string(level);
        text += "Content-Type: multipart/mixed; boundary=" + boundary + "\n\n--" + boundary + "\n";
    }
    return text + "\nx";
}

inline std::string nested_messages(unsigned levels) {
    std::string text;
    for (unsigned level = 0; level < levels; ++level) text += "Content-Type: message/rfc822\n\n";
    return text + "\nx";
}

inline std::string nested_promotions(unsigned levels) {
    std::string text;
    for (unsigned level = 0; level < levels; ++level) {
        text += "Content-Type: application/octet-stream; name=x.eml\n\n";
    }
    return text + "\nx";
}

// The example mails by file name.
inline const std::map<std::string, std::string>& examples() {
    static const std::map<std::string, std::string> texts = [] {
        std::map<std::string, std::string> read;
        for (const auto& entry : std::filesystem::directory_iterator(BRINDLEMOSS_EXAMPLES)) {
            if (entry.path().extension() != ".eml") continue;
            std::ifstream file(entry.path(), std::ios::binary);
            read[entry.path().filename().string()] = {std::istreambuf_iterator<char>(file), {}};
        }
        return read;
    }();
    return texts;
}

}  // namespace test_support
