#include <gtest/gtest.h>

#include <string>

#include "foundation/translate.h"
#include "message/part.h"
#include "support/mail_text.h"
#include "support/tree_outline.h"

namespace {

using namespace replay::internet::message2;
using std::string;
using test_support::depth_of;
using test_support::outline;

TEST(part_limits, depth) {
    const struct {
        const char* name;
        string (*nested)(unsigned levels);
    } rows[] = {
        {"boundaries", test_support::nested_multiparts},
        {"attached messages", test_support::nested_messages},
        {"attached messages by name", test_support::nested_promotions},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(depth_of(part(row.nested(64))), 64U);
        EXPECT_EQ(depth_of(part(row.nested(1), 63)), 1U);
        EXPECT_THROW(part(row.nested(1), 64), depth_limit);
        EXPECT_THROW(part(row.nested(20'000)), depth_limit);
        try {
            part(row.nested(65));
            FAIL() << "no exception";
        } catch (const depth_limit& caught) {
            EXPECT_STREQ(caught.what(), "message2[MIME tree depth exceeded]");
        }
    }
}

TEST(part_limits, a_part_of_the_greatest_depth_may_be_anything_but_hold_others) {
    EXPECT_EQ(part("Content-Type: multipart/mixed; boundary=B\n\nx", 64).body, "x\r\n");
    EXPECT_THROW(part("Content-Type: multipart/mixed; boundary=B\n\nx\n--B", 64), depth_limit);
    EXPECT_TRUE(part("Content-Type: message/rfc822", 64).children.empty());
    EXPECT_THROW(part("Content-Type: message/rfc822\n", 64), depth_limit);
}

TEST(part_limits, uuencoded_files_stand_at_any_depth) {
    const string file = "\nbegin 6 a\n#86)C\nend\n";
    EXPECT_EQ(depth_of(part(test_support::nested_multiparts(64) + file)), 65U);
}

TEST(part_limits, the_first_fault_in_the_text_is_thrown) {
    const string head = "Content-Type: multipart/mixed; boundary=B\n\n--B\n";
    const string promoted = "Content-Type: application/octet-stream; name=x.eml\n\n";
    const string broken_type = "Content-Type: =?utf-8?Q?a=zz?=\n";
    const string too_deep = test_support::nested_messages(64);
    using replay::coding::translate::invalid_codeword;
    EXPECT_THROW(part(head + broken_type + "--B\n" + too_deep), invalid_codeword);
    EXPECT_THROW(part(head + promoted + broken_type + "--B\n" + too_deep), invalid_codeword);
    EXPECT_THROW(part(head + promoted + too_deep + "\n--B\n" + broken_type), depth_limit);
    EXPECT_THROW(part(head + too_deep + "\n--B\n" + promoted + broken_type), depth_limit);
}

TEST(part_limits, number_of_parts) {
    const string head = "Content-Type: multipart/mixed; boundary=B\n\n";
    string children;
    for (std::size_t i = 1; i < most_parts; ++i) children += "--B\n";
    part at_limit(head + children + "--B\n\nlast");
    EXPECT_EQ(at_limit.children.size(), most_parts);
    EXPECT_EQ(at_limit.children.back().body, "last\r\n");

    part over_limit(head + children + "--B\n\nlast\n--B\n\nmore");
    EXPECT_EQ(over_limit.children.size(), most_parts);
    EXPECT_EQ(over_limit.children.back().body.substr(0, 6), "last\r\n");
    EXPECT_NE(over_limit.children.back().body.find("more\r\n"), string::npos);
}

TEST(part_limits, cut_short_at_every_length) {
    const string text = test_support::mail(R"(
Content-Type: multipart/mixed;
	boundary="B"

pre
--B
Content-Type: text/plain; charset=utf-8
Content-Transfer-Encoding: quoted-printable

a=C3=A9=
b
--B
Content-Type: application/octet-stream; name="=?utf-8?Q?x=2Eeml?="
Content-Transfer-Encoding: base64

QTogYgoKeA==
--B
Content-Type: message/rfc822

begin 644 a.txt
#86)C
end

begin 644 b.txt
#86)C
end
--B--
)");
    for (std::size_t length = 0; length <= text.size(); ++length) {
        SCOPED_TRACE(length);
        const string cut = text.substr(0, length);
        part read(cut);
        part_map map;
        read.flatten(map, false);
        EXPECT_EQ(map.size(), test_support::count_parts(read));
        const auto detail = test_support::outline_detail::with_headers;
        EXPECT_EQ(outline(part(test_support::split_slowly(cut, true)), detail),
                  outline(read, detail));
        EXPECT_NO_THROW(test_support::written(part(test_support::written(read))));
    }
}

}  // namespace
