#include "account/settings_document.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

using brindlemoss::account::settings_document;
using namespace std::string_view_literals;

struct look_up_case {
    const char* what;
    std::u16string_view document;
    std::u16string_view name;
    std::u16string_view value;
};

const look_up_case look_up_cases[] = {
    {"nested", u"<a><b>x</b></a>", u"a.b", u"x"},
    {"any case of the tag", u"<LoGiN>x", u"lOgIn", u"x"},
    {"out of order", u"<a><b>x</b></a>", u"b.a", u""},
    {"the same name twice", u"<a>x<a>y", u"a.a", u"y"},
    {"the first of two", u"<a>x</a><a>y</a>", u"a", u"x"},
    {"no way back to an earlier tag", u"<b>x</b><a></a>", u"a.b", u""},
    {"the beginning of a tag", u"<a><bc>x</bc></a>", u"a.b", u"x"},
    {"more than the document", u"<a", u"abc", u""},
    {"more than the tag", u"<a><b>x</b></a>", u"a.bc", u""},
    {"attributes", u"<a href='q' b=\"c\">x</a>", u"a", u"x"},
    {"an attribute with an end of a tag", u"<a b='1>0'>x</a>", u"a", u"0'>x"},
    {"no closing tag is one", u"</a>x<a>y", u"a", u"y"},
    {"a slash in a name", u"</a>x<a>y", u"/a", u"x"},
    {"runs of both signs", u"<<<a>>>x<<<b>>>y", u"a.b", u"y"},
    {"a run of ends", u"<a>>>x<b", u"a", u"x"},
    {"runs of dots", u"<a><b>x", u"..a...b..", u"x"},
    {"dots alone", u"<a>x</a>", u"...", u""},
    {"no document", u"", u"a", u""},
    {"no tag", u"a>x", u"a", u""},
    {"a document of beginnings", u"<<<<", u"a", u""},
    {"nothing behind the tag", u"<a>", u"a", u""},
    {"a tag cut short", u"<a", u"a", u""},
    {"a tag cut short before another", u"<a<b>x", u"a", u"x"},
    {"no tag behind the value", u"<a>x y", u"a", u"x y"},
    {"blanks stay", u"<a> x  y </a>", u"a", u" x  y "},
    {"line ends and tabs vanish", u"<a>\r\n\tx\r\ny\t</a>", u"a", u"xy"},
    {"also within a tag", u"<a\n\tb>x", u"ab", u"x"},
    {"other letters have one case", u"<\u00E4>x<\u00C4>y", u"\u00C4", u"y"},
    {"a digit is no letter", u"<a[>x<a{>y", u"a{", u"y"},
    {"a NUL is nothing special", u"<\0>x\0y<"sv, u"\0"sv, u"x\0y"sv},
    {"all entities", u"<a>&lt;&gt;&amp;&apos;&quot;</a>", u"a", u"<>&'\""},
    {"an entity of an entity sign", u"<a>1 &amp;lt; 2", u"a", u"1 &lt; 2"},
    {"those that come later", u"<a>&amp;apos;&amp;quot;&amp;amp;&amp;gt;", u"a", u"'\"&amp;&gt;"},
    {"none is made of its neighbours", u"<a>&&lt;lt;&am&amp;p;", u"a", u"&<lt;&am&p;"},
    {"unknown ones", u"<a>&#60;&LT;&nbsp;&lt", u"a", u"&#60;&LT;&nbsp;&lt"},
    {"entities make no tag", u"&lt;a>x<a>y", u"a", u"y"},
};

TEST(settings_document, finds_values_by_a_scan_for_tags) {
    for (const look_up_case& row : look_up_cases) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(settings_document(row.document).setting(row.name), row.value);
    }
}

TEST(settings_document, finds_tags_wherever_they_stand) {
    for (std::size_t before = 0; before < 100; ++before) {
        SCOPED_TRACE(before);
        const std::u16string gap(before, u'.');
        const settings_document document(gap + u"<a" + gap + u">" + gap + u"x" + gap + u"<");
        EXPECT_EQ(document.setting(u"a"), gap + u"x" + gap);
    }
}

TEST(settings_document, reads_utf8_and_what_is_none) {
    const auto document = settings_document::of_utf8("\xEF\xBB\xBF<a>\xC3\xA9\xFF\r\n\xF0\x9F</a>");
    EXPECT_EQ(document.setting(u"a"), u"\u00E9\uFFFD\uFFFD");
}

std::u16string repeated(std::u16string_view piece, std::size_t size) {
    std::u16string text;
    text.reserve(size + piece.size());
    while (text.size() < size) text += piece;
    return text;
}

// Whatever grew faster than the document would not come to an end here.
TEST(settings_document, large_documents_of_any_shape) {
    constexpr std::size_t units = std::size_t{2} << 20;
    for (const std::u16string_view piece :
         {u"x"sv, u"<"sv, u">"sv, u"<a"sv, u"<a.b>"sv, u"<a>"sv, u"</a>"sv, u"&"sv, u"\r\n"sv}) {
        SCOPED_TRACE(testing::PrintToString(piece));
        const settings_document document(repeated(piece, units) + u"<wanted>it</wanted>");
        EXPECT_EQ(document.setting(u"wanted"), u"it");
        EXPECT_EQ(document.setting(u"aa.b.wanted"), u"");
    }
    const std::u16string_view entities = u"&amp;lt;";
    const settings_document full(u"<a>" + repeated(entities, units));
    EXPECT_EQ(full.setting(u"a"), repeated(u"&lt;", units / 2));
}

}  // namespace
