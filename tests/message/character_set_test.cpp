#include "message/character_set.h"

#include <gtest/gtest.h>

#include <sstream>
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
    {"u-t_f-8", 65001},
    {"ISO_8859-1", 28591},
    {"iso-8859-15", 28605},
    {"ISO8859", 28590},
    {"iso-8859-8-i", 38598},
    {"iso-8859-x", 28590},
    {"latin", 28590},
    {"latin5", 28595},
    {"csISOLatin", 28590},
    {"ISO-IR-100", 1252},
    {"windows-1252", 1252},
    {"windows-31j", 31},
    {"windows", 0},
    {"dosnonsense", 0},
    {"cp1251", 1251},
    {"CP-037", 37},
    {"cp", 0},
    {"koi8-t", -1},
    {"asmo-780", 780},
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

// Of each page that a name stands for the name and the number; what no library has is left out.
TEST(character_set, named_pages_convert) {
    std::istringstream rows(
        "arabic 28596 iso-ir-110 28594 gb18030 54936 gbk 936 hz-gb-2312 52936 big5 950 "
        "x-chinese-cns 20000 euc-cn 51936 koi8-r 20866 koi8-ru 21866 iso-ir-101 28592 "
        "x-europa 29001 x-ia5-german 20106 x-ia5-swedish 20107 x-ia5-norwegian 20108 "
        "csISOLatinCyrillic 28595 csISOLatinGreek 28597 x-mac-greek 10006 csISOLatinHebrew 28598 "
        "logical 38598 x-mac-icelandic 10079 x-iscii-be 57006 x-iscii-de 57003 x-iscii-gu 57010 "
        "x-iscii-ka 57008 x-iscii-ma 57009 x-iscii-or 57007 x-iscii-pa 57011 x-iscii-ta 57004 "
        "x-iscii-te 57005 iso-2022-jp 50221 shift_jis 932 csWindows31J 932 euc-jp 51932 "
        "ks_c_5601-1987 949 johab 1361 EUC-KR 51949 tis-620 874 iso-ir-148 1254 macintosh 10000 "
        "x-mac-arabic 10004 x-mac-ce 10029 x-mac-chinesetrad 10002 x-mac-cyrillic 10007 "
        "x-mac-hebrew 10005 x-mac-japanese 10001 x-mac-korean 10003 UTF8 65001 "
        "unicode-1-1-utf-7 65000");
    int walked = 0;
    std::int32_t number = 0;
    for (std::string name; rows >> name >> number; ++walked) {
        SCOPED_TRACE(name);
        EXPECT_EQ(codepage(name), number);
        EXPECT_EQ(to_wide(from_wide(u"Ab 1", number), number), u"Ab 1");
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
                                      {20000, "\xA1"sv},
                                      {50220, "\xFF"sv},
                                      {51932, "\x8F\xB0\xA1"sv},
                                      {51949, "\xB0"sv}}) {
        SCOPED_TRACE(page);
        EXPECT_THROW(to_wide(bytes, page), unmappable_character);
    }
}

TEST(character_set, strict_and_silent_conversions) {
    EXPECT_EQ(from_wide(u"\xD800", utf8), "\xEF\xBF\xBD");
    EXPECT_EQ(thrown_by([] { from_wide(u"Я", 1252); }), "unicode.unmappable_character[]");
    EXPECT_EQ(from_wide(u"\xD800z", 54936), "?z");
    EXPECT_EQ(thrown_by([] { to_wide("\x1B$B", 50221); }), "unicode[]");
    EXPECT_STREQ(out_of_memory().what(), "unicode.out_of_memory[]");
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
