#include "message/header_value.h"

#include <gtest/gtest.h>

#include <string>

#include "foundation/translate.h"
#include "message/character_set.h"
#include "support/printable.h"

namespace {

using namespace replay::internet::message2::header_type;
using replay::coding::translate::invalid_codeword;
using std::string;
using test_support::escaped;
using test_support::printable;
namespace unicode = replay::unicode;

TEST(unstructured_value, decodes) {
    const struct {
        const char* raw;
        const char16_t* value;
        const char* charset;  // afterwards
    } rows[] = {
        {"", u"", "iso-8859-1"},
        {"  a  b\tc   ", u"a  b\tc", "iso-8859-1"},
        {"\xE9\x80", u"\u00E9\u0080", "iso-8859-1"},
        {"=?utf-8?Q?a?= =?utf-8?Q?b?=", u"ab", "utf-8"},
        {"=?utf-8?Q?a?=    =?utf-8?Q?b?=  c", u"ab  c", "utf-8"},
        {"a  =?utf-8?Q?b?=", u"a  b", "utf-8"},
        {"\xE9=?utf-8?Q?=C3=A9?=\xE9", u"\u00E9\u00E9\u00E9", "utf-8"},
        {"x=?utf-8?Q?a?= =?utf-8?Q?b?=y", u"xaby", "utf-8"},
        {"=?utf-8?X?a?=", u"=?utf-8?X?a?=", "utf-8"},
        {"=?iso-8859-1?Q?a?b?=", u"=?iso-8859-1?Q?a?b?=", "iso-8859-1"},
        {"=?utf-8?Q?a?==?utf-8?Q?b?=", u"=?utf-8?Q?a?==?utf-8?Q?b?=", "iso-8859-1"},
        {"=?utf-8?=", u"=?utf-8?=", "iso-8859-1"},
        {"=?=", u"=?=", "iso-8859-1"},
        {"=?utf-8?q?a_=5F=3d?=", u"a _=", "utf-8"},
        {"=?utf-8?Q?a=4?=", u"a=4", "utf-8"},
        {"=?utf-8?Q?=?=", u"=", "utf-8"},
        {"=?utf-8?Q?\?= =?utf-8?B?\?=", u"", "utf-8"},
        {"=?utf-8?Q?a b?=", u"=?utf-8?Q?a b?=", "iso-8859-1"},
        {"=?UTF-8?b?w6!k?=", u"\u00E9", "UTF-8"},
        {"=?utf-8?Q?a=FFb?=", u"a\uFFFDb", "utf-8"},
        {"=?nonsense?Q?=E9?=", u"\u00E9", "nonsense"},
        {"=??Q?=E9?=", u"\u00E9", ""},
        {"=?koi8-r?Q?=C1?= \xC1", u"\u0430 \u0430", "koi8-r"},
        {"\xC1 =?koi8-r?Q?=C1?=", u"\u00C1 \u0430", "koi8-r"},
        {"=?iso-2022-jp?B?GyRCJCIbKEI=?=", u"\u3042", "iso-2022-jp"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(escaped(row.raw));
        unstructured_value_type value;
        value.parse(row.raw);
        EXPECT_EQ(printable(value.value()), printable(row.value));
        EXPECT_EQ(value.charset, row.charset);
    }
}

TEST(unstructured_value, what_does_not_decode_throws) {
    unstructured_value_type value;
    EXPECT_THROW(value.parse("=?utf-8?Q?a=zz?="), invalid_codeword);
    EXPECT_THROW(value.parse("=?shift_jis?Q?=81?="), unicode::unmappable_character);
    EXPECT_THROW(value.parse("=?cp99999?Q?a?="), unicode::invalid_codepage);
    EXPECT_THROW(value.parse("=?iso-2022-jp?B?GyhC?="), unicode::generic);  // an escape, no text
}

TEST(unstructured_value, charset_outlives_the_parse) {
    unstructured_value_type value("windows-1252");
    value.parse("\x80");
    EXPECT_EQ(value.value(), u"\u20AC");
    value.parse("=?koi8-r?Q?a?=");
    value.parse("\xC1");
    EXPECT_EQ(value.value(), u"\u0430");
}

TEST(unstructured_value, encodes) {
    const struct {
        const char16_t* value;
        const char* charset;
        const char* raw;
    } rows[] = {
        {u"", "utf-8", ""},
        {u"a _?=\"\t\u007F", "utf-8", "a _?=\"\t\x7F"},
        {u"\u00E9", "iso-8859-1", "=?iso-8859-1?Q?=E9?="},
        {u"\u00E9a", "iso-8859-1", "=?iso-8859-1?Q?=E9a?="},  // as long as base64
        {u"\u00E9\u00E9", "iso-8859-1", "=?iso-8859-1?B?6ek=?="},
        {u"\u00E9 a b_c d?", "iso-8859-1", "=?iso-8859-1?Q?=E9_a_b=5Fc_d=3F?="},
        {u"\u043F\u0440\u0438", "koi8-r", "=?koi8-r?B?0NLJ?="},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.raw);
        unstructured_value_type value(row.charset);
        value.set_value(row.value);
        EXPECT_EQ(value.unparse(), row.raw);
    }
    unstructured_value_type value("utf-8");
    std::u16string long_text;
    for (int i = 0; i < 1000; ++i) long_text += u'\u00E9';
    value.set_value(long_text);
    EXPECT_EQ(value.unparse().size(), 12 + (2000 + 2) / 3 * 4U);  // one word, however long
    value.charset = "nonsense";
    value.set_value(u"\u0100");
    EXPECT_THROW(value.unparse(), unicode::unmappable_character);
}

TEST(unstructured_value, code_pages) {
    unstructured_value_type value;
    value.set_value_from_codepage("\xC3\xA9", unicode::utf8);
    EXPECT_EQ(value.value(), u"\u00E9");
    EXPECT_EQ(value.value_in_codepage(unicode::byte_for_byte), "\xE9");
    EXPECT_EQ(value.value_in_codepage(unicode::utf8), "\xC3\xA9");
}

// value|name=value|...
string summary(const parametized_value_type& value) {
    string out = printable(value.value());
    for (const auto& record : value.parameters()) {
        out += "|" + record.name + "=" + printable(record.value);
    }
    return out;
}

TEST(parametized_value, parses) {
    const struct {
        const char* raw;
        const char* expected;
    } rows[] = {
        {"", ""},
        {"attachment; filename=\"a;b.txt\"", "attachment|filename=a;b.txt"},
        {"text/plain ; Charset=US-ASCII; x", "text/plain|Charset=US-ASCII|x="},
        {"; charset=utf-8", "charset=utf-8"},
        {"a; b=c=d; e=\"f=g\"; h==i; j=; =k", "a|e=f=g|h=i|j=|k="},
        {"a; b = c ; d=\"  e  \"", "a|b =c|d=e"},
        {"\"a\"; b=\"c\\d\"; e=\"f\"g", "\"a\"|b=c\\d|e=fg"},
        {"a; b=\\\"c\\;", "a|b=c;"},  // the second splitting takes the quote away
        {"a; filename*0=\"x\"; filename*1*=utf-8''y", "a|filename*0=x|filename*1*=utf-8''y"},
        {"a; b=1; B=2; b=3", "a|b=1|B=2|b=3"},
        {"a; n==?utf-8?Q?=C3=A9?=; m=1", "a|m=1"},
        {"=?koi8-r?Q?a,;=C1?=; n=\xC1", "a,;{430}|n={430}"},
        {"\"\";a", "\"\"|a="},
        {"\"a;b;c", "\"a;b;c"},
        {"a\\;b;c\\", "a;b|c="},
        // A backslash within quotes neither goes nor saves the quote behind it.
        {"a; b=\"c\\\"d;e\"; f", "a|b=c\\d|e; f="},
        // "?=" where the text begins with an escape ends the word early.
        {"=?x?Q?=41,b?=; c=1", "=?x?Q?=41|b?=|c=1"},
    };
    parametized_value_type value;
    for (const auto& row : rows) {
        SCOPED_TRACE(escaped(row.raw));
        value.charset = "iso-8859-1";
        value.parse(row.raw);
        EXPECT_EQ(summary(value), row.expected);
    }
}

TEST(parametized_value, parameters_are_found_and_changed_by_the_first_of_the_name) {
    parametized_value_type value;
    value.parse("a; Name=1; name=2; trailing =3");
    std::u16string wide = u"untouched";
    EXPECT_FALSE(value.parameter("none", wide));
    EXPECT_FALSE(value.parameter("trailing", wide));
    EXPECT_EQ(wide, u"untouched");
    EXPECT_TRUE(value.parameter("NAME", wide));
    EXPECT_EQ(wide, u"1");
    value.set_parameter("nAME", u"\u00E9");
    value.set_parameter_from_codepage("new", "\xC3\xA9", unicode::utf8);
    EXPECT_EQ(summary(value), "a|Name={E9}|name=2|trailing =3|new={E9}");
    string bytes = "untouched";
    EXPECT_FALSE(value.parameter_in_codepage("none", bytes, unicode::utf8));
    EXPECT_EQ(bytes, "untouched");
    EXPECT_TRUE(value.parameter_in_codepage("name", bytes, unicode::utf8));
    EXPECT_EQ(bytes, "\xC3\xA9");
    value.remove_parameter("NAME");
    value.remove_parameter("none");
    EXPECT_EQ(summary(value), "a|name=2|trailing =3|new={E9}");
    EXPECT_EQ(value.unparse(), "a; name=\"2\"; trailing =\"3\"; new=\"=?iso-8859-1?Q?=E9?=\"");
}

TEST(parametized_value, list_is_bounded) {
    for (const std::size_t extra : {0, 1}) {
        string raw = "a";
        for (std::size_t i = 0; i < most_list_elements + extra; ++i) raw += ";b";
        parametized_value_type value;
        value.parse(raw);
        EXPECT_EQ(value.parameters().size(), most_list_elements);
    }
}

// address|name, one behind the other with ", "
string summary(const addresses_value_type& value) {
    string out;
    for (const auto& record : value.addresses()) {
        if (!out.empty()) out += ", ";
        out += escaped(record.address) + "|" + printable(record.name);
    }
    return out;
}

TEST(addresses_value, parses) {
    const struct {
        const char* raw;
        const char* expected;
    } rows[] = {
        {"", ""},
        {"Bob <b@c>, Al (a@d)", "\"b@c\"|Bob, \"Al\"|a@d"},
        {"\"Last, First\" <a@b>", "\"a@b\"|Last, First"},
        {"a@b (The Name)", "\"a@b\"|The Name"},
        {"Bob <b@c> , x", "\"Bob\"|, \"x\"|"},
        {"<>, (), < >", ""},
        {"x <a> <b>", "\"b\"|x"},
        {"Bob <b@c", "\"Bob\"|"},
        {"Friends: a@b, c@d;", "\"Friends:\"|, \"c@d\"|"},
        {"a@b c@d", "\"a@b\"|"},
        {"\"a b\"@c d", "\"a b@c\"|"},
        {"a\\,b@c", "\"a,b@c\"|"},
        {"=?utf-8?Q?a,b?= <c@d>", "\"c@d\"|a,b"},
        {"x <=?iso-8859-1?Q?=E9?=>", "\"\\xE9\"|x"},
        {"Bob <=?utf-8?Q?\?=>, <=?utf-8?Q?\?=>", "\"\"|Bob"},
        {"=?utf-8?Q?a?=", "\"=?utf-8?Q?a?=\"|"},
        {"\xC1 <=?koi8-r?Q?a?=>, \xC1 <b>", "\"a\"|{430}, \"b\"|{430}"},
    };
    addresses_value_type value;
    for (const auto& row : rows) {
        SCOPED_TRACE(escaped(row.raw));
        value.charset = "iso-8859-1";
        value.parse(row.raw);
        EXPECT_EQ(summary(value), row.expected);
    }
    EXPECT_THROW(value.parse("x <=?utf-8?B?5pel?=>"), unicode::unmappable_character);
}

TEST(addresses_value, unparses) {
    addresses_value_type value("utf-8");
    EXPECT_EQ(value.unparse(), "");
    value.add_address("a@b", u"Bob, Esq.");
    value.add_address("c@d", u"");
    value.add_address_from_codepage("e@f", "\xE9", unicode::byte_for_byte);
    EXPECT_EQ(value.unparse(), "\"Bob, Esq.\" <a@b>, <c@d>, \"=?utf-8?B?w6k=?=\" <e@f>");
    addresses_value_type again;
    again.parse(value.unparse());
    EXPECT_EQ(summary(again), "\"a@b\"|Bob, Esq., \"c@d\"|c@d, \"e@f\"|{E9}");
}

TEST(addresses_value, list_is_bounded) {
    for (const std::size_t extra : {0, 1}) {
        string raw;
        for (std::size_t i = 0; i < most_list_elements + extra; ++i) raw += "a,";
        addresses_value_type value;
        value.parse(raw);
        EXPECT_EQ(value.addresses().size(), most_list_elements);
    }
}

}  // namespace
