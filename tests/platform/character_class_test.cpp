#include "platform/character_class.h"

#include <gtest/gtest.h>
#include <unicode/uchar.h>

#include <string>

namespace replay::platform {
namespace {

namespace cc = character_class;

// The last unit of the table, so that a walk over all of them ends.
constexpr unsigned last_unit = 0xFFFF;

TEST(character_class, units_have_their_classes) {
    const struct {
        const char* what;
        char16_t unit;
        cc::flags classes;
    } rows[] = {
        {"NUL", 0x0000, cc::control},
        {"tab", 0x0009, cc::space | cc::control},
        {"blank, the only space that prints", 0x0020, cc::space | cc::printable},
        {"delete", 0x007F, cc::control},
        {"next line", 0x0085, cc::space | cc::control},
        {"no-break space", 0x00A0, cc::space},
        {"soft hyphen", 0x00AD, cc::control},
        {"superscript two, no decimal digit", 0x00B2, 0},
        {"section sign", 0x00A7, cc::punctuation | cc::printable},
        {"zero width space", 0x200B, cc::control},
        {"line separator", 0x2028, cc::space},
        {"byte order mark", 0xFEFF, cc::control},
        {"digit", u'7', cc::digit | cc::printable},
        {"Arabic-Indic digit", 0x0661, cc::digit | cc::printable},
        {"Roman numeral, a number but no digit", 0x2160, 0},
        {"letter", u'Z', cc::alpha | cc::printable},
        {"Han, the last of the first block", 0x9FFF, cc::alpha | cc::printable},
        {"combining acute", 0x0301, 0},
        {"dollar, a symbol", u'$', cc::punctuation | cc::printable},
        {"euro", 0x20AC, cc::punctuation | cc::printable},
        {"first surrogate", 0xD800, 0},
        {"last surrogate", 0xDFFF, 0},
        {"private use", 0xE000, 0},
        {"unassigned", 0x0378, 0},
        {"replacement character", 0xFFFD, cc::punctuation | cc::printable},
        {"last unit", 0xFFFF, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(characters().classes(row.unit), row.classes);
        EXPECT_EQ(characters().is_control(row.unit), (row.classes & cc::control) != 0);
        EXPECT_EQ(characters().is_punctuation(row.unit), (row.classes & cc::punctuation) != 0);
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

TEST(character_class, lower_case_is_one_unit_for_one) {
    // Title case, I with dot, a sigma that is a final one, the Kelvin sign, half a capital.
    EXPECT_EQ(to_lower(u"Q@\x00C9\x01C5\x0130 \x03A3 \x212A\xD801"),
              u"q@\x00E9\x01C6i \x03C3 k\xD801");
    EXPECT_EQ(to_lower(u""), u"");

    std::u16string middle = u"ABCD";
    characters().make_lower(middle.data() + 1, 2);
    EXPECT_EQ(middle, u"AbcD");
}

}  // namespace
}  // namespace replay::platform
