#include "services/language_identifier.h"

#include <gtest/gtest.h>
#include <unicode/uloc.h>

#include <array>
#include <set>
#include <string>

#include "services/language_numbers.h"
#include "support/paragraphs.h"
#include "support/printable.h"

namespace {

using namespace brindlemoss::language;
using test_support::paragraph;
using test_support::paragraphs;
using test_support::printable;

const std::u16string english(paragraphs[0].text);

identification identified(std::u16string_view text) {
    static manager all_tests(u"folder", u"configuration", u"database");
    return all_tests.identify(text);
}

std::u16string times(std::u16string_view piece, std::size_t count) {
    std::u16string text;
    for (std::size_t round = 0; round < count; ++round) text += piece;
    return text;
}

TEST(language_identifier, tells_the_language_of_a_paragraph) {
    for (const paragraph& each : paragraphs) {
        SCOPED_TRACE(each.language);
        const identification found = identified(each.text);
        EXPECT_GE(found.status, 6);
        EXPECT_EQ(found.language, each.number);
        EXPECT_GE(found.weight, each.text.size() * 9 / 10);
        EXPECT_LE(found.weight, each.text.size());
    }
}

TEST(language_identifier, guesses_at_nothing) {
    const std::u16string forty = english.substr(0, 40);  // "The meeting ... to Thursday"
    const struct {
        const char* name;
        std::u16string text;
        int status;
    } rows[] = {
        {"empty", u"", 0},
        {"blank", times(u" \t\r\n\u00A0\u2003", 100), 0},
        {"digits and signs", times(u"1,234.50 $ + = ", 50), 0},
        {"pictures", times(u"\U0001F600", 100), 0},
        {"lone surrogates", times(u"\xD800\xDC00\xD800 \xDFFF", 100), 0},
        {"marks alone", times(u"\u0301", 100), 0},
        {"39 characters within blanks", times(u"\n", 99) + forty.substr(0, 39) + times(u" ", 99),
         2},
        {"letters that are no words", times(u"qxz jwq xkq zzv kpq ", 20), 4},
        {"Haitian Creole, which has no number",
         u"Reyinyon an te deplase pou jedi maten paske y ap pentire gwo sal la semèn sa a. Tanpri "
         u"pote chif mwa pase yo epi di Anna si ou ta renmen manje ak nou apre sa nan nouvo "
         u"restoran an.",
         5},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const identification found = identified(row.text);
        EXPECT_EQ(found.status, row.status);
        EXPECT_EQ(found.language, 0u);
        EXPECT_EQ(found.weight, 0);
    }
    EXPECT_EQ(identified(times(u" \n", 50) + forty).language, 0x409u);
}

TEST(language_identifier, reads_through_what_hides_a_text) {
    const struct {
        const char* name;
        char16_t between_letters;  // 0: only between words
        std::u16string between_words;
    } rows[] = {
        {"controls", 0, u"\x01\x07\x7F\x9F"},
        {"characters that no text should hold", 0, u"\xFFFE\xFFFF\xFDD0\xFDEF"},
        {"high surrogates without a partner", 0, u"\xD83D"},
        {"low surrogates without a partner", 0, u"\xDE00"},
        {"the last character there is", 0, u"\U0010FFFF"},
        {"blanks of zero width", 0x200B, u" "},
        {"byte order marks", 0xFEFF, u" "},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::u16string text;
        for (const char16_t unit : english) {
            if (unit == u' ') {
                text += row.between_words;
            } else {
                text += unit;
                if (row.between_letters != 0) text += row.between_letters;
            }
        }
        const identification found = identified(text);
        EXPECT_EQ(found.status, 6) << printable(text.substr(0, 40));
        EXPECT_EQ(found.language, 0x409u);
    }
}

TEST(language_identifier, looks_at_the_beginning_of_a_long_text) {
    const std::u16string russian(paragraphs[16].text);
    const std::u16string long_english = times(english + u" ", 100);
    const identification found = identified(long_english + times(russian, 10'000));
    EXPECT_EQ(found.language, 0x409u);
    EXPECT_GT(found.weight, 2750);
    EXPECT_LE(found.weight, 2896);
    // What is skipped does not count as looked at.
    EXPECT_EQ(identified(times(u"0123456789", 100'000) + russian).language, 0x419u);
}

TEST(language_identifier, weighs_the_part_that_is_in_the_language) {
    const std::u16string_view russian = paragraphs[16].text;
    const identification mixed = identified(std::u16string(russian) + u" " + english.substr(0, 80));
    EXPECT_EQ(mixed.language, 0x419u);
    EXPECT_LT(mixed.weight, 240);
    EXPECT_GT(mixed.weight, 120);
}

TEST(language_identifier, weight_grows_with_the_characters) {
    const struct {
        std::size_t characters;
        std::uint16_t weight;
    } rows[] = {{0, 1},       {1, 1},       {40, 40},     {1024, 1024}, {1600, 1280},
                {4096, 2048}, {6400, 2560}, {8192, 2896}, {8193, 2896}, {16'000'000, 2896}};
    for (const auto& row : rows) EXPECT_EQ(weight_of(row.characters), row.weight);
}

TEST(language_numbers, stand_for_one_language_each) {
    std::set<std::string_view> tags;
    std::set<std::uint32_t> numbers;
    for (const numbered_language& each : numbered_languages()) {
        SCOPED_TRACE(each.name);
        EXPECT_TRUE(tags.insert(each.tag).second);
        EXPECT_EQ(language_of_tag(each.tag), &each);
        if (each.number == 0) continue;
        EXPECT_TRUE(numbers.insert(each.number).second);
        EXPECT_EQ(language_of_number(each.number), &each);
    }
    EXPECT_EQ(language_of_number(0), nullptr);
    EXPECT_EQ(language_of_number(2057), nullptr);
    EXPECT_EQ(language_of_tag(""), nullptr);
}

// Those that both know.
TEST(language_numbers, are_those_that_icu_knows) {
    int compared = 0;
    for (const numbered_language& each : numbered_languages()) {
        std::array<char, 64> locale{};
        std::array<char, 16> icu_language{};
        UErrorCode error = U_ZERO_ERROR;
        if (each.number == 0) continue;
        uloc_getLocaleForLCID(each.number, locale.data(), locale.size(), &error);
        if (U_FAILURE(error) != 0 || locale[0] == '\0') continue;
        uloc_getLanguage(locale.data(), icu_language.data(), icu_language.size(), &error);
        SCOPED_TRACE(each.name);
        const std::string tag(each.tag.substr(0, each.tag.find('-')));
        EXPECT_TRUE(icu_language.data() == tag || icu_language.data() == each.other_tag)
            << locale.data();
        ++compared;
    }
    EXPECT_GT(compared, 90);
}

TEST(language_numbers, are_found_by_what_people_call_a_language) {
    const std::pair<const char*, std::set<std::uint32_t>> rows[] = {
        {"rUSSIAN", {0x419}},
        {"ru", {0x419}},
        {"iw", {0x40D}},
        {"he", {0x40D}},
        {"Chinese", {0x804, 0x404}},
        {"zh", {0x804, 0x404}},
        {"ZH-hant", {0x404}},
        {"Chinese (simplified)", {0x804}},
        {"no", {0x414, 0x814}},
        {"nn", {0x814}},
        {"Esperanto", {0}},
        {"Russia", {}},
        {"", {}},
    };
    for (const auto& [name, wanted] : rows) {
        std::set<std::uint32_t> numbers;
        for (const numbered_language* each : languages_called(name)) numbers.insert(each->number);
        EXPECT_EQ(numbers, wanted) << name;
    }
}

}  // namespace
