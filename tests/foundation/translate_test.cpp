#include "foundation/translate.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <random>
#include <string>
#include <string_view>

#include "support/printable.h"

namespace {

using namespace replay::coding::translate;
using std::string;
using std::string_view;
using test_support::escaped;

constexpr string_view base64_alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

template <typename... bytes>
string of(bytes... values) {
    return {static_cast<char>(values)...};
}

TEST(translate, base64) {
    EXPECT_EQ(base64_encode("", padding::pad), "");
    EXPECT_EQ(base64_encode("A", padding::pad), "QQ==");
    EXPECT_EQ(base64_encode("AB", padding::pad), "QUI=");
    EXPECT_EQ(base64_encode("ABC", padding::pad), "QUJD");
    EXPECT_EQ(base64_encode("ABCD", padding::none), "QUJDRA");
    EXPECT_EQ(base64_encode(of(0, 0xFF, 0xFE), padding::none), "AP/+");

    const struct {
        const char* text;
        const char* decoded;
        bool valid;
    } rows[] = {
        {"QQ==", "A", true},          {"QQ", "A", true},        {"Q", "", true},
        {"Q Q", "A", false},          {"Q\r\nQ", "A", false},   {"=Q=U=J=D=", "ABC", true},
        {"QQ==Qg==", "A\x04 ", true},  // one row of digits, whatever stands between them
        {"QUJD\x80", "ABC", false},   {"QUJ-D_", "ABC", false}, {"", "", true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(escaped(row.text));
        EXPECT_EQ(base64_decode(row.text, decoding::tolerant), row.decoded);
        if (row.valid) {
            EXPECT_EQ(base64_decode(row.text, decoding::strict), row.decoded);
        } else {
            EXPECT_THROW(base64_decode(row.text, decoding::strict), invalid_codeword);
        }
    }
}

TEST(translate, padding_counts_what_stood_there_before) {
    string out = "x";
    base64_encode("A", out, padding::pad);
    EXPECT_EQ(out, "xQQ=");
    base64_encode("", out, padding::pad);
    EXPECT_EQ(out, "xQQ=");
    base64_encode("A", out, padding::none);
    EXPECT_EQ(out, "xQQ=QQ");
}

TEST(translate, base16) {
    EXPECT_EQ(base16_encode(of(0x00, 0xAB, 0xFF)), "00abff");
    EXPECT_EQ(base16_decode("aB", decoding::strict), "\xAB");
    EXPECT_EQ(base16_decode("414", decoding::strict), "A");
    EXPECT_EQ(base16_decode("4x1g4 2", decoding::tolerant), "AB");
    EXPECT_THROW(base16_decode("4=1", decoding::strict), invalid_codeword);
}

TEST(translate, uuencode) {
    EXPECT_EQ(uuencode("abc"), "86)C");
    EXPECT_EQ(uuencode(of(0, 0, 0)), "    ");
    EXPECT_EQ(uuencode("a"), "80");
    EXPECT_EQ(uudecode("86)C", decoding::strict), "abc");
    EXPECT_EQ(uudecode("````", decoding::strict), of(0, 0, 0));
    EXPECT_EQ(uudecode("8a6)C", decoding::tolerant), "abc");
    EXPECT_THROW(uudecode("86)Ca", decoding::strict), invalid_codeword);
}

// Which bytes have a value, which are passed over and which are invalid, byte by byte.
TEST(translate, reverse_tables) {
    for (int value = 0; value < 256; ++value) {
        SCOPED_TRACE(value);
        const char byte = static_cast<char>(value);
        std::optional<std::uint64_t> base64_digit, base16_digit, uuencode_digit;
        if (const auto at = base64_alphabet.find(byte); at != string_view::npos) base64_digit = at;
        if (const auto at = string_view("0123456789abcdef").find(byte); at != string_view::npos) {
            base16_digit = at;
        }
        if (byte >= 'A' && byte <= 'F') base16_digit = byte - 'A' + 10;
        if (value >= 32 && value <= 95) uuencode_digit = value - 32;
        if (byte == '`') uuencode_digit = 0;

        const auto check = [&](auto decode, std::optional<std::uint64_t> digit, unsigned width,
                               bool passed_over) {
            std::uint64_t number = 1;
            decode(string_view(&byte, 1), number, decoding::tolerant);
            EXPECT_EQ(number, digit ? (1U << width) + *digit : 1);
            if (digit || passed_over) {
                EXPECT_NO_THROW(decode(string_view(&byte, 1), number, decoding::strict));
            } else {
                EXPECT_THROW(decode(string_view(&byte, 1), number, decoding::strict),
                             invalid_codeword);
            }
        };
        using integer_decoder = void (*)(string_view, std::uint64_t&, decoding);
        check(static_cast<integer_decoder>(base64_decode), base64_digit, 6, byte == '=');
        check(static_cast<integer_decoder>(base16_decode), base16_digit, 4, false);
        check(static_cast<integer_decoder>(uudecode), uuencode_digit, 6, false);
    }
}

TEST(translate, integers) {
    EXPECT_EQ(base16_encode(std::uint64_t{0}), "0");
    EXPECT_EQ(base16_encode(std::uint64_t{0x1F0}), "1f0");
    EXPECT_EQ(base64_encode(std::uint64_t{0}, padding::none), "A");
    EXPECT_EQ(base64_encode(std::uint64_t{63}, padding::none), "/");
    EXPECT_EQ(base64_encode(std::uint64_t{64}, padding::none), "BA");
    EXPECT_EQ(base64_encode(std::uint64_t{64}, padding::pad), "BA==");
    EXPECT_EQ(uuencode(std::uint64_t{64}), "! ");
    EXPECT_EQ(base64_encode(std::numeric_limits<std::uint64_t>::max(), padding::none),
              "P//////////");

    std::uint64_t number = 0;
    base64_decode("P//////////", number, decoding::strict);
    EXPECT_EQ(number, std::numeric_limits<std::uint64_t>::max());
    number = 5;
    base16_decode("1 0", number, decoding::tolerant);
    EXPECT_EQ(number, 0x510U);
    number = 0xF;
    base16_decode("0123456789abcdef", number, decoding::strict);  // the F falls out at the top
    EXPECT_EQ(number, 0x0123456789abcdefU);
    number = 1;
    uudecode("!!", number, decoding::strict);
    EXPECT_EQ(number, 0x1041U);
}

TEST(translate, decoding_gives_back_what_was_encoded) {
    std::mt19937 random(20250119);
    for (int length = 0; length < 200; ++length) {
        string bytes;
        for (int i = 0; i < length; ++i) bytes += static_cast<char>(random());
        ASSERT_EQ(base64_decode(base64_encode(bytes, padding::pad), decoding::strict), bytes);
        ASSERT_EQ(base64_decode(base64_encode(bytes, padding::none), decoding::strict), bytes);
        ASSERT_EQ(base16_decode(base16_encode(bytes), decoding::strict), bytes);
        ASSERT_EQ(uudecode(uuencode(bytes), decoding::strict), bytes);
        ASSERT_EQ(quoted_printable_decode(quoted_printable_encode(bytes)), bytes);
        ASSERT_EQ(percent_decode(percent_encode(bytes)), bytes);
    }
}

TEST(translate, base64_in_pieces_runs_on_over_their_edges) {
    base64_decoder decoder;
    string out = ">";
    decoder.append("QU", out);
    decoder.append("J D=R!", out);
    EXPECT_EQ(out, ">ABC");
    decoder.restart();  // the R is dropped
    decoder.append("QQ", out);
    EXPECT_EQ(out, ">ABCA");
}

TEST(translate, escapes_are_coded_byte_by_byte) {
    for (int value = 0; value < 256; ++value) {
        SCOPED_TRACE(value);
        const char byte = static_cast<char>(value);
        const string digits = {"0123456789ABCDEF"[value / 16], "0123456789ABCDEF"[value % 16]};
        const bool coded_in_quoted_printable =
            value < 32 || value > 126 || string_view("=_?\"").find(byte) != string_view::npos;
        const bool alphanumeric = (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
                                  (byte >= 'a' && byte <= 'z');
        EXPECT_EQ(quoted_printable_encode(string(1, byte)),
                  coded_in_quoted_printable ? "=" + digits : string(1, byte));
        EXPECT_EQ(percent_encode(string(1, byte)), alphanumeric ? string(1, byte) : "%" + digits);
    }
    EXPECT_EQ(quoted_printable_encode("a b_c"), "a b=5Fc");
}

TEST(translate, escapes_that_are_none) {
    const struct {
        const char* text;  // "=" stands for the escape sign of either coding
        const char* decoded;
        bool valid;
    } rows[] = {
        {"a=", "a=", true},
        {"a=4", "a=4", true},
        {"=41", "A", true},
        {"=c3=A9", "\xC3\xA9", true},
        {"=zz", "=zz", false},
        {"=4z", "=4z", false},
        {"==41", "=A", false},
        {"=4=41", "=4A", false},
        {"a_+ b", "a_+ b", true},
        {"==", "==", true},
        {"===", "===", false},
        {"\x80\r\n", "\x80\r\n", true},
        {"=\x80\x80", "=\x80\x80", false},
    };
    for (const auto& row : rows) {
        const auto with_sign = [](string text, char sign) {
            for (char& byte : text) {
                if (byte == '=') byte = sign;
            }
            return text;
        };
        SCOPED_TRACE(escaped(row.text));
        const string percent_text = with_sign(row.text, '%');
        const string percent_decoded = with_sign(row.decoded, '%');
        string out = ">";
        quoted_printable_decode(row.text, out, decoding::tolerant);
        EXPECT_EQ(out, string(">") + row.decoded);
        out = ">";
        percent_decode(percent_text, out, decoding::tolerant);
        EXPECT_EQ(out, ">" + percent_decoded);
        if (row.valid) {
            EXPECT_EQ(quoted_printable_decode(row.text), row.decoded);
            EXPECT_EQ(percent_decode(percent_text), percent_decoded);
        } else {
            EXPECT_THROW(quoted_printable_decode(row.text), invalid_codeword);
            EXPECT_THROW(percent_decode(percent_text), invalid_codeword);
        }
    }
}

TEST(translate, decoder_that_throws_leaves_the_output_alone) {
    string out = ">";
    EXPECT_THROW(base64_decode("QUJD!", out, decoding::strict), invalid_codeword);
    EXPECT_THROW(quoted_printable_decode("ab=zz", out, decoding::strict), invalid_codeword);
    EXPECT_EQ(out, ">");
}

}  // namespace
