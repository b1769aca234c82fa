#include "platform/character_class.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unicode/uchar.h>

#include <string>
#include <thread>
#include <vector>

namespace replay::platform {
namespace {

namespace cc = character_class;

// The last unit of the table, so that a walk over all of them ends.
constexpr unsigned last_unit = 0xFFFF;

struct class_case {
    const char* what;
    char16_t unit;
    cc::flags classes;
};

const class_case class_cases[] = {
    {"NUL", 0x0000, cc::control},
    {"before the tab", 0x0008, cc::control},
    {"tab", 0x0009, cc::space | cc::control},
    {"carriage return", 0x000D, cc::space | cc::control},
    {"behind the carriage return", 0x000E, cc::control},
    {"unit separator, a control only", 0x001F, cc::control},
    {"blank, the only space that prints", 0x0020, cc::space | cc::printable},
    {"delete", 0x007F, cc::control},
    {"before the next line", 0x0084, cc::control},
    {"next line", 0x0085, cc::space | cc::control},
    {"behind the next line", 0x0086, cc::control},
    {"no-break space", 0x00A0, cc::space},
    {"soft hyphen", 0x00AD, cc::control},
    {"superscript two, no decimal digit", 0x00B2, 0},
    {"a half", 0x00BD, 0},
    {"section sign", 0x00A7, cc::punctuation | cc::printable},
    {"ogham space", 0x1680, cc::space},
    {"em space", 0x2003, cc::space},
    {"zero width space", 0x200B, cc::control},
    {"line separator", 0x2028, cc::space},
    {"paragraph separator", 0x2029, cc::space},
    {"ideographic space", 0x3000, cc::space},
    {"byte order mark", 0xFEFF, cc::control},
    {"digit", u'7', cc::digit | cc::printable},
    {"Arabic-Indic digit", 0x0661, cc::digit | cc::printable},
    {"full width digit", 0xFF19, cc::digit | cc::printable},
    {"Roman numeral, a number but no digit", 0x2160, 0},
    {"letter", u'Z', cc::alpha | cc::printable},
    {"micro sign", 0x00B5, cc::alpha | cc::printable},
    {"Cyrillic", 0x0436, cc::alpha | cc::printable},
    {"Han, the last of the first block", 0x9FFF, cc::alpha | cc::printable},
    {"Hangul", 0xD7A3, cc::alpha | cc::printable},
    {"modifier letter", 0x02B0, cc::alpha | cc::printable},
    {"combining acute", 0x0301, 0},
    {"dollar, a symbol", u'$', cc::punctuation | cc::printable},
    {"euro", 0x20AC, cc::punctuation | cc::printable},
    {"circled letter, a symbol", 0x24B6, cc::punctuation | cc::printable},
    {"first surrogate", 0xD800, 0},
    {"last surrogate", 0xDFFF, 0},
    {"private use", 0xE000, 0},
    {"unassigned", 0x0378, 0},
    {"replacement character", 0xFFFD, cc::punctuation | cc::printable},
    {"last unit", 0xFFFF, 0},
};

TEST(character_class, units_have_their_classes) {
    for (const class_case& row : class_cases) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(characters().classes(row.unit), row.classes);
        EXPECT_EQ(characters().is_space(row.unit), (row.classes & cc::space) != 0);
        EXPECT_EQ(characters().is_control(row.unit), (row.classes & cc::control) != 0);
        EXPECT_EQ(characters().is_punctuation(row.unit), (row.classes & cc::punctuation) != 0);
        EXPECT_EQ(characters().is_alpha(row.unit), (row.classes & cc::alpha) != 0);
        EXPECT_EQ(characters().is_digit(row.unit), (row.classes & cc::digit) != 0);
        EXPECT_EQ(characters().is_printable(row.unit), (row.classes & cc::printable) != 0);
    }
}

TEST(character_class, all_of_asciis_punctuation_is_punctuation) {
    const std::u16string_view marks = u"!\"#$%&'()*+,-./:;<=>?@[\\]^_`{|}~";
    ASSERT_EQ(marks.size(), 32u);
    std::u16string found;
    for (char16_t unit = 0; unit < 0x80; ++unit) {
        if (characters().is_punctuation(unit)) found += unit;
    }
    EXPECT_EQ(found, marks);
}

// The table is filled from ranges and by a choice of categories; ICU's answer for each unit on its
// own shows a range cut short or a category left out.
TEST(character_class, every_unit_agrees_with_its_own_look_up) {
    unsigned with_lower_case = 0;
    for (unsigned unit = 0; unit <= last_unit; ++unit) {
        SCOPED_TRACE(unit);
        const auto narrow = static_cast<char16_t>(unit);
        const auto point = static_cast<UChar32>(unit);
        ASSERT_EQ(characters().is_space(narrow), u_isUWhiteSpace(point));
        ASSERT_EQ(characters().is_alpha(narrow), u_isalpha(point));
        ASSERT_EQ(characters().is_digit(narrow), u_isdigit(point));
        ASSERT_EQ(characters().to_lower(narrow), u_tolower(point));
        with_lower_case += characters().to_lower(narrow) != narrow;
    }
    EXPECT_GT(with_lower_case, 1000u);
}

struct lower_case {
    const char* what;
    char16_t unit;
    char16_t lower;
};

const lower_case lower_cases[] = {
    {"ASCII", u'Q', u'q'},
    {"no letter", u'@', u'@'},
    {"Latin-1", 0x00C9, 0x00E9},
    {"multiplication sign, between capitals", 0x00D7, 0x00D7},
    {"I with dot, whose full mapping is two units", 0x0130, u'i'},
    {"title case", 0x01C5, 0x01C6},
    {"final sigma is not looked for", 0x03A3, 0x03C3},
    {"Cyrillic", 0x0416, 0x0436},
    {"Kelvin sign", 0x212A, u'k'},
    {"Roman numeral", 0x2160, 0x2170},
    {"circled letter", 0x24B6, 0x24D0},
    {"full width", 0xFF21, 0xFF41},
    {"first half of a capital beyond the first plane", 0xD801, 0xD801},
};

TEST(character_class, lower_case_is_one_unit_for_one) {
    std::u16string all;
    std::u16string all_lower;
    for (const lower_case& row : lower_cases) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(characters().to_lower(row.unit), row.lower);
        all += row.unit;
        all_lower += row.lower;
    }
    EXPECT_EQ(to_lower(all), all_lower);
    EXPECT_EQ(to_lower(u""), u"");

    std::u16string middle = u"ABCD";
    characters().make_lower(middle.data() + 1, 2);
    EXPECT_EQ(middle, u"AbcD");
}

TEST(character_class, threads_get_the_one_table_filled) {
    std::vector<const character_table*> tables(8);
    std::vector<int> letters(tables.size());
    {
        std::vector<std::thread> threads;
        for (std::size_t i = 0; i < tables.size(); ++i) {
            threads.emplace_back([&tables, &letters, i] {
                tables[i] = &characters();
                letters[i] = tables[i]->is_alpha(u'a') && tables[i]->is_alpha(0xFF21);
            });
        }
        for (std::thread& thread : threads) thread.join();
    }
    EXPECT_THAT(tables, testing::Each(&characters()));
    EXPECT_THAT(letters, testing::Each(1));
}

}  // namespace
}  // namespace replay::platform
