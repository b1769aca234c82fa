#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "foundation/translate.h"
#include "message/character_set.h"
#include "message/part.h"
#include "support/mail_text.h"
#include "support/printable.h"
#include "support/tree_outline.h"

namespace {

using namespace replay::internet::message2;
using replay::coding::translate::invalid_codeword;
using std::string;
using test_support::escaped;
using test_support::mail;
using test_support::outline;
namespace unicode = replay::unicode;

struct reading {
    const char* name;
    string raw;
    string expected;
};

void expect_outlines(const std::vector<reading>& rows, test_support::outline_detail detail) {
    for (const reading& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(outline(part(row.raw), detail), row.expected);
    }
}

const string added_type = "Content-Type: text/plain; charset=\"iso-8859-1\"|";

TEST(part_read, headers) {
    const struct {
        string raw;
        string headers;  // name: value|
        const char* body;
    } rows[] = {
        {"", added_type, ""},
        {"\n", added_type, "\r\n"},
        {"A: b\nC: d", "A: b|C: d|" + added_type, ""},
        {"A: b\r\n\r\nx\r\n", "A: b|" + added_type, "x\r\n\r\n"},
        {"A: b\n\nx\ry\nz", "A: b|" + added_type, "x\r\ny\r\nz\r\n"},
        {"S : x\nS:x\nS: : x\nX Y: z\nS:::", "S: x|S: x|S: x|X: Y: z|S: |" + added_type, ""},
        {"only\n:v\n", "only: |: v|" + added_type, ""},
        {"A: b\n c\n\t d\t \nE: f", "A: b c d  |E: f|" + added_type, ""},
        {"A:\tb\n\v\fc\f\vd", "A: b c  d|" + added_type, ""},
        {" \t\nA: b", ": |A: b|" + added_type, ""},
        {"  A: b\n  C: d", "A: b C: d|" + added_type, ""},
        {"A\n :b", "A: b|" + added_type, ""},
        {"From a@b Mon 10:00\nA: b", "From: a@b Mon 10:00|A: b|" + added_type, ""},
        {"A\xE9: \xA0 \xFF", "A\xE9: \xA0 \xFF|" + added_type, ""},
        {string("A\0B: c\0", 7), string("A\0B: c\0|", 8) + added_type, ""},
        {"content-TYPE: TEXT/plain\n\nx", "content-TYPE: TEXT/plain|", "x\r\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(escaped(row.raw));
        const part read(row.raw);
        string headers;
        for (const auto& [name, value] : read.headers) {
            headers.append(name).append(": ").append(value).append("|");
        }
        EXPECT_EQ(headers, row.headers);
        EXPECT_EQ(read.body, row.body);
        EXPECT_TRUE(read.children.empty());
    }
}

TEST(part_read, type_fields) {
    const struct {
        const char* headers;
        const char* expected;
    } rows[] = {
        {"A: b", "text/plain [iso-8859-1]"},
        {"Content-Type:", " [iso-8859-1]"},
        {"Content-Type: Text/HTML; CHARSET=\"UTF-8\"", "text/html [utf-8]"},
        {"Content-Type: text/html,\n charset=Koi8-R", "text/html [koi8-r]"},
        {"Content-Type: \"text/html\"", "\"text/html\" [iso-8859-1]"},
        {"Content-Type: text/html; charset=", "text/html []"},
        {"Content-Type: m/x; Boundary=\"aB;c\"; boundary=2", "m/x [iso-8859-1] <aB;c>"},
        {"Content-Type: =?utf-8?Q?TEXT/html?=; charset==?utf-8?B?S09JOC1S?=",
         "text/html [?utf-8?b?s09joc1s?]"},  // the second splitting takes the "=" away
        {"Content-Type: a/b; charset=x; boundary=y\nContent-type: c/d; charset=z", "c/d [z]"},
        {"Content-Type: a/b; charset=x\nContent-type: c/d; boundary=y", "c/d [iso-8859-1] <y>"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.headers);
        EXPECT_EQ(outline(part(row.headers)), string("\n") + row.expected + " \"\"\n");
    }
}

TEST(part_read, boundaries) {
    const string head = "Content-Type: multipart/mixed; boundary=B\n\n";
    const string root = "\nmultipart/mixed [iso-8859-1] <B> ";
    const string text = "  text/plain [iso-8859-1] ";
    const std::vector<reading> rows = {
        {"two children, preamble and epilogue",
         head + "pre\n--B\n\none\n--B\nContent-Type: text/html\n\ntwo\n--B--\nepilogue\n--B\n\nno",
         root + "\"pre\\r\\n\"\n" + text +
             "\"one\\r\\n\"\n  text/html [iso-8859-1] \"two\\r\\n\"\n"},
        {"at once the end", head + "--B--\nx", root + "\"\"\n"},
        {"near misses", head + "--B \n --B\n--b\n--B-\n--B---\n-B\n--BB\n\n--B\n\nx",
         root + R"("--B \r\n --B\r\n--b\r\n--B-\r\n--B---\r\n-B\r\n--BB\r\n\r\n")" + "\n" + text +
             "\"x\\r\\n\"\n"},
        {"children without a line", head + "--B\n--B\n--B--",
         root + "\"\"\n" + text + "\"\"\n" + text + "\"\"\n"},
        {"the headers never end before the delimiter",
         "Content-Type: multipart/mixed; boundary=B\n--B\nC: d\n\nx\n--B\n\ny",
         root + "\"x\\r\\n\"\n" + text + "\"y\\r\\n\"\n"},
        {"any type with a boundary is split",
         "Content-Type: text/plain; boundary=B\n\npre\n--B\n\nx\n--B--",
         "\ntext/plain [iso-8859-1] <B> \"pre\\r\\n\"\n" + text + "\"x\\r\\n\"\n"},
        {"no type without one is", "Content-Type: multipart/mixed\n\n--\n\nx\n----",
         "\nmultipart/mixed [iso-8859-1] \"--\\r\\n\\r\\nx\\r\\n----\\r\\n\"\n"},
        {"a nested multipart ends with the outer one",
         head + "--B\nContent-Type: multipart/x; "
                "boundary=C\n\np\n--C\n\nx\n--B\n\n--C\ny\n--B--\n--C\n",
         root + "\"\"\n  multipart/x [iso-8859-1] <C> \"p\\r\\n\"\n  " + text + "\"x\\r\\n\"\n" +
             text + "\"--C\\r\\ny\\r\\n\"\n"},
        {"nested with the same boundary",
         head + "--B\nContent-Type: multipart/x; boundary=B\n\np\n--B\n\nx\n--B--",
         root + "\"\"\n  multipart/x [iso-8859-1] <B> \"p\\r\\n\"\n" + text + "\"x\\r\\n\"\n"},
        {"a type without a boundary takes it away",
         "Content-Type: multipart/mixed; boundary=A\nContent-Type: a/b\n\n--A\n\nx",
         "\na/b [iso-8859-1] \"--A\\r\\n\\r\\nx\\r\\n\"\n"},
    };
    expect_outlines(rows, test_support::outline_detail::without_headers);
}

TEST(part_read, attached_messages) {
    const string embedded = "\nmessage/rfc822 [iso-8859-1] ";
    const string text = "  text/plain [iso-8859-1] ";
    const std::vector<reading> rows = {
        {"read as it stands, whatever its encoding",
         "Content-Type: Message/RFC822\nContent-Transfer-Encoding: base64\n\nA: b\n\nQUJD",
         embedded + "\"\"\n" + text + "\"QUJD\\r\\n\"\n"},
        {"split by a boundary",
         "Content-Type: message/rfc822; boundary=B\n\n\none\n--B\n\ntwo\n--B--\n\nno",
         "\nmessage/rfc822 [iso-8859-1] <B> \"\"\n" + text + "\"one\\r\\n\"\n" + text +
             "\"two\\r\\n\"\n"},
        {"headers that never end", "Content-Type: message/rfc822", embedded + "\"\"\n"},
        {"an end of headers is a child", "Content-Type: message/rfc822\n",
         embedded + "\"\"\n" + text + "\"\"\n"},
        {"not a longer name", "Content-Type: message/rfc822x\n\nA: b\n\nx",
         "\nmessage/rfc822x [iso-8859-1] \"A: b\\r\\n\\r\\nx\\r\\n\"\n"},
        {"by name, with parts behind it",
         "Content-Type: application/octet-stream; boundary=B; charset=utf-8; name=x.eml\n\n\nin\n"
         "--B\n\nout\n--B--",
         "\nmessage/rfc822 [utf-8] <B> \"\"\n" + text + "\"in\\r\\n\\r\\n\"\n" + text +
             "\"out\\r\\n\"\n"},
        {"by name, one within the other",
         "Content-Type: application/octet-stream\nContent-Disposition: inline; filename=.eml\n\n"
         "Content-Type: application/octet-stream; name=a.eMl\n\n\nx",
         embedded + "\"\"\n  message/rfc822 [iso-8859-1] \"\"\n  " + text +
             "\"x\\r\\n\\r\\n\\r\\n\"\n"},
        {"the disposition's name counts",
         "Content-Type: application/octet-stream; name=x.eml\n"
         "Content-Disposition: attachment; filename=x.eml.txt\n\nx",
         "\napplication/octet-stream [iso-8859-1] \"x\\r\\n\"\n"},
        {"nor is one that was split into uuencoded files",
         "Content-Type: application/octet-stream; name=x.eml\n\nbegin 6 a\n#86)C\nend\nx",
         "\nmultipart/mixed [iso-8859-1] <=_uue_conversion_boundary> \"\"\n"
         "  application/octet-stream [iso-8859-1] \"abc\"\n"
         "  application/octet-stream [iso-8859-1] \"x\\r\\n\"\n"},
    };
    expect_outlines(rows, test_support::outline_detail::without_headers);
}

TEST(part_read, promotion_keeps_all_headers_but_the_encoding) {
    const part read(
        "Content-Transfer-Encoding: quoted-printable\nA: b\n"
        "Content-Type: application/octet-stream; name=x.eml\n"
        "content-transfer-encoding: base64\n\nC: =64\n\ny=3D");
    EXPECT_EQ(outline(read, test_support::outline_detail::with_headers), R"(
message/rfc822 [iso-8859-1] ""
  | "A": "b"
  | "Content-Type": "application/octet-stream; name=x.eml"
  text/plain [iso-8859-1] "y=\r\n\r\n"
    | "C": "d"
    | "Content-Type": "text/plain; charset="iso-8859-1""
)");
}

string decoded(const string& encoding, const std::vector<string>& lines) {
    std::vector<string> all = {"Content-Transfer-Encoding: " + encoding, ""};
    all.insert(all.end(), lines.begin(), lines.end());
    return part(all).body;
}

TEST(part_read, transfer_encodings) {
    const struct {
        const char* encoding;
        std::vector<string> lines;
        const char* body;
    } rows[] = {
        {"base64", {"QUJD"}, "ABC"},
        {"BASE64  ", {"QU", "", "JD", ""}, "ABC"},
        {"=?utf-8?Q?Base64?=", {"QUJD"}, "ABC"},
        {"base64", {"QQ==Qg=="}, "A\x04 "},
        // Eight bytes, one of them none of the coding: what is left over of them is dropped.
        {"base64", {"Q!UJD", "RUZ", "Q!UJD", "RUZ", "QUJD"}, "ABCEFABCEFABC"},
        // Lines gather until together they are a multiple of four long.
        {"base64", {"Q", "U", "J", "D=", "Q", "U", "J", "D"}, "ABCAB"},
        {"base64", {"=41", "begin 6 a", "end"}, "\xE3\x56\xDE\x82\x29\xFA\x7A\x77"},
        {"base64; x", {"QUJD"}, "QUJD\r\n"},
        {"7bit", {"=41"}, "=41\r\n"},
        {"Quoted-Printable", {"a=3D=", "b", "=C3=a9=", "="}, "a=b\r\n\xC3\xA9"},
        {"quoted-printable", {"a= ", "=zz", "=4", "a_", ""}, "a= \r\n=zz\r\n=4\r\na_\r\n\r\n"},
        {"quoted-printable", {"a=4=", "1", "=="}, "a=41\r\n="},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(string(row.encoding) + ": " + escaped(test_support::join(row.lines)));
        EXPECT_EQ(escaped(decoded(row.encoding, row.lines)), escaped(row.body));
    }
    EXPECT_EQ(
        part("content-transfer-encoding: base64\nContent-Transfer-Encoding: 7bit\n\nQUJD").body,
        "ABC");
}

TEST(part_read, uuencoded_file_becomes_a_child) {
    const part read(mail(R"(
A: b
Content-Type: text/plain; charset=utf-8
Content-Transfer-Encoding: 7bit

before
begin 644 my file.Txt
#86)C
`
end
between
begin 755 b
#9&5F
end of it
after)"));
    EXPECT_EQ(outline(read, test_support::outline_detail::with_headers), R"(
multipart/mixed [iso-8859-1] <=_uue_conversion_boundary> ""
  | "A": "b"
  | "Content-Type": "text/plain; charset=utf-8"
  | "Content-Transfer-Encoding": "7bit"
  text/plain [iso-8859-1] "abc"
    | "Content-Type": "text/plain; charset="iso-8859-1""
    | "Content-Disposition": "attachment; filename="my file.Txt""
    | "Content-Transfer-Encoding": "base64"
  application/octet-stream [iso-8859-1] "def"
    | "Content-Type": "text/plain; charset="iso-8859-1""
    | "Content-Disposition": "attachment; filename="b""
    | "Content-Transfer-Encoding": "base64"
  text/plain [utf-8] "before\r\nbetween\r\nafter\r\n"
    | "Content-Type": "text/plain; charset="iso-8859-1""
)");
}

// "-" where the text stays text, else the files' contents and, behind "~", what text is left.
TEST(part_read, uuencode_conversions) {
    const struct {
        const char* text;
        const char* expected;
    } rows[] = {
        {"begin 644 a.txt\n#86)C\n", "-"},
        {"begin 644\n#86)C\nend", "-"},
        {"begin 6 a\n\n#86)C\nend", "-"},
        {"begin 6 a\n#86)a\nend", "-"},
        {"begin 6 a\n#86)C\nEnd", "-"},
        {"Begin 6 a\n#86)C\nend", "-"},
        {"beginning of the story\nsaid he.\n\nend", "-"},
        {"beginning of the story\nM86)C\nendless", "abc~"},
        {"begin 6 \n#86)C\nend", "abc~"},
        {"begin 6 a\nz86)C\n \n`\n!\nend", "abc~"},
        {"begin 6 a\n!86)C9&5F\n#9&5F\nend", "abcdefdef~"},
        // Each line is decoded for itself: what is left over of a line is dropped.
        {"begin 6 a\n#86)CX\n#9&5F\nend", "abcdef~"},
        {"begin 6 a\nbegin 6 b\n#86)C\nend\nx", "abc~begin 6 a\r\nx\r\n"},
        {"end\nbegin 6 a\n#86)C\nend\nend", "abc~end\r\nend\r\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(escaped(row.text));
        const part read(string("\n") + row.text);
        string found;
        for (const part& child : read.children) {
            found += &child == &read.children.back() ? "~" + child.body : child.body;
        }
        EXPECT_EQ(read.children.empty() ? "-" : found, row.expected);
        if (read.children.empty()) {
            EXPECT_EQ(read.body, test_support::join(test_support::split_slowly(row.text, true)));
        }
    }
}

TEST(part_read, uuencoded_files_by_name) {
    const struct {
        const char* charset;
        const char* name;
        const char* type;
        const char* shown;  // attachment().name
    } rows[] = {
        {"us-ascii", "a.TXT", "text/plain", "a.TXT"},
        {"us-ascii", "a.htm", "text/html", "a.htm"},
        {"us-ascii", "a.jpg", "image/jpeg", "a.jpg"},
        {"us-ascii", "a.jpeg", "image/jpeg", "a.jpeg"},
        {"us-ascii", "a.gif", "image/gif", "a.gif"},
        {"us-ascii", "a.png ", "application/octet-stream", "a.png"},
        {"us-ascii", "png", "application/octet-stream", "png"},
        {"us-ascii", "../../etc/passwd", "application/octet-stream", "../../etc/passwd"},
        {"us-ascii", "a\"b;c.txt", "text/plain", "ab"},  // written without regard to quotes
        {"koi8-r", "\xC1.png", "image/png", "{430}.png"},
        {"utf-8", "\xE2\x82\xAC", "application/octet-stream", "{20AC}"},
        {"utf-8",
         "a.g\xC4\xB0"
         "F",
         "image/gif", "a.g{130}F"},
        {"shift_jis", "\x81.gif", "image/gif", "{81}.gif"},  // no text in it: byte for byte
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(string(row.charset) + " " + escaped(row.name));
        const part read(string("Content-Type: a/b; charset=") + row.charset + "\n\nbegin 644 " +
                        row.name + "\n#86)C\nend");
        ASSERT_EQ(read.children.size(), 2U);
        const part& file = read.children.front();
        EXPECT_EQ(file.content_type, row.type);
        EXPECT_EQ(file.body, "abc");
        EXPECT_TRUE(file.attachment().is_attachment);
        EXPECT_EQ(test_support::printable(file.attachment().name), row.shown);
        EXPECT_EQ(read.children.back().charset, row.charset);
    }
}

TEST(part_read, uuencoded_file_name_without_a_reading) {
    const string head = "Content-Type: text/plain; charset=cp99999\n\n";
    EXPECT_THROW(part(head + "begin 644 a\n#86)C\nend"), unicode::invalid_codepage);
    EXPECT_THROW(part(head + "begin 644 a\n"), unicode::invalid_codepage);
    EXPECT_NO_THROW(part(head + "begin 644\n"));
    EXPECT_NO_THROW(part(head + "begin 644 \n#86)C\nend"));
}

TEST(part_read, uuencode_in_the_preamble_of_a_multipart) {
    EXPECT_EQ(outline(part("Content-Type: multipart/alternative; boundary=B; charset=utf-8\n\n"
                           "x\nbegin 6 a\n#86)C\nend\n--B\n\none\n--B--")),
              R"(
multipart/mixed [iso-8859-1] <=_uue_conversion_boundary> ""
  application/octet-stream [iso-8859-1] "abc"
  multipart/alternative [utf-8] <B> "x\r\n"
  text/plain [iso-8859-1] "one\r\n"
)");
}

TEST(part_read, broken_type_headers_throw) {
    EXPECT_THROW(part("Content-Type: =?utf-8?Q?a=zz?="), invalid_codeword);
    EXPECT_THROW(part("Content-Type: a; b=\"=?cp99999?Q?a?=\""), unicode::invalid_codepage);
    EXPECT_THROW(part("Content-Transfer-Encoding: =?shift_jis?Q?=81?=\n\nx"),
                 unicode::unmappable_character);
    EXPECT_NO_THROW(part("Subject: =?utf-8?Q?a=zz?=\n\nx"));
}

TEST(part_read, ranges_of_lines) {
    const std::vector<string> lines = {"skipped", "A: b", "", "x", "y", "skipped"};
    EXPECT_EQ(part(lines, 1, 5).body, "x\r\ny\r\n");
    EXPECT_EQ(part(lines, 1, 3).body, "");
    EXPECT_EQ(outline(part(lines, 2, 2), test_support::outline_detail::with_headers), R"(
text/plain [iso-8859-1] ""
  | "Content-Type": "text/plain; charset="iso-8859-1""
)");
}

TEST(part_read, files) {
    const auto path = (std::filesystem::temp_directory_path() / "part_read_test.eml").string();
    std::filesystem::remove(path);
    try {
        part::load(path);
        FAIL() << "no exception";
    } catch (const generic& caught) {
        EXPECT_EQ(caught.what(), "message2[unable to open file for input: " + path + "]");
    }
    const string text = "A: b\r\n\r\n" + string(20'000, 'x') + "\n\r\r\n\0y";
    part(text).save(path);
    {
        std::ifstream file(path, std::ios::binary);
        const string saved{std::istreambuf_iterator<char>(file), {}};
        EXPECT_EQ(saved, test_support::written(part(text)));
    }
    EXPECT_EQ(part::load(path).body, part(text).body + "\r\n\r\n");
    std::filesystem::remove(path);
    try {
        part().save(path + "/in/no/folder");
        FAIL() << "no exception";
    } catch (const generic& caught) {
        EXPECT_EQ(caught.message(), "unable to open file for output: " + path + "/in/no/folder");
    }
}

TEST(part_read, attachment) {
    const struct {
        const char* headers;
        bool is_attachment;
        const char* name;
    } rows[] = {
        {"Content-Type: image/png; name=\"a.png\"", false, "a.png"},
        {"Content-Type: message/RFC822", true, ""},
        {"Content-Type: message/rfc822; name=a\nContent-Disposition: inline", false, "a"},
        {"Content-Disposition: ATTACHMENT; filename=x", true, "x"},
        {"Content-Type: a/b; NAME=x\nContent-Disposition: attachment", true, "x"},
        {"Content-Type: a/b; name=x\nContent-Disposition: inline; filename=", false, ""},
        {"Content-Disposition: \"attachment\"; filename*=x", false, ""},
        {"Content-Disposition: attachments", false, ""},
        {"Content-Disposition: inline; filename=x\nContent-Disposition: attachment", false, "x"},
        // The first header gives the name, the last one the type.
        {"Content-Type: a/b; name=one\nContent-Type: message/rfc822; name=two", true, "one"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.headers);
        const attachment_info info = part(row.headers).attachment();
        EXPECT_EQ(info.is_attachment, row.is_attachment);
        EXPECT_EQ(test_support::printable(info.name), row.name);
    }
    part changed("A: b");
    changed.content_type = "Message/RFC822";
    EXPECT_TRUE(changed.attachment().is_attachment);
    changed.remove_headers("CONTENT-type");
    EXPECT_FALSE(changed.attachment().is_attachment);
}

}  // namespace
