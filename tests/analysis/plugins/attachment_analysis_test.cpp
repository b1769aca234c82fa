#include "analysis/plugins/attachment_analysis.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "analysis/report_text.h"
#include "foundation/translate.h"
#include "support/mail_text.h"
#include "support/record_text.h"

namespace {

using namespace brindlemoss::analysis;
using replay::internet::message2::part;
using std::string;
using texts = std::vector<string>;

constexpr const char* digest_of_hello = "XUFAKrxLKna5cZ2REBfFkg";
constexpr const char* digest_of_hello_line = "r1WXwpRnqWUjpweHwxn02w";  // with CR LF
constexpr const char* unreadable = "\"=?cp99999?Q?a?=\"";

signature_list signatures_of(part& root) {
    signature_list signatures;
    test_list tests;
    report lines;
    plugins::attachment_analysis::plugin plugin;
    plugin.generate(root, signatures, tests, lines);
    plugin.evaluate(root, signatures, tests, lines);
    EXPECT_TRUE(tests.empty());
    EXPECT_TRUE(lines.empty());
    return signatures;
}

std::string expected(const part& item, const std::string& digest) {
    return "prd " + digest + " -- Part: " + test_support::printable(address_text(&item));
}

TEST(attachment_analysis, digest_does_not_depend_on_the_transfer_coding) {
    part root(test_support::mail(R"(
Content-Type: multipart/mixed; boundary=b

--b
Content-Disposition: attachment; filename=a.bin
Content-Transfer-Encoding: base64

aGVsbG8=
--b
Content-Type: application/x-thing; name=b.bin
Content-Transfer-Encoding: quoted-printable

=68ello=
--b
Content-Type: image/png
Content-Disposition: inline; filename=c.png

hello
--b--
)"));
    ASSERT_EQ(root.children.size(), 3u);
    const auto first = root.children.begin();
    const texts wanted = {expected(*first, digest_of_hello),
                          expected(*std::next(first), digest_of_hello),
                          expected(*std::next(first, 2), digest_of_hello_line)};
    EXPECT_EQ(test_support::signature_texts(signatures_of(root)), wanted);
}

TEST(attachment_analysis, which_parts_are_files) {
    const string disposition = "Content-Disposition: attachment; filename=";
    const string type = "Content-Type: text/plain; name=a\n";
    const struct {
        const char* name;
        string headers;
        bool is_file;
    } rows[] = {
        {"empty name", disposition + "\"\"\n", false},
        {"name behind an empty file name", type + disposition + "\"\"\n", false},
        {"file name, no disposition", "Content-Type: text/plain; NAME=a\n", true},
        {"no bytes", disposition + "a\nX: ", false},
        {"multipart without parts", "Content-Type: multipart/mixed; name=a\n", false},
        {"message", "Content-Type: message/partial; name=a\n", false},
        {"type that only begins so", "Content-Type: messages/x; name=a\n", true},
        {"disposition that cannot be read leaves the name of the type",
         type + disposition + unreadable + "\n", true},
        {"disposition that cannot be read alone", disposition + "a; x=" + unreadable + "\n", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        part root(row.headers + "\nhello");
        texts wanted;
        if (row.is_file) wanted.push_back(expected(root, digest_of_hello_line));
        EXPECT_EQ(test_support::signature_texts(signatures_of(root)), wanted);
    }
}

TEST(attachment_analysis, type_that_cannot_be_read_leaves_the_name_of_the_disposition) {
    part root("Content-Disposition: inline; filename=a\n\nhello");
    root.remove_headers("Content-Type");
    EXPECT_EQ(signatures_of(root).size(), 1u);
    root.add_header("Content-Type", std::string("text/plain; name=") + unreadable);
    EXPECT_EQ(signatures_of(root).size(), 1u);
    root.remove_headers("Content-Disposition");
    EXPECT_EQ(signatures_of(root).size(), 0u);
}

TEST(attachment_analysis, broken_hexadecimal_in_a_name_is_no_missing_header) {
    part root("Content-Disposition: attachment; filename=\"=?utf-8?Q?=XX?=\"\n\nhello");
    EXPECT_THROW(signatures_of(root), replay::coding::translate::invalid_codeword);
}

TEST(attachment_analysis, goes_by_level_and_leaves_out_attached_messages) {
    part root(test_support::mail(R"(
Content-Type: multipart/mixed; boundary=outer

--outer
Content-Type: multipart/mixed; boundary=inner; name=a

preamble
--inner
Content-Type: image/png; name=deep

hello
--inner--
--outer
Content-Type: message/rfc822; name=c

Content-Type: image/png; name=d

hello
--outer
Content-Type: image/png; name=flat
Content-Transfer-Encoding: base64

aGVsbG8=
--outer--
)"));
    ASSERT_EQ(root.children.size(), 3u);
    const part& deep = root.children.front().children.front();
    const part& flat = root.children.back();
    const texts wanted = {expected(flat, digest_of_hello), expected(deep, digest_of_hello_line)};
    EXPECT_EQ(test_support::signature_texts(signatures_of(root)), wanted);
}

}  // namespace
