#include <gtest/gtest.h>

#include <string>

#include "message/character_set.h"
#include "message/part.h"

namespace {

using namespace replay::internet::message2;
using std::string;
namespace unicode = replay::unicode;

// Level, type and, behind "<", the parent's type of each entry in order.
string entries(const part_map& map) {
    string out;
    for (const auto& [level, entry] : map) {
        out += std::to_string(level) + " " + entry.item->content_type;
        if (entry.parent != nullptr) out += " < " + entry.parent->content_type;
        out += "\n";
    }
    return out;
}

part tree() {
    return part(
        "Content-Type: multipart/mixed; boundary=A\n\n"
        "--A\nContent-Type: multipart/alternative; boundary=B\n\n"
        "--B\nContent-Type: text/plain\n\n--B\nContent-Type: text/html\n\n--B--\n"
        "--A\nContent-Type: message/rfc822\n\n"
        "Content-Type: multipart/x; boundary=C\n\n--C\nContent-Type: text/calendar\n\n--C--\n"
        "--A\nContent-Type: text/enriched\n\n--A--\n");
}

TEST(part_flatten, all_levels_in_order) {
    part root = tree();
    part_map map;
    root.flatten(map, false);
    EXPECT_EQ(entries(map),
              "0 multipart/mixed\n"
              "1 multipart/alternative < multipart/mixed\n"
              "1 message/rfc822 < multipart/mixed\n"
              "1 text/enriched < multipart/mixed\n"
              "2 text/plain < multipart/alternative\n"
              "2 text/html < multipart/alternative\n"
              "2 multipart/x < message/rfc822\n"
              "3 text/calendar < multipart/x\n");
    EXPECT_EQ(map.begin()->second.item, &root);
    EXPECT_EQ(map.find(1)->second.item, &root.children.front());
}

TEST(part_flatten, without_attached_messages) {
    part root = tree();
    part_map map;
    root.flatten(map, true);
    EXPECT_EQ(entries(map),
              "0 multipart/mixed\n"
              "1 multipart/alternative < multipart/mixed\n"
              "1 text/enriched < multipart/mixed\n"
              "2 text/plain < multipart/alternative\n"
              "2 text/html < multipart/alternative\n");
    part embedded("Content-Type: message/rfc822\n\n\nx");
    part_map none;
    embedded.flatten(none, true);
    EXPECT_TRUE(none.empty());
    embedded.content_type = "Message/RFC822";  // exactly the name only
    embedded.flatten(none, true);
    EXPECT_EQ(none.size(), 2U);
}

TEST(part_flatten, by_the_beginning_of_the_type) {
    const struct {
        const char* prefix;
        bool skip_embedded;
        const char* expected;
    } rows[] = {
        {"TEXT/", true,
         "1 text/enriched < multipart/mixed\n"
         "2 text/plain < multipart/alternative\n2 text/html < multipart/alternative\n"},
        {"text/c", false, "3 text/calendar < multipart/x\n"},
        {"message/rfc822", false, "1 message/rfc822 < multipart/mixed\n"},
        {"message/rfc822x", false, ""},
    };
    part root = tree();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.prefix);
        part_map map;
        root.flatten(map, row.prefix, row.skip_embedded);
        EXPECT_EQ(entries(map), row.expected);
    }
}

TEST(part_text, is_decoded_once_and_kept) {
    part read("Content-Type: text/plain; charset=koi8-r\n\n\xC1");
    EXPECT_EQ(read.text(), u"\u0430\r\n");
    read.body = "\xC2";
    EXPECT_EQ(read.text(), u"\u0430\r\n");
    EXPECT_EQ(read.text_in_codepage(unicode::utf8), "\xD0\xB0\r\n");
    EXPECT_THROW(read.text_in_codepage(unicode::byte_for_byte), unicode::unmappable_character);
    EXPECT_EQ(part().text(), u"");
}

TEST(part_text, sets_the_body_in_the_charset_of_the_part) {
    part changed("Content-Type: text/plain; charset=koi8-r\n\nx");
    changed.set_text(u"\u0430");
    EXPECT_EQ(changed.body, "\xC1");
    EXPECT_EQ(changed.text(), u"\u0430");
    changed.set_text_from_codepage("\xD0\xB1", unicode::utf8);
    EXPECT_EQ(changed.body, "\xC2");
    EXPECT_THROW(changed.set_text(u"\u00C4\u3042"), unicode::unmappable_character);
}

TEST(part_text, failures_of_the_conversion_are_thrown) {
    EXPECT_THROW(part("Content-Type: a/b; charset=shift_jis\n\n\x81").text(),
                 unicode::unmappable_character);
    EXPECT_THROW(part("Content-Type: a/b; charset=cp99999\n\nx").text(), unicode::invalid_codepage);
    EXPECT_EQ(part("Content-Type: a/b; charset=nonsense\n\n\xE9").text(), u"\u00E9\r\n");
}

}  // namespace
