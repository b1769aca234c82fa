#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/ascii.h"
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

TEST(part_write, headers) {
    const struct {
        const char* read;
        lines written;
    } rows[] = {
        {"A:b\n c\n:v\nD\nA: b",
         {"A: b c", ": v", "D: ", "A: b", "Content-Type: text/plain; charset=\"iso-8859-1\""}},
        {"content-type: TEXT/Plain; format=flowed, charset=X\nA: b",
         {"content-type: text/plain; format=\"flowed\"; charset=\"x\"", "A: b"}},
        {"Content-Type: text/html; CharSet=A; charset=b; charset=c",
         {"Content-Type: text/html; CharSet=\"a\"; charset=\"b\"; charset=\"c\""}},
        {"Content-Type: image/png; charset=a; name=x; charset=b",
         {"Content-Type: image/png; name=\"x\"; charset=\"b\""}},
        {"Content-Type: text/html; charset=; x", {"Content-Type: text/html; x=\"\""}},
        {"Content-Type: a/b; boundary=1; charset=x\nContent-Type: c/d; y=z",
         {"Content-Type: c/d; boundary=\"1\"", "Content-Type: c/d; y=\"z\""}},
        {"Content-Type: a/b\nContent-Type: multipart/d; boundary=2",
         {"Content-Type: multipart/d; boundary=\"2\"",
          "Content-Type: multipart/d; boundary=\"2\""}},
        {"Content-Type: a/b; name=\"=?koi8-r?B?wQ==?=\"",
         {"Content-Type: a/b; name=\"=?koi8-r?Q?=C1?=\""}},
        // What stands in a value is written bare.
        {"Content-Type: a/b; x=a\\\\\\\"b", {"Content-Type: a/b; x=\"a\"b\""}},
        {"Content-Type: a\\;b; x=1", {"Content-Type: a;b; x=\"1\""}},
        {"Content-Type: =?utf-8?Q?\?=; x=1", {"Content-Type: ; x=\"1\""}},
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
        {"base64", x(114), {full, full}},
        {"quoted-printable", "a=\t_ b\r\n", {"a=3D=09=5F b", ""}},
        {"quoted-printable", "a\n\n\xE9", {"a", "", "=E9"}},
        {"Quoted-Printable", x(74) + "\r\n" + x(75), {x(74), x(75)}},
        {"quoted-printable", x(76), {x(75) + "=", "x"}},
        {"quoted-printable", x(151), {x(75) + "=", x(75) + "=", "x"}},
        {"quoted-printable", x(74) + "==", {x(74) + "=3D=", "=3D"}},
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
    root.content_type = "text/plain";  // no multipart either
    EXPECT_EQ(
        test_support::join(root.unparse(), "\n"),
        "Content-Type: text/plain; charset=\"iso-8859-1\"; boundary=\"B\"\n\npre\n" + first + "\n");
    root.content_type = "multipart/x";
    root.children.clear();
    EXPECT_EQ(test_support::join(root.unparse(), "\n"),
              "Content-Type: multipart/x; boundary=\"B\"\n\npre\n");
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

}  // namespace
