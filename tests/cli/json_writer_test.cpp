#include "cli/json_writer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <utility>

namespace {

using brindlemoss::cli::json_error_line;
using brindlemoss::cli::json_writer;
using std::string;

TEST(json_writer, commas_stand_between_values_only) {
    json_writer json;
    json.begin_object().key("a").begin_array().end_array();
    json.key("b").begin_array().number(1).boolean(true).null().begin_array().end_array();
    json.begin_object().end_object().utf8("x").boolean(false).end_array();
    json.key("c").begin_object().key("").text(u"").end_object().end_object();
    EXPECT_EQ(json.line(), R"({"a":[],"b":[1,true,null,[],{},"x",false],"c":{"":""}})");
}

TEST(json_writer, numbers) {
    json_writer json;
    using limits = std::numeric_limits<std::int64_t>;
    json.begin_array().number(0).number(limits::min()).number(limits::max()).end_array();
    EXPECT_EQ(json.line(), "[0,-9223372036854775808,9223372036854775807]");
}

TEST(json_writer, wide_text) {
    const std::pair<std::u16string, const char*> rows[] = {
        {u"a/'<\x7F", "a/'<\x7F"},
        {u"\"\\", R"(\"\\)"},
        {u"\n\r\t", R"(\n\r\t)"},
        {{u'\0', u'\1', u'\x1F'}, R"(\u0000\u0001\u001f)"},
        {u"\u0080\u07FF\u0800\uFFFF", "\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF"},
        {u"\U00010000\U0010FFFF", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
        {{0xD83D}, R"(\ud83d)"},
        {{u'a', 0xDE00, 0xD83D, u'b'}, R"(a\ude00\ud83db)"},
        {{0xD83D, 0xD83D, 0xDE00, 0xDE00}, "\\ud83d\xF0\x9F\x98\x80\\ude00"},
        {{0xD800, 0xDBFF, u' ', 0xDC00, 0xDFFF}, R"(\ud800\udbff \udc00\udfff)"},
        {{0xD7FF, 0xE000}, "\xED\x9F\xBF\xEE\x80\x80"},
    };
    for (const auto& [wide, expected] : rows) {
        json_writer json;
        json.text(wide);
        EXPECT_EQ(json.line(), "\"" + string(expected) + "\"");
    }
}

TEST(json_writer, byte_text_has_a_character_for_every_byte) {
    for (int byte = 0x20; byte < 256; ++byte) {
        string character(1, static_cast<char>(byte));
        if (byte == '"' || byte == '\\') character.insert(0, "\\");
        if (byte >= 0x80) {
            character = {static_cast<char>(byte < 0xC0 ? 0xC2 : 0xC3),
                         static_cast<char>(0x80 | (byte & 0x3F))};
        }
        json_writer json;
        const char raw = static_cast<char>(byte);
        json.byte_text({&raw, 1});
        EXPECT_EQ(json.line(), "\"" + character + "\"");
    }
}

TEST(json_writer, utf8_that_is_none_is_replaced) {
    const std::pair<const char*, const char*> rows[] = {
        {"caf\xC3\xA9", "caf\xC3\xA9"},
        {"caf\xE9.eml", "caf\xEF\xBF\xBD.eml"},
        {"\xED\xA0\x80", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
        {"\xF0\x9F\x98", "\xEF\xBF\xBD"},
    };
    for (const auto& [bytes, expected] : rows) {
        json_writer json;
        json.begin_object().key(bytes).utf8(bytes).end_object();
        EXPECT_EQ(json.line(), "{\"" + string(expected) + "\":\"" + string(expected) + "\"}");
    }
    EXPECT_EQ(json_error_line("\xFF\n", "\"no\""),
              "{\"file\":\"\xEF\xBF\xBD\\n\",\"error\":\"\\\"no\\\"\"}\n");
}

}  // namespace
