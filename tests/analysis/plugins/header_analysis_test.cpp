#include "analysis/plugins/header_analysis.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/translate.h"
#include "message/character_set.h"
#include "support/record_text.h"

namespace {

using namespace brindlemoss::analysis;
using replay::coding::translate::invalid_codeword;
using replay::internet::message2::part;
using std::string;
using texts = std::vector<string>;

const string empty =
    "60 Message.Empty -- Message has empty Subject: field and no printable characters in Body";
const string root_attachment = "10 Message.Root_Attachment -- Message Root is an Attachment";
const string root_suspicious =
    "10 Message.Root_Suspicious -- Message Root has suspicious Content-Type: field";
const string forged_mailer =
    "30 Header.Forged_X-Mailer -- Root part missing client-specific information";

string malformed_id(const string& id) {
    return "15 Header.Malformed_Message-ID -- Message-ID: \"" + id + "\"";
}
string forged_id(const string& address) {
    return "30 Header.Forged_Message-ID -- Extracted IP \"" + address +
           "\" not listed in any Received: fields";
}
string from_received(const string& address) {
    return "hsi " + address + " -- Extracted from Received: field";
}
string from_id(const string& address) {
    return "hsi " + address + " -- Extracted from Message-ID: field";
}

struct outcome {
    texts tests;
    texts signatures;
};

outcome judge(part& root) {
    signature_list signatures;
    test_list tests;
    report lines;
    plugins::header_analysis::plugin plugin;
    plugin.generate(root, signatures, tests, lines);
    plugin.evaluate(root, signatures, tests, lines);
    EXPECT_TRUE(lines.empty());
    return {test_support::test_texts(tests), test_support::signature_texts(signatures)};
}

outcome judge(const string& raw) {
    part root(raw);
    return judge(root);
}

TEST(header_analysis, empty_messages) {
    const struct {
        const char* name;
        string raw;
        bool is_empty;
    } rows[] = {
        {"nothing at all", "", true},
        {"only line ends", "Subject:\n\n\r\n\n\t\n", true},
        {"only no-break spaces", "\n\xA0\xA0", true},
        {"a blank", "\n ", false},
        {"a letter behind many line ends", "\n" + string(100'000, '\n') + "x", false},
        {"Cyrillic letters", "Content-Type: text/plain; charset=koi8-r\n\n\xD0\xD2", false},
        {"a subject of blanks", "Subject:   \n\n", true},
        {"a subject of one encoded blank", "Subject: =?utf-8?Q?_?=\n\n", false},
        {"only the first subject counts", "Subject:\nSubject: x\n\n", true},
        {"a subject that cannot be read", "Subject: =?cp99999?Q?a?=\n\n", true},
        {"a part without text", "Content-Type: multipart/mixed; boundary=b\n\n--b\n\n\n--b--\n",
         false},
        {"a multipart without parts", "Content-Type: multipart/mixed; boundary=b\n\n", true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(judge(row.raw).tests, row.is_empty ? texts{empty} : texts{});
    }
}

TEST(header_analysis, what_cannot_be_read_beside_text_of_headers_passes_on) {
    EXPECT_THROW(judge("Content-Type: text/plain; charset=cp99999\n\nx"),
                 replay::unicode::invalid_codepage);
    EXPECT_EQ(judge("Subject: x\nContent-Type: text/plain; charset=cp99999\n\nx").tests, texts{});
    EXPECT_THROW(judge("Subject: =?utf-8?Q?=XX?=\n\n"), invalid_codeword);
    EXPECT_THROW(judge("Subject: x\nReceived: =?utf-8?Q?=XX?=\n\n"), invalid_codeword);
}

TEST(header_analysis, odd_roots) {
    const struct {
        const char* name;
        const char* headers;
        texts tests;
    } rows[] = {
        {"text", "Content-Type: text/html\n", {}},
        {"almost text", "Content-Type: textual/plain\n", {root_suspicious}},
        {"multipart", "Content-Type: MULTIPART/x\n", {}},
        {"named document",
         "Content-Type: application/pdf; name=a.pdf\n",
         {root_attachment, root_suspicious}},
        {"named text", "Content-Disposition: inline; filename=a.txt\n", {root_attachment}},
        {"attachment without a name", "Content-Disposition: Attachment\n", {root_attachment}},
        {"message", "Content-Type: message/rfc822\n", {root_attachment, root_suspicious}},
        {"inline message",
         "Content-Type: message/rfc822\nContent-Disposition: inline\n",
         {root_suspicious}},
        {"disposition that cannot be read",
         "Content-Disposition: attachment; x=\"=?cp99999?Q?a?=\"\n"
         "Content-Disposition: attachment\n",
         {}},
        {"the same of a message",
         "Content-Type: message/rfc822\n"
         "Content-Disposition: inline; filename=\"=?cp99999?Q?a?=\"\n",
         {root_attachment, root_suspicious}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto found = judge(string("Subject: x\n") + row.headers + "\nx");
        EXPECT_EQ(found.tests, row.tests);
        EXPECT_EQ(found.signatures, texts{});
    }
}

TEST(header_analysis, tests_stand_in_their_order) {
    const auto found = judge(
        "Received: from x [198.51.100.7]\n"
        "Message-ID: <a$b$057100CB@c>\nX-Mailer: Microsoft Outlook Express 6\n"
        "X-MimeOLE: Produced By Microsoft MimeOLE V6\n"
        "Content-Disposition: attachment\nContent-Type: multipart/mixed; boundary=b\n\n");
    EXPECT_EQ(found.tests,
              (texts{empty, root_attachment, forged_mailer, forged_id("203.0.113.5")}));
    EXPECT_EQ(found.signatures, texts{from_received("198.51.100.7")});
}

TEST(header_analysis, first_public_address_from_the_last_received_upward) {
    const struct {
        const char* name;
        const char* headers;
        const char* address;  // null for none
    } rows[] = {
        {"none", "", nullptr},
        {"in brackets", "Received: from x (y [203.0.113.5]) by z\n", "203.0.113.5"},
        {"another name", "X-Received: 203.0.113.5\nReceived-SPF: 203.0.113.5\n", nullptr},
        {"last goes first", "Received: 203.0.113.5\nReceived: 198.51.100.7\n", "198.51.100.7"},
        {"private at the bottom",
         "Received: 192.0.2.9\nReceived: 203.0.113.5\nReceived: [192.168.0.9]\n"
         "Received: by localhost\nReceived: (127.0.0.1)\n",
         "203.0.113.5"},
        {"only the first of a header", "Received: from x ([10.0.0.1]) by y (1.2.3.4)\n", nullptr},
        {"the first, though no address", "Received: 1.2.3.456 (1.2.3.4)\n", nullptr},
        {"dots alone are taken for one", "Received: ... 1.2.3.4\n", nullptr},
        {"version numbers are not", "Received: 1.2.3 1.2.3.4.5 v1.2.3.4 1.2.3.4\n", "1.2.3.4"},
        {"parenthesis that opens, in front", "Received: a(1.2.3.4\n", "1.2.3.4"},
        {"parenthesis that closes, in front", "Received: a)1.2.3.4\n", "1.2.3.4"},
        {"bracket that closes, in front", "Received: a]1.2.3.4\n", "1.2.3.4"},
        {"others are none", "Received: <1.2.3.4> 1.2.3.4, \"1.2.3.4\" {1.2.3.4};1.2.3.4\n",
         nullptr},
        {"a fold delimits", "Received: a\n\t1.2.3.4\n b\n", "1.2.3.4"},
        {"an encoded tab does not", "Received: =?utf-8?Q?a=091.2.3.4?=\n", nullptr},
        {"an encoded address", "Received: a =?utf-8?B?WzEuMi4zLjRd?=\n", "1.2.3.4"},
        {"a unit that a byte would cut to a digit",
         "Received: =?utf-8?Q?=E3=84=B1.2.3.4?= 5.6.7.8\n", "5.6.7.8"},
        {"bytes beyond ASCII",
         "Received: \xE9 \xA0"
         "1.2.3.4 5.6.7.8\n",
         "5.6.7.8"},
        {"one that cannot be read",
         "Received: 203.0.113.5\nReceived: 198.51.100.7 =?cp99999?Q?a?=\n", "203.0.113.5"},
        {"no address", "Received: 255.255.255.255\nReceived: 0.0.0.0\n", nullptr},
        {"neighbours of none", "Received: 255.255.255.254\n", "255.255.255.254"},
        {"edges of ranges",
         "Received: 172.32.0.0\nReceived: 172.31.255.255\nReceived: 172.16.0.0\n", "172.32.0.0"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto found = judge(string("Subject: x\n") + row.headers + "\n");
        EXPECT_EQ(found.tests, texts{});
        EXPECT_EQ(found.signatures, row.address ? texts{from_received(row.address)} : texts{});
    }
}

TEST(header_analysis, preamble_of_the_known_client) {
    const auto tests_with = [](const string& type, std::size_t preamble_size) {
        part root(
            "Subject: x\nX-MimeOLE: Produced By Microsoft MimeOLE\n"
            "X-Mailer: Microsoft Outlook Express\nContent-Type: " +
            type + "\n\n");
        root.body.assign(preamble_size, 'x');
        return judge(root).tests;
    };
    EXPECT_EQ(tests_with("multipart/mixed", 0), texts{forged_mailer});
    EXPECT_EQ(tests_with("multipart/mixed", 31), texts{forged_mailer});
    EXPECT_EQ(tests_with("multipart/mixed", 32), texts{});
    EXPECT_EQ(tests_with("text/plain", 0), texts{});
}

TEST(header_analysis, claims_of_the_known_client) {
    const string writer = "X-MimeOLE: Produced By Microsoft MimeOLE V6.00\n";
    const string client = "X-Mailer: Microsoft Outlook Express 6.00\n";
    const struct {
        const char* name;
        string headers;
        bool claims;
    } rows[] = {
        {"both", writer + client, true},
        {"encoded",
         "X-MimeOLE: =?utf-8?Q?Produced_By_Microsoft_MimeOLE?=\n"
         "x-mailer: Microsoft Outlook =?utf-8?Q?Express?=\n",
         true},
        {"client alone", client, false},
        {"writer alone", writer, false},
        {"other case", writer + "X-Mailer: Microsoft Outlook express 6.00\n", false},
        {"other writer", "X-MimeOLE: Produced by Microsoft MimeOLE V6.00\n" + client, false},
        {"cut short", "X-MimeOLE: Produced By Microsoft MimeOL\n" + client, false},
        {"not at the start", writer + "X-Mailer: QMicrosoft Outlook Express 6.00\n", false},
        {"client that cannot be read",
         writer + "X-Mailer: Microsoft Outlook Express =?cp99999?Q?a?=\n", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto found = judge("Subject: x\nMessage-ID: <a$b$zz@c>\n" + row.headers + "\n");
        EXPECT_EQ(found.tests, row.claims ? texts{malformed_id("<a$b$zz@c>")} : texts{});
    }
}

TEST(header_analysis, message_id_of_the_known_client) {
    const string found_it = "found";
    const struct {
        const char* name;
        string id;
        string outcome;  // a test; `found_it`; or empty for neither
    } rows[] = {
        {"found", "<a$b$057100CB@c>", found_it},
        {"lower case", "<a$b$057100cb@c>", found_it},
        {"without brackets", "a$b$057100CB@c", found_it},
        {"digits behind the eighth do not count", "<a$b$057100CB12@c>", found_it},
        {"anything behind the digits does not count", "<a$b$057100CBxyz@c>", found_it},
        {"third field, whatever delimits it", "<a@b$057100CB$c>", found_it},
        {"address behind the host", "<a@b$ $057100CB>", malformed_id("<a@b$ $057100CB>")},
        {"forged", "<a$b$067100CB@c>", forged_id("203.0.113.6")},
        {"short numbers stand right", "<a$b$71@c>", forged_id("113.0.0.0")},
        {"zero", "<a$b$00000000@c>", ""},
        {"private", "<a$b$0100A8C0@c>", ""},
        {"no number", "<a$b$x57100CB@c>", malformed_id("<a$b$x57100CB@c>")},
        {"sign", "<a$b$-57100CB@c>", malformed_id("<a$b$-57100CB@c>")},
        {"beyond ASCII", "<a$b$\xE9@c>", malformed_id("<a$b${E9}@c>")},
        {"three dollars", "<a$b$057100CB$d@c>", ""},
        {"two at signs", "<a$b$057100CB@c@d>", ""},
        {"no at sign", "<a$b$057100CB>", ""},
        {"empty first field", "<$b$057100CB@c>", ""},
        {"empty second field", "<a$$057100CB@c>", ""},
        {"empty third field", "<a$b$@c>", ""},
        {"empty last field", "<a$b$057100CB@>", ""},
        {"no character", "", ""},
        {"bracket alone", "<", ""},
        {"cannot be read", "<a$b$zz@c> =?cp99999?Q?a?=", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto found = judge(
            "Subject: x\nReceived: 192.0.2.1\nReceived: at 1203.0.113.50\n"
            "X-MimeOLE: Produced By Microsoft MimeOLE\n"
            "X-Mailer: Microsoft Outlook Express\n"
            "Message-ID: " +
            row.id + "\n\n");
        const bool is_found = row.outcome == found_it;
        EXPECT_EQ(found.tests, is_found || row.outcome.empty() ? texts{} : texts{row.outcome});
        EXPECT_EQ(found.signatures,
                  texts{is_found ? from_id("203.0.113.5") : from_received("192.0.2.1")});
    }
}

TEST(header_analysis, message_id_is_looked_for_in_raw_received_headers_alone) {
    const auto judge_with = [](const string& header) {
        return judge(header +
                     "\nSubject: x\nX-MimeOLE: Produced By Microsoft MimeOLE\n"
                     "X-Mailer: Microsoft Outlook Express\n"
                     "Message-ID: <a$b$04030201@c>\n\n");
    };
    EXPECT_EQ(judge_with("received: <1.2.3.4>").signatures, texts{from_id("1.2.3.4")});
    EXPECT_EQ(judge_with("Received: =?cp99999?Q?1.2.3.4?=").signatures, texts{from_id("1.2.3.4")});
    EXPECT_EQ(judge_with("X-Received: 1.2.3.4").tests, texts{forged_id("1.2.3.4")});

    const auto encoded = judge_with("Received: =?utf-8?Q?1.2=2E3.4?=");
    EXPECT_EQ(encoded.tests, texts{forged_id("1.2.3.4")});
    EXPECT_EQ(encoded.signatures, texts{from_received("1.2.3.4")});
}

TEST(header_analysis, only_the_root_counts) {
    const auto found = judge(
        "Subject: x\nContent-Type: multipart/mixed; boundary=b\n\n--b\nReceived: 1.2.3.4\n"
        "Content-Disposition: attachment\n\nx\n--b\nContent-Type: application/pdf\n\nx\n--b--\n");
    EXPECT_EQ(found.tests, texts{});
    EXPECT_EQ(found.signatures, texts{});
}

TEST(header_analysis, huge_headers) {
    string raw = "Subject: x\nReceived: 203.0.113.5\n";
    for (int i = 0; i < 100'000; ++i) raw += "Received: ([10.0.0.1]) 1.2.3.4\n";
    EXPECT_EQ(judge(raw + "\n").signatures, texts{from_received("203.0.113.5")});

    raw = "Subject: x\nReceived: ";
    while (raw.size() < 1'000'000) raw += "1.1.1 [(1.1.1.1.1) ";
    EXPECT_EQ(judge(raw + "1.1.1.1\n\n").signatures, texts{from_received("1.1.1.1")});
}

}  // namespace
