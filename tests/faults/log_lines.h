#pragma once

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>

namespace kill_rounds {

// Whether a line, without its end, begins with the time, the letter of its level and two blanks,
// and holds no control character but tabs.
inline bool is_whole_line(std::string_view line) {
    constexpr std::string_view form = "dddd/dd/dd dd:dd:dd L  ";
    if (line.size() < form.size()) return false;
    for (std::size_t i = 0; i < form.size(); ++i) {
        const bool is_digit = line[i] >= '0' && line[i] <= '9';
        const bool is_level = std::string_view("# +!>").find(line[i]) != std::string_view::npos;
        if (form[i] == 'd' ? !is_digit : form[i] == 'L' ? !is_level : line[i] != form[i]) {
            return false;
        }
    }
    return std::none_of(line.begin(), line.end(), [](char byte) {
        return (static_cast<unsigned char>(byte) < ' ' && byte != '\t') || byte == '\x7F';
    });
}

// All of a log file, "" where there is none. Throws at a line that is not whole.
inline std::string whole_lines(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = text.find("\r\n", begin);
        const std::string line = text.substr(begin, end - begin);
        if (end == std::string::npos || !is_whole_line(line)) {
            throw std::runtime_error(path + ": a torn line at " + std::to_string(begin) + ": " +
                                     line.substr(0, 200));
        }
        begin = end + 2;
    }
    return text;
}

}  // namespace kill_rounds
