#pragma once

#include <string>
#include <string_view>

namespace replay::internet::message2::header_type {

// Splits a header value into tokens at any of some delimiter bytes. Delimiters have no force within
// quotes, behind a backslash and within an encoded word ("=?" to "?="). A backslash outside quotes
// is dropped and the byte behind it kept; within quotes it is a byte like any other. Tokens are
// never empty, and lose the spaces in front of them but not those behind.
//
// A view: the text and the delimiters must outlive it. Throws nothing but for memory.
class value_splitter {
public:
    enum class quotes { drop, keep };

    value_splitter(std::string_view text, std::string_view delimiters, quotes in_tokens)
        : rest_(text), delimiters_(delimiters), quotes_(in_tokens) {}

    // Puts the next token into `token`; false, and `token` empty, where there is none left.
    bool next(std::string& token);

private:
    enum class mode { plain, escaped, quoted, encoded_word };

    void take_ordinary_run(std::string& token);
    bool is_delimiter(char byte) const;
    mode take(mode current, char byte, std::string& token) const;
    mode take_plain(char byte, std::string& token) const;

    std::string_view rest_;
    std::string_view delimiters_;
    quotes quotes_;
};

}  // namespace replay::internet::message2::header_type
