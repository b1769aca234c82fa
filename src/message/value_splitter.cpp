#include "message/value_splitter.h"

#include <algorithm>

namespace replay::internet::message2::header_type {

bool value_splitter::next(std::string& token) {
    token.clear();
    mode current = mode::plain;
    while (!rest_.empty()) {
        if (current == mode::plain && !token.empty()) take_ordinary_run(token);
        if (current == mode::quoted) take_run(std::min(rest_.find('"'), rest_.size()), token);
        if (rest_.empty()) break;
        const char byte = rest_.front();
        rest_.remove_prefix(1);
        // A "?" on an empty token is no start of an encoded word but a byte like any other.
        const bool ends_token = current == mode::plain && byte != '\\' && byte != '"' &&
                                !(byte == '?' && !token.empty()) && delimiters_.holds(byte);
        if (!ends_token) {
            current = take(current, byte, token);
        } else if (!token.empty()) {
            return true;
        }
    }
    return !token.empty();
}

// Moves the bytes over that mean nothing but themselves: most of any value.
void value_splitter::take_ordinary_run(std::string& token) {
    const auto end =
        std::find_if(rest_.begin(), rest_.end(), [&](char byte) { return special_.holds(byte); });
    take_run(static_cast<std::size_t>(end - rest_.begin()), token);
}

void value_splitter::take_run(std::size_t size, std::string& token) {
    token.append(rest_, 0, size);
    rest_.remove_prefix(size);
}

value_splitter::mode value_splitter::take(mode current, char byte, std::string& token) const {
    switch (current) {
        case mode::escaped: token += byte; return mode::plain;
        case mode::quoted:
            if (byte != '"' || quotes_ == quotes::keep) token += byte;
            return byte == '"' ? mode::plain : mode::quoted;
        case mode::encoded_word:
            token += byte;
            return token.ends_with("?=") ? mode::plain : mode::encoded_word;
        case mode::plain: break;
    }
    return take_plain(byte, token);
}

value_splitter::mode value_splitter::take_plain(char byte, std::string& token) const {
    if (byte == '\\') return mode::escaped;
    if (byte == '"') {
        if (quotes_ == quotes::keep) token += byte;
        return mode::quoted;
    }
    const bool opens_encoded_word = byte == '?' && token.ends_with('=');
    if (byte != ' ' || !token.empty()) token += byte;
    return opens_encoded_word ? mode::encoded_word : mode::plain;
}

}  // namespace replay::internet::message2::header_type
