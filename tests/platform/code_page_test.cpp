#include "platform/code_page.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>
#include <vector>

#include "platform/code_page_digests.h"
#include "platform/code_page_list.h"
#include "support/in_threads.h"

namespace replay::platform {
namespace {

using status = conversion_status;

std::string sequence_bytes(unsigned sequence) {
    std::string bytes;
    if (sequence > 0xFF) bytes += static_cast<char>(sequence >> 8);
    return bytes += static_cast<char>(sequence & 0xFF);
}

bool has_table(const code_page_entry& page) {
    return page.method != conversion_method::icu_stream && page.method != conversion_method::utf8;
}

// All sequences of one or two bytes that are one unit on the page; two only where the first alone
// is no character.
std::map<unsigned, char16_t> all_sequences(std::int32_t page) {
    std::map<unsigned, char16_t> found;
    const auto try_one = [&](unsigned sequence) {
        std::u16string wide;
        const bool done =
            decode(sequence_bytes(sequence), page, on_error::stop, wide) == status::done;
        if (done && wide.size() == 1) found[sequence] = wide[0];
        return done;
    };
    for (unsigned byte = 0; byte < 256; ++byte) {
        if (try_one(byte) || byte < 0x80) continue;
        for (unsigned trail = 0; trail < 256; ++trail) try_one(byte * 256 + trail);
    }
    return found;
}

bool is_private_or_c1(char16_t unit) {
    return (unit >= 0xE000 && unit < 0xF900) || (unit >= 0x80 && unit < 0xA0);
}

TEST(code_page, tables_agree_with_the_published_ones) {
    for (const page_digest& row : published_digests) {
        SCOPED_TRACE(row.page);
        std::uint64_t hash = 0xCBF29CE484222325u;
        std::size_t count = 0;
        for (const auto& [sequence, unit] : all_sequences(row.page)) {
            if (is_private_or_c1(unit)) continue;
            const unsigned value = unit;
            for (const unsigned byte : {sequence >> 8, sequence & 0xFF, value >> 8, value & 0xFF}) {
                hash = (hash ^ byte) * 0x100000001B3u;
            }
            ++count;
        }
        EXPECT_EQ(count, row.count);
        EXPECT_EQ(hash, row.hash);
    }
}

TEST(code_page, what_decodes_comes_back) {
    for (const code_page_entry& page : code_page_list()) {
        if (!has_table(page)) continue;
        SCOPED_TRACE(page.number);
        const auto sequences = all_sequences(page.number);
        std::map<char16_t, int> uses;
        for (const auto& entry : sequences) ++uses[entry.second];
        ASSERT_GE(sequences.size(), 96u);
        for (const auto& [sequence, unit] : sequences) {
            std::string bytes;
            ASSERT_EQ(encode({&unit, 1}, page.number, on_error::stop, bytes), status::done);
            if (uses[unit] == 1) {
                ASSERT_EQ(bytes, sequence_bytes(sequence));
            }
            std::u16string again;
            ASSERT_EQ(decode(bytes, page.number, on_error::stop, again), status::done);
            ASSERT_EQ(again, std::u16string(1, unit));
        }
    }
}

TEST(code_page, unknown_numbers) {
    for (const std::int32_t page : {-2, -1, 4, 42, 780, 1132, 1200, 1201, 12000, 20002, 28590,
                                    28602, 28607, 57001, 57012, INT32_MAX, INT32_MIN}) {
        SCOPED_TRACE(page);
        std::u16string wide = u"kept";
        EXPECT_EQ(decode("a", page, on_error::replace, wide), status::unknown_page);
        EXPECT_EQ(wide, u"kept");
        std::string bytes = "kept";
        EXPECT_EQ(encode(u"a", page, on_error::replace, bytes), status::unknown_page);
        EXPECT_EQ(bytes, "kept");
        EXPECT_FALSE(is_code_page(page));
    }
}

struct text_sample {
    const char* what;
    std::int32_t page;
    std::string_view bytes;
    std::u16string_view wide;
};

using namespace std::string_view_literals;

// Written by hand from the standards; each goes both ways. Here are the pages without a published
// table, several bytes a character, and what the published ones leave out.
const text_sample samples[] = {
    {"1252", 1252, "\x80 \x93\xE4\x94 \x81\x8D\x8F\x90\x9D"sv, u"€ “ä” \x81\x8D\x8F\x90\x9D"},
    {"1253, bytes without a letter", 1253, "\xC1\xAA\xD2\xFF"sv, u"Α\xF8F9\xF8FA\xF8FB"},
    {"1255, vowel points apart", 1255, "\xF9\xD1\xC7\xCA"sv, u"\x5E9\x5C1\x5B7\x5BA"},
    {"1257", 1257, "\xC0\xA1\xA5"sv, u"Ą\xF8FC\xF8FD"},
    {"1258, tone marks apart", 1258, "a\xEC"sv, u"a\x301"},
    {"874", 874, "\xA1\xD2\xC3\xDB"sv, u"การ\xF8C1"},
    {"8859-8, in logical order", 38598, "\xF9\xAF\xFD\xBF"sv, u"ש‾\x200E\xF79D"},
    {"page 1 is 437", 1, "\xE6\xE1\x1C"sv, u"µß\x1C"},
    {"page 2 is Mac Roman", 2, "\x8A\xDB"sv, u"ä¤"},
    {"EBCDIC Latin-1", 1047, "\x15\xC1"sv, u"\nA"},
    {"Shift_JIS", 932, "\x93\xFA\x96\x7B\x8C\xEA\xB6\xC5\x95\x5C\x5C\x7E\x1A\x1C\x7F"sv,
     u"日本語ｶﾅ表\\~\x1A\x1C\x7F"},
    {"Shift_JIS, the usual of several", 932, "\x81\xE0\x87\x54\x81\xCA\xFC\x4B"sv, u"≒Ⅰ￢黑"},
    {"Mac Japanese", 10001, "\x93\xFA\xFD\xFE\x80\xA0"sv, u"日©™\x80\xA0"},
    {"GBK", 936, "\xBC\xF2\xCC\xE5\x87\xD6\x80"sv, u"简体囍€"},
    {"Mac Chinese", 10008, "\xBC\xF2\xA1\xA4"sv, u"简・"},
    {"GB18030", 54936, "\xBA\xBA\xA2\xE3\x95\x32\x82\x36\x83\x36\x84\x33"sv, u"汉€𠀀한"},
    {"HZ", 52936, "~{VPND~} ok~~"sv, u"中文 ok~"},
    {"Big5", 950, "\xA4\xA4\xA4\xE5\xB3\x5C\xA5\x5C\xBB\x5C"sv, u"中文許功蓋"},
    {"Mac Big5", 10002, "\xA4\xA4\xFD\xFE\x80"sv, u"中©™\x80"},
    {"CNS 11643", 20000, "\xC4\xA1\xA1\x21\xA1\x26"sv, u"一乂万"},
    {"Unified Hangul", 949, "\xC7\xD1\xB1\xB9\xBE\xEE\x8C\x63"sv, u"한국어똠"},
    {"EUC-KR", 51949, "\xC7\xD1\xB1\xB9\xBE\xEE\xA2\xE6"sv, u"한국어€"},
    {"Johab", 1361, "\xD0\x65\x8B\x69\\"sv, u"한글\\"},
    {"ISO-2022-JP", 50220, "\x1B$BF|K\\\x1B(B abc"sv, u"日本 abc"},
    {"ISO-2022-JP, all kana", 50222,
     "\x1B$BF|\x0E"
     "6E\x0F\x1B(B"sv,
     u"日ｶﾅ"},
    {"ISO-2022-KR", 50225, "\x1B$)C\x0EGQ1[\x0F ok"sv, u"한글 ok"},
    {"UTF-7", 65000, "Gr+APwA3w-e +- +IKw-"sv, u"Grüße + €"},
    {"UTF-8", 65001, "\xEF\xBB\xBFz\xC3\x9F\xE2\x82\xAC\xF0\xA0\x80\x80"sv, u"\xFEFFzß€𠀀"},
    {"Devanagari", 57002, "\xEF\x42\xB3\xDA\xCC"sv, u"\x915\x93E\x92E"},
    {"Tamil", 57004, "\xEF\x44\xB3\xDA"sv, u"\xB95\xBBE"},
};

TEST(code_page, samples_go_both_ways) {
    for (const text_sample& row : samples) {
        SCOPED_TRACE(row.what);
        std::u16string wide = u"before";
        ASSERT_EQ(decode(row.bytes, row.page, on_error::stop, wide), status::done);
        EXPECT_EQ(wide, std::u16string(u"before").append(row.wide));
        std::string bytes = "before";
        ASSERT_EQ(encode(row.wide, row.page, on_error::stop, bytes), status::done);
        EXPECT_EQ(bytes, std::string("before").append(row.bytes));
    }
}

TEST(code_page, a_text_cut_at_any_length_is_an_error_or_its_beginning) {
    for (const text_sample& row : samples) {
        SCOPED_TRACE(row.what);
        for (std::size_t length = 1; length < row.bytes.size(); ++length) {
            SCOPED_TRACE(length);
            const std::vector<char> no_spare_byte(row.bytes.begin(), row.bytes.begin() + length);
            const std::string_view exact(no_spare_byte.data(), length);
            std::u16string strict = u"x";
            const status outcome = decode(exact, row.page, on_error::stop, strict);
            if (outcome == status::done) {
                EXPECT_TRUE(row.wide.starts_with(strict.substr(1)));
            } else {
                EXPECT_EQ(strict, u"x");
            }
            std::u16string lenient;
            decode(exact, row.page, on_error::replace, lenient);
            while (lenient.ends_with(u'\xFFFD')) lenient.pop_back();
            EXPECT_TRUE(row.wide.starts_with(lenient));
        }
    }
}

TEST(code_page, broken_bytes_stop_or_are_replaced) {
    const text_sample rows[] = {
        {"UTF-8: stray trail", 65001, "a\x80z"sv, u"a\xFFFDz"},
        {"UTF-8: overlong", 65001, "\xC0\xAF"sv, u"\xFFFD\xFFFD"},
        {"UTF-8: overlong of three", 65001, "\xE0\x9F\xBF"sv, u"\xFFFD\xFFFD\xFFFD"},
        {"UTF-8: surrogate", 65001, "\xED\xA0\x80"sv, u"\xFFFD\xFFFD\xFFFD"},
        {"UTF-8: above the last character", 65001, "\xF4\x90\x80\x80"sv,
         u"\xFFFD\xFFFD\xFFFD\xFFFD"},
        {"UTF-8: one mark a cut sequence", 65001, "\xF0\x9F\x98z\xE2\x82"sv, u"\xFFFDz\xFFFD"},
        {"UTF-8: no lead byte", 65001, "\xF5\xFF"sv, u"\xFFFD\xFFFD"},
        {"UTF-8: behind a block of ASCII", 65001, "0123456789abcdef\xFFghijklmnopqrstuvw"sv,
         u"0123456789abcdef\xFFFDghijklmnopqrstuvw"},
        {"ASCII with a high byte", 20127, "a\x80"sv, u"a\xFFFD"},
        {"a hole in 8859-6", 28596, "\xC7\xA1"sv, u"ا\xFFFD"},
        {"a hole in 857", 857, "\xD5"sv, u"\xFFFD"},
        {"Shift_JIS: broken trail stays", 932, "\x93<\x93\n"sv, u"\xFFFD<\xFFFD\n"},
        {"Shift_JIS: lead at the end", 932, "a\x93"sv, u"a\xFFFD"},
        {"EUC-JP: no third byte plane", 51932, "\x8F\xB0\xA1"sv, u"\xFFFD亜"},
        {"EUC-KR: lead and control", 51949, "\xB0\x01"sv, u"\xFFFD\x01"},
        {"GB18030: broken four bytes", 54936, "\x81\x30z"sv,
         u"\xFFFD"
         u"0z"},
        {"HZ: high byte", 52936, "a\xFFz"sv, u"a\xFFFDz"},
        {"ISO-2022-JP: high byte", 50220, "a\xFFz"sv, u"a\xFFFDz"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        std::u16string wide = u"kept";
        EXPECT_EQ(decode(row.bytes, row.page, on_error::stop, wide), status::untranslatable);
        EXPECT_EQ(wide, u"kept");
        ASSERT_EQ(decode(row.bytes, row.page, on_error::replace, wide), status::done);
        EXPECT_EQ(wide, std::u16string(u"kept").append(row.wide));
    }
}

TEST(code_page, bytes_that_are_no_text_give_nothing) {
    for (const auto& [page, bytes] : {std::pair{50220, "\x1B$B"sv},
                                      {50221, "\x1B$B\x1B(B"sv},
                                      {52936, "~\n"sv},
                                      {65000, "+"sv}}) {
        SCOPED_TRACE(page);
        std::u16string wide = u"kept";
        EXPECT_EQ(decode(bytes, page, on_error::replace, wide), status::nothing);
        EXPECT_EQ(wide, u"kept");
    }
}

TEST(code_page, units_without_bytes_stop_or_are_replaced) {
    const struct {
        const char* what;
        std::int32_t page;
        std::u16string_view wide;
        std::string_view replaced;
    } rows[] = {
        {"above Latin-1", 28591, u"aĀz", "a?z"},
        {"no full-width look-alike", 1252, u"Ａ", "?"},
        {"no letter without its accent", 1252, u"ā", "?"},
        {"no non-breaking hyphen as hyphen", 1252, u"\x2011", "?"},
        {"no yen sign as backslash", 932, u"¥", "?"},
        {"invisible characters are not dropped", 50220, u"a\x200B\xAD\x2060z", "a???z"},
        {"no other dash, in a stream", 50220, u"\x2014\x301C", "??"},
        {"question mark of EBCDIC", 37, u"AЯ", "\xC1\x6F"},
        {"a pair is two units in a table", 1251, u"😀", "??"},
        {"half a pair", 54936, u"a\xD800z", "a?z"},
        {"UTF-8: low surrogate first", 65001, u"\xDC00\xD800", "\xEF\xBF\xBD\xEF\xBF\xBD"},
        {"UTF-8: two high surrogates", 65001, u"\xD83D\xD83D\xDE00",
         "\xEF\xBF\xBD\xF0\x9F\x98\x80"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        std::string bytes = "kept";
        EXPECT_EQ(encode(row.wide, row.page, on_error::stop, bytes), status::untranslatable);
        EXPECT_EQ(bytes, "kept");
        ASSERT_EQ(encode(row.wide, row.page, on_error::replace, bytes), status::done);
        EXPECT_EQ(bytes, std::string("kept").append(row.replaced));
    }
}

TEST(code_page, every_character_goes_through_utf8_and_gb18030) {
    std::u16string all;
    for (char32_t character = 0; character < 0x110000; ++character) {
        if (character >= 0xD800 && character < 0xE000) continue;
        if (character >= 0x10000) {
            all += static_cast<char16_t>(0xD7C0 + (character >> 10));
            all += static_cast<char16_t>(0xDC00 + (character & 0x3FF));
        } else {
            all += static_cast<char16_t>(character);
        }
    }
    for (const std::int32_t page : {65001, 54936}) {
        SCOPED_TRACE(page);
        std::string bytes;
        ASSERT_EQ(encode(all, page, on_error::stop, bytes), status::done);
        std::u16string again;
        ASSERT_EQ(decode(bytes, page, on_error::stop, again), status::done);
        EXPECT_TRUE(again == all);
    }
}

// Bytes that steer the converters are more frequent than chance would have them.
std::string hostile_bytes(std::mt19937& random) {
    static constexpr std::string_view steering =
        "\x1B\x1B$()*BCIJ~{}+-\x0E\x0F\x8E\x8F\xEF\xD9\xE9";
    std::string bytes(random() % 40, '\0');
    for (char& byte : bytes) {
        byte = random() % 3 ? static_cast<char>(random() & 0xFF)
                            : steering[random() % steering.size()];
    }
    return bytes;
}

TEST(code_page, hostile_bytes_on_every_page) {
    std::mt19937 random(20240229);
    for (const code_page_entry& page : code_page_list()) {
        SCOPED_TRACE(page.number);
        for (int round = 0; round < 300; ++round) {
            const std::string bytes = hostile_bytes(random);
            SCOPED_TRACE(testing::PrintToString(bytes));
            std::u16string lenient;
            const status outcome = decode(bytes, page.number, on_error::replace, lenient);
            ASSERT_THAT(outcome, testing::AnyOf(status::done, status::nothing));
            ASSERT_LE(lenient.size(), bytes.size());

            std::u16string strict;
            if (decode(bytes, page.number, on_error::stop, strict) != status::done) continue;
            ASSERT_EQ(strict, lenient);
            if (!has_table(page)) continue;
            std::string back;
            ASSERT_EQ(encode(strict, page.number, on_error::stop, back), status::done);
            std::u16string again;
            ASSERT_EQ(decode(back, page.number, on_error::stop, again), status::done);
            ASSERT_EQ(again, strict);
        }
    }
}

TEST(code_page, hostile_units_on_every_page) {
    std::mt19937 random(314159);
    for (const code_page_entry& page : code_page_list()) {
        SCOPED_TRACE(page.number);
        EXPECT_TRUE(is_code_page(page.number));
        for (int round = 0; round < 100; ++round) {
            std::u16string wide(1 + random() % 20, u'\0');
            for (char16_t& unit : wide) {
                unit = static_cast<char16_t>(random() % 4 ? random() & 0xFF : random() & 0xFFFF);
            }
            std::string bytes;
            ASSERT_EQ(encode(wide, page.number, on_error::replace, bytes), status::done);
            std::string exact;
            if (encode(wide, page.number, on_error::stop, exact) == status::done) {
                EXPECT_EQ(exact, bytes);
            }
        }
    }
}

// Longer than the pieces in which text goes through a converter, and cut inside characters there.
TEST(code_page, long_texts_with_converters) {
    std::string bytes = "x";
    std::u16string wide = u"x";
    while (bytes.size() < (std::size_t{1} << 21) + 9) {
        bytes += "\x95\x32\x82\x36\xBA\xBA";
        wide += u"𠀀汉";
    }
    std::u16string decoded;
    ASSERT_EQ(decode(bytes, 54936, on_error::stop, decoded), status::done);
    EXPECT_TRUE(decoded == wide);
    std::string encoded;
    ASSERT_EQ(encode(wide, 54936, on_error::stop, encoded), status::done);
    EXPECT_TRUE(encoded == bytes);
}

TEST(code_page, threads_get_the_same_results) {
    const auto convert_all = [] {
        std::vector<std::u16string> results;
        for (int round = 0; round < 20; ++round) {
            for (const text_sample& row : samples) {
                std::u16string wide;
                decode(row.bytes, row.page, on_error::stop, wide);
                std::string bytes;
                encode(row.wide, row.page, on_error::stop, bytes);
                results.push_back(wide);
                decode(bytes, row.page, on_error::replace, results.emplace_back());
            }
        }
        return results;
    };
    std::vector<std::vector<std::u16string>> results(4);
    test_support::in_threads(4, [&](int number) { results[number] = convert_all(); });
    EXPECT_THAT(results, testing::Each(convert_all()));
}

}  // namespace
}  // namespace replay::platform
