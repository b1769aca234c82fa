#include "message/html_reader.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "foundation/md5.h"
#include "foundation/translate.h"
#include "message/html_entities.h"
#include "support/printable.h"

namespace replay::html {
namespace {

using coding::translate::invalid_codeword;
using test_support::printable;

// The events one by one: T text, & entity, < tag, > its end, = attribute.
class recorder : public reader {
public:
    std::vector<std::string> events;

    void tag(std::u16string_view name) override { add("<", name); }
    void tag_end(std::u16string_view name) override { add(">", name); }
    void attribute(std::u16string_view name, std::u16string_view value) override {
        events.push_back(std::string("=") + printable(name) + "=" + printable(value));
    }
    void attribute(std::u16string_view name) override { add("=", name); }
    void text(std::u16string_view text) override { add("T", text); }
    void entity(std::u16string_view name) override { add("&", name); }

private:
    void add(const std::string& kind, std::u16string_view text) {
        events.push_back(kind + printable(text));
    }
};

// Parses from a buffer with no spare unit behind it.
std::vector<std::string> events_of(std::u16string_view html) {
    const std::vector<char16_t> exact(html.begin(), html.end());
    recorder handler;
    parse({exact.data(), exact.size()}, handler);
    return handler.events;
}

using events = std::vector<std::string>;

struct event_case {
    const char* what;
    std::u16string_view html;
    events wanted;
};

const event_case event_cases[] = {
    {"nothing", u"", {}},
    {"no text at the end", u"<a>", {"T", "<a", ">a"}},
    {"text around a tag", u"x<a>y", {"Tx", "<a", ">a", "Ty"}},
    {"end tag", u"</A>", {"T", "</A", ">/A"}},
    {"empty name", u"<>x", {"T", "<", ">", "Tx"}},
    {"blank for a name", u"< a>", {"T", "<", "=a", ">"}},
    {"a name holds what it likes", u"<a/b\"<&='>x", {"T", "<a/b\"<&='", ">a/b\"<&='", "Tx"}},
    {"name cut by the end", u"x<a", {"Tx"}},
    {"tag cut behind its name", u"<a ", {"T", "<a"}},
    {"comment", u"<!-- a>b --><c>", {"T", "<!--", "=a", ">!--", "Tb -->", "<c", ">c"}},
    {"script", u"<script>if (a<b) c</script>", {"T", "<script", ">script", "Tif (a", "<b)", ">b)"}},

    {"entity", u"a&amp;b", {"Ta", "&amp", "Tb"}},
    {"entity at the end of the text", u"&amp;", {"T", "&amp"}},
    {"entity not ended", u"a&amp", {"Ta"}},
    {"only ampersand", u"&&&&", {"T"}},
    {"an ampersand between blanks", u"a & b", {"Ta ", "&", "Tb"}},
    {"an ampersand in a name", u"AT&T rocks", {"TAT", "&T", "Trocks"}},
    {"semicolon at once", u"&;x", {"T", "&", "Tx"}},
    {"an entity runs over tags", u"&a<b>&c d", {"T", "&a<b>&c", "Td"}},

    {"no quotes", u"<a b=c d=e>", {"T", "<a", "=b=c", "=d=e", ">a"}},
    {"no value", u"<a b c>", {"T", "<a", "=b", "=c", ">a"}},
    {"many kinds of blanks", u"<a\t\r\n b\u3000c\u0085>", {"T", "<a", "=b", "=c", ">a"}},
    {"value without name", u"<a =b>", {"T", "<a", "==b", ">a"}},
    {"name without value but with a sign", u"<a b=>", {"T", "<a", "=b=", ">a"}},
    {"blanks around the sign", u"<a b = c>", {"T", "<a", "=b", "==", "=c", ">a"}},
    {"blank before a quote", u"<a b= \"c d\">", {"T", "<a", "=b=", "=\"c", "=d\"", ">a"}},
    {"single quotes", u"<a b='c\"d'>", {"T", "<a", "=b=c\"d", ">a"}},
    {"quote within a value", u"<a b=c'd'>", {"T", "<a", "=b=c'd'", ">a"}},
    {"slash and entity in a value", u"<a b=/c&amp;>", {"T", "<a", "=b=/c&amp;", ">a"}},
    {"what touches the closing quote is lost", u"<a b='c'd=e f>", {"T", "<a", "=b=c", "=f", ">a"}},
    {"slash before the end", u"<br />", {"T", "<br", ">br"}},
    {"slash ends a name without a call", u"<a b/c=d e>", {"T", "<a", "=e", ">a"}},
    {"quotes around a name", u"<a \"b>\">", {"T", "<a", "=\"b", ">a", "T\">"}},

    {"escaped quote", u"<a href='x\\'y'>", {"T", "<a", "=href=x'y", ">a"}},
    {"escape of anything", u"<a b=\"\\n\\\"\\>\">", {"T", "<a", "=b=n\">", ">a"}},
    {"no escape without quotes", u"<a b=\\c\\>", {"T", "<a", "=b=\\c\\", ">a"}},
    {"backslash at the end of the text", u"<a b='\\", {"T", "<a"}},
    {"escaped quote at the end of the text", u"<a b='\\'", {"T", "<a"}},

    {"end behind the sign", u"<a href=", {"T", "<a"}},
    {"end within a value", u"<a href=x", {"T", "<a"}},
    {"end within quotes", u"<a href='x> ", {"T", "<a"}},
    {"end behind the quote", u"<a href='x'", {"T", "<a", "=href=x"}},
    {"end behind an attribute's name", u"<a b", {"T", "<a"}},

    {"NUL and surrogates",
     {u"\0<\xD800>\xDC00&\0;", 8},
     {"T{0}", "<{D800}", ">{D800}", "T{DC00}", "&{0}"}},
};

TEST(html_reader, gives_the_events_in_order) {
    for (const event_case& row : event_cases) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(events_of(row.html), row.wanted);
    }
}

TEST(html_reader, a_text_cut_short_gives_the_first_events) {
    for (const event_case& row : event_cases) {
        for (std::size_t size = 0; size < row.html.size(); ++size) {
            SCOPED_TRACE(row.what + (" " + std::to_string(size)));
            events found = events_of(row.html.substr(0, size));
            if (found.empty()) continue;
            ASSERT_LE(found.size(), row.wanted.size());
            events wanted(row.wanted.begin(), row.wanted.begin() + found.size());
            if (found.back()[0] == 'T') wanted.back().resize(found.back().size());  // may end early
            EXPECT_EQ(found, wanted);
        }
    }
}

// The stretch between two marks is searched in blocks: a mark is found wherever it stands in one,
// and blocks are no limit to a stretch.
TEST(html_reader, finds_a_mark_at_every_place) {
    for (std::size_t size = 0; size < 70; ++size) {
        SCOPED_TRACE(size);
        const std::u16string run(size, u'x');
        const std::string told(size, 'x');
        EXPECT_EQ(events_of(run + u"<a>"), (events{"T" + told, "<a", ">a"}));
        EXPECT_EQ(events_of(run + u"&a;"), (events{"T" + told, "&a"}));
        EXPECT_EQ(events_of(run), size == 0 ? events{} : events{"T" + told});
        EXPECT_EQ(events_of(u"<a b='" + run + u"'>"), (events{"T", "<a", "=b=" + told, ">a"}));
        EXPECT_EQ(events_of(u"<a b='" + run + u"\\'" + run + u"'>"),
                  (events{"T", "<a", "=b=" + told + "'" + told, ">a"}));
    }
}

struct text_case {
    const char* what;
    std::u16string_view html;
    std::u16string_view result;
    std::set<std::u16string, std::less<>> unknown;
};

const text_case text_cases[] = {
    {"no body", u"<html>x&foo;</html>", u"", {}},
    {"line end for p in capitals", u"<body>a<P CLASS=x>b", u"a\r\nb", {}},
    {"an end of p is a blank", u"<body>a</p>b", u"a b", {}},
    {"br with a slash is another tag", u"<body>a<br/>b<br />c", u"a b\r\nc", {}},
    {"style is dropped", u"<body><style>s</style>t</body>", u"  t", {}},
    {"meta drops what comes behind it", u"<body>a<meta x>b<i>c", u"a  c", {}},
    {"script stays", u"<body><script>s</script></body>", u" s ", {}},
    {"body in capitals with attributes", u"x<BODY bgcolor=red>a</Body>b", u"a", {}},
    {"a second body is a blank", u"<body>a<body>b", u"a b", {}},
    {"the end of the body without its sign", u"<body>a</body ", u"a", {}},
    {"comment", u"<body>a<!-- b -->c<!-- <i>d -->e", u"a c d -->e", {}},

    {"named and numbered entities", u"<body>&amp;&foo;&#65;&#x41;</body>", u"&AA", {u"foo"}},
    {"an entity before the body", u"&foo;&#xzz;<body>a", u"a", {}},
    {"an entity behind the body", u"<body>a</body>&foo;&#xzz;", u"a", {}},
    {"case counts", u"<body>&AElig;&aelig;&AELIG;", u"\u00C6\u00E6", {u"AELIG"}},
    {"an entity swallows its blank", u"<body>a &nbsp b", u"a \u00A0b", {}},
    {"names that nothing stands for",
     u"<body>&#;&#x;&#X;&a\u2026;",
     u"",
     {u"#", u"#X", u"#x", u"a\u2026"}},
    {"each unknown name once, sorted by unit",
     u"<body>&b;&\uFFFD;&\xD800;&b;&Z;",
     u"",
     {u"Z", u"b", u"\xD800", u"\uFFFD"}},
    {"a name with NUL behind it", {u"<body>&amp\0;", 12}, u"", {{u"amp\0", 4}}},
    {"a name longer than any", u"<body>&thetasym;&thetasyms;", u"\u03D1", {u"thetasyms"}},

    {"decimal beyond 64 bits", u"<body>&#18446744073709551681;", u"A", {}},
    {"decimal with other things behind", u"<body>&#65abc;", u"A", {}},
    {"decimal without digits", u"<body>&#abc;&#-65;", {u"\0\0", 2}, {}},
    {"wide digits are none", u"<body>&#\uFF16\uFF15;", {u"\0", 1}, {}},
    {"hexadecimal in either case", u"<body>&#Xe9;&#xE9;", u"\u00E9\u00E9", {}},
    {"hexadecimal beyond 16 bits", u"<body>&#x1F600;", u"\uF600", {}},
    {"hexadecimal beyond 64 bits", u"<body>&#x10000000000000041;", u"A", {}},
    {"a surrogate by number", u"<body>&#xD83D;", u"\xD83D", {}},
};

TEST(convert_to_text, keeps_the_visible_text) {
    for (const text_case& row : text_cases) {
        SCOPED_TRACE(row.what);
        convert_to_text converter;
        parse(row.html, converter);
        EXPECT_EQ(printable(converter.result), printable(row.result));
        EXPECT_EQ(converter.unknown_entities, row.unknown);
    }
}

TEST(convert_to_text, starts_outside_the_body_and_follows_the_tags) {
    convert_to_text converter;
    EXPECT_FALSE(converter.in_body);
    EXPECT_EQ(converter.current_tag, u"");
    parse(u"<BODY x=y>a<\u0130\u0416", converter);
    EXPECT_TRUE(converter.in_body);
    EXPECT_EQ(converter.current_tag, u"body");
    parse(u"b<\u0130\u0416>", converter);
    EXPECT_EQ(converter.current_tag, u"i\u0436");
    parse(u"</Body", converter);
    EXPECT_TRUE(converter.in_body);
    parse(u"</Body ", converter);
    EXPECT_FALSE(converter.in_body);
    EXPECT_EQ(converter.current_tag, u"/body");
    EXPECT_EQ(converter.result, u"ab ");
}

struct bad_reference_case {
    const char* what;
    std::u16string_view name;
    const char* message;
};

const bad_reference_case bad_reference_cases[] = {
    {"behind the digits", u"#x41g", "Invalid Codeword 0x67"},
    {"a sign", u"#x-1", "Invalid Codeword 0x2D"},
    {"over 127", u"#x\u00E9", "Invalid Codeword 0xFFFFFFE9"},
    {"over 255, the low byte a digit", u"#x\u0130", "Invalid Codeword 0x30"},
    {"a wide digit", u"#x4\uFF11", "Invalid Codeword 0x11"},
};

TEST(convert_to_text, a_bad_hexadecimal_number_ends_the_parse) {
    for (const bad_reference_case& row : bad_reference_cases) {
        SCOPED_TRACE(row.what);
        convert_to_text converter;
        const std::u16string html = u"<body>a&" + std::u16string(row.name) + u";b";
        try {
            parse(html, converter);
            ADD_FAILURE() << "nothing thrown";
        } catch (const invalid_codeword& error) {
            EXPECT_EQ(error.message(), row.message);
        }
        EXPECT_EQ(converter.result, u"a");
        EXPECT_TRUE(converter.unknown_entities.empty());
    }
}

std::u16string numbered_name(std::size_t number) {
    std::u16string name = u"n0000";
    for (std::size_t place = name.size(); number != 0; number /= 10) {
        name[--place] = static_cast<char16_t>(u'0' + number % 10);
    }
    return name;
}

TEST(convert_to_text, keeps_the_first_of_too_many_unknown_entities) {
    constexpr std::size_t most = convert_to_text::most_unknown_entities;
    const std::pair<std::size_t, std::size_t> counts[] = {{most, most}, {most + 1, most}};
    for (const auto& [count, kept] : counts) {
        SCOPED_TRACE(count);
        std::u16string upward = u"<body>";
        std::u16string downward = u"<body>";
        for (std::size_t i = 0; i < count; ++i) {
            const std::u16string name = numbered_name(i);
            const std::u16string from_behind = numbered_name(count - 1 - i);
            upward += u"&" + name + u";&" + name + u";";
            downward += u"&" + from_behind + u";";
        }
        for (const std::u16string& html : {upward, downward}) {
            convert_to_text converter;
            parse(html, converter);
            EXPECT_EQ(converter.unknown_entities.size(), kept);
            EXPECT_EQ(*converter.unknown_entities.begin(), numbered_name(0));
            EXPECT_EQ(*converter.unknown_entities.rbegin(), numbered_name(kept - 1));
        }
    }
}

std::string name_of(const entity_row& row) {
    std::string name;
    for (int shift = 56; shift >= 0; shift -= 8) {
        if (const auto letter = static_cast<char>(row.name >> shift)) name += letter;
    }
    return name;
}

// The digest was made from the published list, a line "name XXXX" an entity, sorted by name.
TEST(html_entities, are_the_published_ones) {
    std::string listing;
    for (const entity_row& row : entity_table()) {
        char value[16];
        std::snprintf(value, sizeof value, " %04X\n", static_cast<unsigned>(row.unit));
        listing += name_of(row) + value;
    }
    EXPECT_EQ(entity_table().size(), 253u);
    EXPECT_EQ(md5(listing).hex(), "1ac7c1ff8baf31b0529a0f13e0dc94a6") << listing;
}

TEST(html_entities, each_is_found_by_its_exact_name) {
    ASSERT_FALSE(entity_table().empty());
    for (const entity_row& row : entity_table()) {
        const std::string name = name_of(row);
        SCOPED_TRACE(name);
        const std::u16string wide(name.begin(), name.end());
        EXPECT_EQ(find_entity(wide), row.unit);
        EXPECT_EQ(find_entity(wide + u'_'), std::nullopt);
        EXPECT_EQ(find_entity(u'_' + wide), std::nullopt);
        EXPECT_EQ(find_entity(wide + u'\0'), std::nullopt);
        // The low byte alone must not count.
        std::u16string other_script = wide;
        other_script[0] = static_cast<char16_t>(other_script[0] + 0x100);
        EXPECT_EQ(find_entity(other_script), std::nullopt);
    }
    EXPECT_EQ(find_entity(u""), std::nullopt);
}

}  // namespace
}  // namespace replay::html
