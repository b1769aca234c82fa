#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace replay::internet::message2::header_type {

// Splits a header value into tokens at any of some delimiter bytes. Delimiters have no force within
// quotes, behind a backslash and within an encoded word ("=?" to "?="). A backslash outside quotes
// is dropped and the byte behind it kept; within quotes it is a byte like any other. Tokens are
// never empty, and lose the spaces in front of them but not those behind.
//
// A view: the text must outlive it. Throws nothing but for memory.
class value_splitter {
public:
    enum class quotes { drop, keep };

    value_splitter(std::string_view text, std::string_view delimiters, quotes in_tokens)
        : rest_(text), quotes_(in_tokens) {
        delimiters_.add(delimiters);
        special_ = delimiters_;
        special_.add("\\\"?");
    }

    // Puts the next token into `token`; false, and `token` empty, where there is none left.
    bool next(std::string& token);

private:
    enum class mode { plain, escaped, quoted, encoded_word };

    class byte_set {
    public:
        void add(std::string_view bytes) {
            for (const char byte : bytes) word_of(byte) |= bit_of(byte);
        }
        bool holds(char byte) const { return (words_[index_of(byte)] & bit_of(byte)) != 0; }

    private:
        static std::size_t index_of(char byte) { return static_cast<unsigned char>(byte) / 64; }
        static std::uint64_t bit_of(char byte) {
            return std::uint64_t{1} << static_cast<unsigned char>(byte) % 64;
        }
        std::uint64_t& word_of(char byte) { return words_[index_of(byte)]; }

        std::array<std::uint64_t, 4> words_{};
    };

    void take_ordinary_run(std::string& token);
    void take_run(std::size_t size, std::string& token);
    mode take(mode current, char byte, std::string& token) const;
    mode take_plain(char byte, std::string& token) const;

    std::string_view rest_;
    byte_set delimiters_;
    byte_set special_;  // delimiters and what else does not just stand for itself
    quotes quotes_;
};

}  // namespace replay::internet::message2::header_type
