#include "message/character_set.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace replay::unicode {
namespace {

using namespace std::string_view_literals;

struct name_case {
    std::string_view name;
    std::int32_t codepage;
};

const name_case name_cases[] = {
    {"", -1},
    {"-_-", -1},
    {"US-ASCII", -1},
    {"x-unknown", -1},
    {" utf-8", -1},
    {"utf_8", 65001},
    {"UTF8", 65001},
    {"u-t_f-8", 65001},
    {"UTF-16", -1},
    {"ISO_8859-1", 28591},
    {"iso-8859-15", 28605},
    {"ISO8859", 28590},
    {"iso-8859-1:1987", 28591},
    {"iso-8859-8-i", 38598},
    {"iso-8859-8-e", 28598},
    {"iso-8859-x", 28590},
    {"latin1", 28591},
    {"latin", 28590},
    {"latin5", 28595},
    {"csISOLatin2", 28592},
    {"csISOLatinHebrew", 28598},
    {"csISOLatin", 28590},
    {"ISO-IR-100", 1252},
    {"windows-1252", 1252},
    {"windows-31j", 31},
    {"windows", 0},
    {"csWindows31J", 932},
    {"dosnonsense", 0},
    {"ibm850", 850},
    {"cp1251", 1251},
    {"CP-037", 37},
    {"cp", 0},
    {"koi8-r", 20866},
    {"KOI8-RU", 21866},
    {"koi8-t", -1},
    {"shift_jis", 932},
    {"ks_c_5601-1987", 949},
    {"EUC-KR", 51949},
    {"gb2312", 936},
    {"hz-gb-2312", 52936},
    {"x-iscii-be", 57006},
    {"x-iscii-pa", 57011},
    {"asmo-780", 780},
    {"unicode-1-1-utf-7", 65000},
    {"latin2147483647", INT32_MAX},
    {"iso8859999999999999999999", INT32_MAX},
    {"cp2147483648", INT32_MAX},
    {"latin2147455057", INT32_MAX},
    {"latin2147455056", 2147483646},
    {"utf8\0"sv, -1},
    {"utf\xFF-8", -1},
};

TEST(character_set, code_page_of_a_name) {
    for (const name_case& row : name_cases) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(codepage(row.name), row.codepage);
    }
    EXPECT_EQ(codepage("cp" + std::string(1000000, '9')), INT32_MAX);
}

// Gives what the call threw, "" when it threw nothing of ours.
template <class Call>
std::string thrown_by(Call call) {
    try {
        call();
    } catch (const generic& error) {
        return error.what();
    }
    return "";
}

TEST(character_set, classes_name_themselves) {
    EXPECT_STREQ(generic().what(), "unicode[]");
    EXPECT_STREQ(out_of_memory().what(), "unicode.out_of_memory[]");
    EXPECT_STREQ(invalid_codepage().what(), "unicode.invalid_codepage[]");
    EXPECT_STREQ(unmappable_character().what(), "unicode.unmappable_character[]");
    EXPECT_EQ(unmappable_character().message(), "");
    EXPECT_EQ(unmappable_character().domain(), "unicode.unmappable_character");
}

TEST(character_set, byte_for_byte_keeps_all_256) {
    std::string bytes;
    std::u16string wide;
    for (int value = 0; value < 256; ++value) {
        bytes += static_cast<char>(value);
        wide += static_cast<char16_t>(value);
    }
    for (const std::int32_t page : {-1, 0, 3, 28591}) {
        SCOPED_TRACE(page);
        EXPECT_EQ(to_wide(bytes, page), wide);
        EXPECT_EQ(from_wide(wide, page), bytes);
        EXPECT_EQ(thrown_by([page] { from_wide(u"a\x100", page); }),
                  "unicode.unmappable_character[]");
    }
}

TEST(character_set, empty_text_on_any_page) {
    for (const std::int32_t page : {-1, 65001, 932, 780, -7, INT32_MAX}) {
        SCOPED_TRACE(page);
        EXPECT_EQ(to_wide("", page), u"");
        EXPECT_EQ(from_wide(u"", page), "");
        EXPECT_TRUE(is_representable(u"", page));
    }
}

TEST(character_set, unknown_pages_throw) {
    for (const std::int32_t page : {780, 20002, 42, 31, 1200, 28590, -2, INT32_MIN, INT32_MAX}) {
        SCOPED_TRACE(page);
        EXPECT_EQ(thrown_by([page] { to_wide("a", page); }), "unicode.invalid_codepage[]");
        EXPECT_EQ(thrown_by([page] { from_wide(u"a", page); }), "unicode.invalid_codepage[]");
        EXPECT_FALSE(is_representable(u"a", page));
    }
}

// All pages behind the names but those that no library has.
TEST(character_set, named_pages_convert) {
    int walked = 0;
    for (const std::string_view name : {"arabic",          "iso-ir-110",
                                        "gb18030",         "gbk",
                                        "hz-gb-2312",      "big5",
                                        "x-chinese-cns",   "euc-cn",
                                        "koi8-r",          "koi8-u",
                                        "iso-ir-101",      "x-europa",
                                        "x-ia5-german",    "x-ia5-swedish",
                                        "x-ia5-norwegian", "cyrillic",
                                        "greek",           "x-mac-greek",
                                        "hebrew",          "logical",
                                        "x-mac-icelandic", "x-iscii-be",
                                        "x-iscii-de",      "x-iscii-gu",
                                        "x-iscii-ka",      "x-iscii-ma",
                                        "x-iscii-or",      "x-iscii-pa",
                                        "x-iscii-ta",      "x-iscii-te",
                                        "iso-2022-jp",     "shift_jis",
                                        "euc-jp",          "ks_c_5601-1987",
                                        "johab",           "euc-kr",
                                        "tis-620",         "iso-ir-148",
                                        "macintosh",       "x-mac-arabic",
                                        "x-mac-ce",        "x-mac-chinesetrad",
                                        "x-mac-cyrillic",  "x-mac-hebrew",
                                        "x-mac-japanese",  "x-mac-korean",
                                        "utf-8",           "utf-7",
                                        "us-ascii"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(to_wide(from_wide(u"Ab 1", codepage(name)), codepage(name)), u"Ab 1");
        ++walked;
    }
    EXPECT_EQ(walked, 49);
}

TEST(character_set, pages_that_replace) {
    for (const std::int32_t page :
         {65001, 50221, 50222, 50225, 50227, 50229, 52936, 54936, 57002, 57011}) {
        SCOPED_TRACE(page);
        EXPECT_EQ(to_wide("a\xFF", page), u"a\xFFFD");
    }
}

TEST(character_set, pages_that_throw) {
    for (const auto& [page, bytes] : {std::pair{932, "a\x93"sv},
                                      {936, "\x81"sv},
                                      {950, "\xA4 "sv},
                                      {1361, "\xD0\x20"sv},
                                      {20000, "\xA1"sv},
                                      {20106, "\x80"sv},
                                      {28596, "\xA1"sv},
                                      {50220, "\xFF"sv},
                                      {51932, "\x8F\xB0\xA1"sv},
                                      {51949, "\xB0"sv}}) {
        SCOPED_TRACE(page);
        const auto& text = bytes;
        const auto& number = page;
        EXPECT_EQ(thrown_by([&] { to_wide(text, number); }), "unicode.unmappable_character[]");
    }
}

TEST(character_set, strict_and_silent_conversions) {
    EXPECT_EQ(to_wide("\xE4", byte_for_byte), u"\xE4");
    EXPECT_EQ(to_wide("\xE4", utf8), u"\xFFFD");
    EXPECT_EQ(thrown_by([] { to_wide("\x93", 932); }), "unicode.unmappable_character[]");
    EXPECT_EQ(from_wide(u"\xD800", utf8), "\xEF\xBF\xBD");
    EXPECT_EQ(thrown_by([] { from_wide(u"Я", 1252); }), "unicode.unmappable_character[]");
    EXPECT_EQ(from_wide(u"\xD800z", 54936), "?z");
    EXPECT_EQ(thrown_by([] { to_wide("\x1B$B", 50221); }), "unicode[]");
}

TEST(character_set, appending_keeps_what_was_there) {
    std::u16string wide = u"a";
    append_wide("\xC3\xA4", utf8, wide);
    EXPECT_EQ(wide, u"aä");
    EXPECT_THROW(append_wide("ok\x93", 932, wide), unmappable_character);
    EXPECT_EQ(wide, u"aä");
    std::string bytes = "a";
    append_bytes(u"ä", utf8, bytes);
    EXPECT_EQ(bytes, "a\xC3\xA4");
    EXPECT_THROW(append_bytes(u"okЯ", 1252, bytes), unmappable_character);
    EXPECT_EQ(bytes, "a\xC3\xA4");
}

TEST(character_set, recoding) {
    EXPECT_EQ(recode("\xD1\xFA\xE5\xF8\xFC", 1251, 20866), "\xF3\xDF\xC5\xDB\xD8");
    EXPECT_EQ(recode("\xF3\xDF", 20866, utf8), "\xD0\xA1\xD1\x8A");
    EXPECT_THROW(recode("\xD1", 1251, 1252), unmappable_character);
    EXPECT_THROW(recode("\xD1", 780, 1252), invalid_codepage);
    EXPECT_EQ(recode("", 780, 781), "");
}

TEST(character_set, representable_texts) {
    EXPECT_TRUE(is_representable(u"Grüße €", 1252));
    EXPECT_FALSE(is_representable(u"Grüße €", 28591));
    EXPECT_FALSE(is_representable(u"Я", byte_for_byte));
    EXPECT_TRUE(is_representable(u"😀", utf8));
    EXPECT_FALSE(is_representable(u"\xD83D", utf8));
    EXPECT_FALSE(is_representable(u"Я", 57002));
}

}  // namespace
}  // namespace replay::unicode
