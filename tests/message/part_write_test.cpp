#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/ascii.h"
#include "foundation/translate.h"
#include "message/header_value.h"
#include "message/part.h"
#include "support/mail_text.h"
#include "support/printable.h"
#include "support/tree_outline.h"

namespace {

using namespace replay::internet::message2;
using std::string;
using test_support::outline;
using test_support::written;
using lines = std::vector<string>;

TEST(part_write, new_part) {
    EXPECT_EQ(part().unparse(), (lines{"Content-Type: text/plain; charset=\"iso-8859-1\"", ""}));
}

TEST(part_write, headers) {
    const struct {
        const char* read;
        lines written;
    } rows[] = {
        {"A:b\n c\n:v\nD\nA: b",
         {"A: b c", ": v", "D: ", "A: b", "Content-Type: text/plain; charset=\"iso-8859-1\""}},
        {"content-type: TEXT/Plain; format=flowed, charset=X\nA: b",
         {"content-type: text/plain; format=\"flowed\"; charset=\"x\"", "A: b"}},
        {"Content-Type: text/html", {"Content-Type: text/html; charset=\"iso-8859-1\""}},
        {"Content-Type: text/html; CharSet=A; charset=b; charset=c",
         {"Content-Type: text/html; CharSet=\"a\"; charset=\"b\"; charset=\"c\""}},
        {"Content-Type: image/png; charset=a; name=x; charset=b",
         {"Content-Type: image/png; name=\"x\"; charset=\"b\""}},
        {"Content-Type: text/html; charset=; x", {"Content-Type: text/html; x=\"\""}},
        {"Content-Type: text; BOUNDARY=b", {"Content-Type: text; BOUNDARY=\"b\""}},
        {"Content-Type: a/b; boundary=1; charset=x\nContent-Type: c/d; y=z",
         {"Content-Type: c/d; boundary=\"1\"", "Content-Type: c/d; y=\"z\""}},
        {"Content-Type: a/b\nContent-Type: multipart/d; boundary=2",
         {"Content-Type: multipart/d; boundary=\"2\"",
          "Content-Type: multipart/d; boundary=\"2\""}},
        {"Content-Type: a/b; name=\"=?koi8-r?B?wQ==?=\"",
         {"Content-Type: a/b; name=\"=?koi8-r?Q?=C1?=\""}},
        {"Content-Type: a/b; name=\xE9", {"Content-Type: a/b; name=\"=?iso-8859-1?Q?=E9?=\""}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.read);
        lines expected = row.written;
        expected.emplace_back();
        EXPECT_EQ(part(row.read).unparse(), expected);
    }
}

TEST(part_write, fields_win_over_the_stored_header) {
    part changed("Content-Type: text/html; charset=utf-8; boundary=x");
    changed.content_type = "multipart/mixed";
    changed.boundary = "aB c";
    EXPECT_EQ(changed.unparse(), (lines{"Content-Type: multipart/mixed; boundary=\"aB c\"", ""}));
    changed.content_type = "text/plain";
    changed.charset = "koi8-r";
    changed.boundary.clear();  // the parameter then stays as it was read
    EXPECT_EQ(changed.unparse(),
              (lines{"Content-Type: text/plain; charset=\"koi8-r\"; boundary=\"x\"", ""}));
    changed.remove_headers("content-type");
    EXPECT_EQ(changed.unparse(), lines{""});
}

TEST(part_write, found_added_and_removed_headers) {
    part changed("A: 1\nB: \xE9\na: 2");
    string raw = "untouched";
    EXPECT_FALSE(changed.find_header("C", raw));
    EXPECT_EQ(raw, "untouched");
    EXPECT_TRUE(changed.find_header("a", raw));
    EXPECT_EQ(raw, "1");
    header_type::unstructured_value_type value;
    EXPECT_TRUE(changed.find_header("b", value));
    EXPECT_EQ(value.value(), u"\u00E9");
    EXPECT_FALSE(changed.find_header("c", value));
    EXPECT_EQ(value.value(), u"\u00E9");
    changed.remove_headers("A");
    changed.add_header("b", "3");
    changed.add_header("D", value);
    EXPECT_EQ(changed.unparse(),
              (lines{"B: \xE9", "Content-Type: text/plain; charset=\"iso-8859-1\"", "b: 3",
                     "D: =?iso-8859-1?Q?=E9?=", ""}));
}

// Body lines, the final empty one included.
lines body_lines(const string& encoding, const string& body) {
    part written;
    written.remove_headers("Content-Type");
    written.add_header("Content-Transfer-Encoding", encoding);
    written.body = body;
    lines all = written.unparse();
    EXPECT_EQ(all[0], "Content-Transfer-Encoding: " + encoding);
    EXPECT_EQ(all[1], "");
    return {all.begin() + 2, all.end()};
}

TEST(part_write, bodies) {
    const auto x = [](std::size_t count) { return string(count, 'x'); };
    // 57 times "x" and 56 times "x" in base64
    const string full = test_support::join(lines(19, "eHh4"), "");
    const string nearly = test_support::join(lines(18, "eHh4"), "") + "eHg=";
    const struct {
        const char* encoding;
        string body;
        lines expected;
    } rows[] = {
        {"base64", "", {}},
        {"BASE64", "A\r\n", {"QQ0K"}},
        {"base64", x(56), {nearly}},
        {"base64", x(57), {full}},
        {"base64", x(58), {full, "eA=="}},
        {"base64", x(114), {full, full}},
        {"quoted-printable", "", {}},
        {"quoted-printable", "a=\t_ b\r\n", {"a=3D=09=5F b", ""}},
        {"quoted-printable", "a\n\n\xE9", {"a", "", "=E9"}},
        {"Quoted-Printable", x(74) + "\r\n" + x(75), {x(74), x(75)}},
        {"quoted-printable", x(76), {x(75) + "=", "x"}},
        {"quoted-printable", x(150), {x(75) + "=", x(75)}},
        {"quoted-printable", x(151), {x(75) + "=", x(75) + "=", "x"}},
        {"quoted-printable", x(74) + "==", {x(74) + "=3D=", "=3D"}},
        {"7bit", "", {}},
        {"7bit", "=\xE9 \r\n\n\ry", {"=\xE9 ", "", "y"}},
        {"", "\r\n", {"", ""}},
        {"7bit", x(2000), {x(2000)}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(string(row.encoding) + " " + test_support::escaped(row.body));
        EXPECT_EQ(body_lines(row.encoding, row.body), row.expected);
    }
}

TEST(part_write, children) {
    part root;
    root.content_type = "multipart/mixed";
    root.boundary = "B";
    root.body = "pre";
    root.children.emplace_back("X: 1\nContent-Type: a/b\n\none");
    root.children.emplace_back("X: 2\nContent-Type: a/b\n\ntwo");
    const string first = "X: 1\nContent-Type: a/b\n\none\n";
    const string second = "X: 2\nContent-Type: a/b\n\ntwo\n";
    EXPECT_EQ(test_support::join(root.unparse(), "\n"),
              "Content-Type: multipart/mixed; boundary=\"B\"\n\npre\n--B\n" + first + "\n--B\n" +
                  second + "\n--B--\n");
    root.content_type = "message/rfc822";
    EXPECT_EQ(test_support::join(root.unparse(), "\n"),
              "Content-Type: message/rfc822; boundary=\"B\"\n\npre\n" + first + "\n");
    root.content_type = "multipart/x";
    root.children.clear();
    EXPECT_EQ(test_support::join(root.unparse(), "\n"),
              "Content-Type: multipart/x; boundary=\"B\"\n\npre\n");
}

TEST(part_write, line_by_line_as_all_at_once) {
    for (const auto& [name, text] : test_support::examples()) {
        const part root(text);
        lines one_by_one;
        root.unparse([&](std::string_view line) { one_by_one.emplace_back(line); });
        EXPECT_EQ(one_by_one, root.unparse()) << name;
    }
}

// The outline of a tree as far as writing and reading may be asked to keep it: no line ends at the
// end of bodies, and of Content-Type, which is rewritten, the name only, its fields standing above.
string kept(part root) {
    const auto trim = [](auto& self, part& trimmed) -> void {
        while (!trimmed.body.empty() &&
               (trimmed.body.back() == '\n' || trimmed.body.back() == '\r')) {
            trimmed.body.pop_back();
        }
        const attachment_info info = trimmed.attachment();
        header_list headers;
        for (const auto& [name, value] : trimmed.headers) {
            const bool rewritten = replay::ascii::equals_ignoring_case(name, "Content-Type");
            headers.add(name, rewritten ? "" : value);
        }
        headers.add(info.is_attachment ? "attachment" : "named",
                    test_support::printable(info.name));
        trimmed.headers = headers;
        for (part& child : trimmed.children) self(self, child);
    };
    trim(trim, root);
    return outline(root, test_support::outline_detail::with_headers);
}

TEST(part_round_trip, examples) {
    ASSERT_GE(test_support::examples().size(), 15U);
    for (const auto& [name, text] : test_support::examples()) {
        SCOPED_TRACE(name);
        const part read(text);
        const part again(written(read));
        EXPECT_EQ(kept(again), kept(read));
        // The second time even the types are written as they were read.
        const part third(written(again));
        EXPECT_EQ(kept(third), kept(again));
        string second_type, third_type;
        again.find_header("Content-Type", second_type);
        third.find_header("Content-Type", third_type);
        EXPECT_EQ(third_type, second_type);
    }
}

TEST(part_round_trip, shapes_that_stay) {
    const string head = "Content-Type: multipart/mixed; boundary=B\n\n";
    const string file = "begin 644 \xE9.txt\n#86)C\nend\n";
    const struct {
        const char* name;
        string raw;
    } rows[] = {
        {"file in text", "A: b\n\nx\n" + file + "y"},
        {"file in a preamble", head + "x\n" + file + "--B\n\none\n--B\n\ntwo\n--B--"},
        {"file in a child", head + "--B\n\n" + file + "--B--"},
        {"message by name",
         "Content-Type: application/octet-stream; name=x.eml\n"
         "Content-Transfer-Encoding: base64\n\nQTogYgoKeA=="},
        {"binary", head + "--B\nContent-Type: image/png\nContent-Transfer-Encoding: base64\n\n"
                          "AP8NCgAKDQD+\n--B--"},
        {"long line",
         "Content-Transfer-Encoding: quoted-printable\n\n" + string(400, '=') + "_ \t"},
        {"two types",
         "Content-Type: a/b; boundary=1; name=n\nContent-Type: text/html; charset=x\n\nx"},
        {"nothing closed", head + "--B\nContent-Type: multipart/x; boundary=C\n\n--C\n\nx\n--C"},
        {"empty children", head + "--B\n--B\n\n--B--"},
        {"headers of all kinds", ": v\nA\n:\n  \nX Y: z  \nA: =?utf-8?Q?=zz?=\n\nx"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const part read(row.raw);
        EXPECT_EQ(kept(part(written(read))), kept(read));
    }
}

// What reading makes of some mails cannot be written so that it reads the same.
TEST(part_round_trip, shapes_that_cannot_stay) {
    const string head = "Content-Type: multipart/mixed; boundary=B\n\n";
    const string file = "begin 6 a\n#86)C\nend\n";
    const struct {
        const char* why;
        string raw;
        const char* first;
        const char* second;
    } rows[] = {
        {"of a split part that is no multipart only the first child is written, without delimiters",
         "Content-Type: text/plain; boundary=B\n\npre\n--B\nA: b\n\none\n--B\n\ntwo\n--B--", R"(
text/plain [iso-8859-1] <B> "pre\r\n"
  text/plain [iso-8859-1] "one\r\n"
  text/plain [iso-8859-1] "two\r\n"
)",
         R"(
text/plain [iso-8859-1] <B> "pre\r\n\r\nA: b\r\nContent-Type: text/plain; charset="iso-8859-1"\r\n\r\none\r\n\r\n\r\n"
)"},
        {"nor is more of an attached message that a boundary splits",
         "Content-Type: application/octet-stream; boundary=B; "
         "name=x.eml\n\n\none\n--B\n\ntwo\n--B--",
         R"(
message/rfc822 [iso-8859-1] <B> ""
  text/plain [iso-8859-1] "one\r\n\r\n"
  text/plain [iso-8859-1] "two\r\n"
)",
         R"(
message/rfc822 [iso-8859-1] <B> ""
  text/plain [iso-8859-1] "one\r\n\r\n\r\n\r\n"
)"},
        {"every part that gives uuencoded files gets the same boundary",
         "Content-Type: multipart/mixed; boundary=B\n\n" + file + "--B\n\n" + file + "--B--", R"(
multipart/mixed [iso-8859-1] <=_uue_conversion_boundary> ""
  application/octet-stream [iso-8859-1] "abc"
  multipart/mixed [iso-8859-1] <B> ""
  multipart/mixed [iso-8859-1] <=_uue_conversion_boundary> ""
    application/octet-stream [iso-8859-1] "abc"
    text/plain [iso-8859-1] ""
)",
         R"(
multipart/mixed [iso-8859-1] <=_uue_conversion_boundary> ""
  application/octet-stream [iso-8859-1] "abc"
  multipart/mixed [iso-8859-1] <B> ""
  multipart/mixed [iso-8859-1] <=_uue_conversion_boundary> ""
  application/octet-stream [iso-8859-1] "abc"
  text/plain [iso-8859-1] ""
)"},
        {"a file taken out of the text may leave another whole",
         "\nbegin 6 b\n" + file + "#9&5F\nend", R"(
multipart/mixed [iso-8859-1] <=_uue_conversion_boundary> ""
  application/octet-stream [iso-8859-1] "abc"
  text/plain [iso-8859-1] "begin 6 b\r\n#9&5F\r\nend\r\n"
)",
         R"(
multipart/mixed [iso-8859-1] <=_uue_conversion_boundary> ""
  application/octet-stream [iso-8859-1] "abc"
  multipart/mixed [iso-8859-1] <=_uue_conversion_boundary> ""
    application/octet-stream [iso-8859-1] "def"
    text/plain [iso-8859-1] "\r\n"
)"},
        {"only text is written with a charset", "Content-Type: image/png; charset=utf-8\n\nx",
         "\nimage/png [utf-8] \"x\\r\\n\"\n", "\nimage/png [iso-8859-1] \"x\\r\\n\\r\\n\\r\\n\"\n"},
        {"an empty charset is not written", "Content-Type: text/html; charset=\n\nx",
         "\ntext/html [] \"x\\r\\n\"\n", "\ntext/html [iso-8859-1] \"x\\r\\n\\r\\n\\r\\n\"\n"},
        {"a quote within a parameter is written bare",
         "Content-Type: multipart/mixed; boundary=a\\\\\\\"b\n\n--a\"b\n\nx", R"(
multipart/mixed [iso-8859-1] <a"b> ""
  text/plain [iso-8859-1] "x\r\n"
)",
         R"(
multipart/mixed [iso-8859-1] <ab> "--a"b\r\nContent-Type: text/plain; charset="iso-8859-1"\r\n\r\nx\r\n\r\n--a"b--\r\n\r\n"
)"},
        {"so is a delimiter within a type", "Content-Type: text\\;x; charset=utf-8\n\nx",
         "\ntext;x [utf-8] \"x\\r\\n\"\n", "\ntext [iso-8859-1] \"x\\r\\n\\r\\n\\r\\n\"\n"},
        {"an empty value cannot stand before parameters",
         "Content-Type: =?utf-8?Q?\?=; boundary=B\n\n--B\n\nx\n--B--", R"(
 [iso-8859-1] <B> ""
  text/plain [iso-8859-1] "x\r\n"
)",
         R"(
boundary="b" [iso-8859-1] "Content-Type: text/plain; charset="iso-8859-1"\r\n\r\nx\r\n\r\n\r\n"
)"},
        {"an attached message that ended in its headers gets a blank line, and so a child",
         "Content-Type: message/rfc822", "\nmessage/rfc822 [iso-8859-1] \"\"\n",
         "\nmessage/rfc822 [iso-8859-1] \"\"\n  text/plain [iso-8859-1] \"\"\n"},
        {"line ends from an encoded word are written bare",
         "Content-Type: text/html; name=\"=?utf-8?Q?a=0D=0AX:_y?=\"",
         "\ntext/html [iso-8859-1] \"\"\n", "\ntext/html [iso-8859-1] \"\\r\\n\"\n"},
        {"a decoded line can be a delimiter",
         head + "--B\nContent-Transfer-Encoding: quoted-printable\n\na\n=2D-B\nb\n--B--", R"(
multipart/mixed [iso-8859-1] <B> ""
  text/plain [iso-8859-1] "a\r\n--B\r\nb\r\n"
)",
         R"(
multipart/mixed [iso-8859-1] <B> ""
  text/plain [iso-8859-1] "a\r\n"
  text/plain [iso-8859-1] ""
)"},
        {"line ends in a quoted-printable body become CR LF",
         "Content-Transfer-Encoding: quoted-printable\n\na=0Ab=\n",
         "\ntext/plain [iso-8859-1] \"a\\nb\\r\\n\"\n",
         "\ntext/plain [iso-8859-1] \"a\\r\\nb\\r\\n\\r\\n\\r\\n\"\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        const part read(row.raw);
        const part again(written(read));
        EXPECT_EQ(outline(read), row.first);
        EXPECT_EQ(outline(again), row.second);
        EXPECT_NE(kept(again), kept(read));
    }
}

TEST(part_round_trip, files_in_the_deepest_part_are_written_too_deep_to_be_read) {
    const part read(test_support::nested_multiparts(64) + "\nbegin 6 a\n#86)C\nend\n");
    EXPECT_THROW(part(written(read)), depth_limit);
}

}  // namespace
