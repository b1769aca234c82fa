#include "message/lines.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/mail_text.h"
#include "support/printable.h"

namespace {

using replay::internet::message2::line_reader;
using lines = std::vector<std::string>;

lines read_all(line_reader reader) {
    lines read;
    while (!reader.done()) read.emplace_back(reader.next());
    return read;
}

TEST(lines, each_mix_of_line_ends) {
    const struct {
        const char* text;
        lines with_final_line;
        lines without;
    } rows[] = {
        {"", {""}, {}},
        {"a", {"a"}, {"a"}},
        {"a\r\nb", {"a", "b"}, {"a", "b"}},
        {"a\n\rb\n\r", {"a", "b", ""}, {"a", "b"}},
        {"\r\r\n", {"", "", ""}, {"", ""}},
        {"\n\r\n\r\n", {"", "", "", ""}, {"", "", ""}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(test_support::escaped(row.text));
        EXPECT_EQ(read_all({row.text, true}), row.with_final_line);
        EXPECT_EQ(read_all({row.text, false}), row.without);
    }
}

// All texts of CR, LF and "a" up to eight bytes, against a reader that goes byte by byte; and from
// each point on, read anew from what is left.
TEST(lines, agrees_with_the_slow_reader) {
    std::vector<std::string> texts = {""};
    for (std::size_t at = 0; at < texts.size() && texts[at].size() < 8; ++at) {
        for (const char byte : {'\r', '\n', 'a'}) texts.push_back(texts[at] + byte);
    }
    ASSERT_EQ(texts.size(), 9841U);
    for (const std::string& text : texts) {
        for (const bool final_line : {false, true}) {
            const lines expected = test_support::split_slowly(text, final_line);
            ASSERT_EQ(read_all({text, final_line}), expected) << test_support::escaped(text);
            line_reader reader(text, final_line);
            for (std::size_t count = 0; count < expected.size(); ++count) {
                ASSERT_EQ(read_all({reader.rest(), reader.final_line()}),
                          lines(expected.begin() + count, expected.end()))
                    << test_support::escaped(text) << " behind line " << count;
                reader.next();
            }
            ASSERT_TRUE(reader.done());
        }
    }
}

TEST(lines, continuation_is_what_begins_with_white_space) {
    for (const char* text : {" a", "\ta", "\va", "\fa"}) {
        EXPECT_TRUE(line_reader(text, true).at_continuation()) << test_support::escaped(text);
    }
    for (const char* text : {"", "a", "\n a", "\r\n", "\xA0"}) {
        EXPECT_FALSE(line_reader(text, true).at_continuation()) << test_support::escaped(text);
    }
}

}  // namespace
