#include "analysis/analysis_engine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "analysis/filter_engine.h"
#include "message/part.h"
#include "support/mail_text.h"
#include "support/printable.h"
#include "support/record_text.h"

namespace {

using namespace brindlemoss::analysis;
using brindlemoss::analysis::community::signature_entry;
using replay::internet::message2::part;
using strings = std::vector<std::string>;

// A message in which no plugin finds a test.
constexpr const char* quiet_mail = "From: a@b.example\nSubject: s\n\nhello there\n";

// The report as text, with "ID" in place of the addresses of parts, which no two runs share.
strings report_texts(const report& lines) {
    strings texts;
    for (const report_line& line : lines) {
        std::string text = test_support::printable(line.text);
        for (auto at = text.find("0x"); at != std::string::npos; at = text.find("0x", at)) {
            text.replace(at, text.find_first_not_of("0123456789abcdefx", at) - at, "ID");
        }
        texts.push_back(std::string(static_cast<std::size_t>(line.depth) * 2, ' ') + text);
    }
    return texts;
}

signature_entry matched(std::u16string kind, std::int32_t state, std::uint32_t reports,
                        std::uint32_t revokes) {
    static int count = 0;
    signature_entry made(std::move(kind), u"d" + std::u16string(1, char16_t(u'a' + count++ % 26)));
    made.matched = true;
    made.state = state;
    made.reports = reports;
    made.revokes = revokes;
    return made;
}

std::vector<std::int32_t> scores(const test_list& tests) {
    std::vector<std::int32_t> found;
    for (const test& each : tests) found.push_back(each.score);
    return found;
}

struct verdict_case {
    const char* what;
    std::vector<std::int32_t> plugin_scores;
    std::vector<signature_entry> signatures;
    std::vector<std::int32_t> scores_of_signatures;
    int rating;  // from 50 on it is spam
};

TEST(analysis_engine, turns_votes_into_a_rating) {
    const auto tru = [](std::uint32_t reports, std::uint32_t revokes) {
        return matched(u"tru", 0, reports, revokes);
    };
    const auto tbd = [](std::uint32_t reports, std::uint32_t revokes) {
        return matched(u"tbd", 1, reports, revokes);
    };
    const auto listed = [](std::int32_t state, std::uint32_t reports) {
        return matched(u"hsi", state, reports, 0);
    };
    const auto hsi = matched(u"hsi", 0, 9, 1);
    const std::vector<signature_entry> eleven(11, tbd(1, 0));
    const std::vector<signature_entry> many(150, tbd(689342251, 3605625046u));
    const verdict_case cases[] = {
        {"nothing", {}, {}, {}, 0},
        {"worked example", {30}, {hsi, tru(30, 0), tru(30, 0)}, {36, 50, 50}, 100},
        {"its second half", {30}, {hsi, tru(8, 2)}, {36, 0}, 66},
        {"a sending host alone", {}, {matched(u"hsi", 0, 1, 0)}, {40}, 40},
        {"a lone URL at 89 percent", {}, {tru(89, 11)}, {0}, 0},
        {"a lone URL at 90 percent", {}, {matched(u"twu", 0, 9, 1)}, {90}, 90},
        {"a lone block at 89 percent", {}, {tbd(89, 11)}, {89}, 89},
        {"a URL beside a block", {}, {tru(1, 1), tbd(1, 1)}, {25, 25}, 50},
        {"a URL beside an ignored block", {}, {tru(1, 1), matched(u"tbd", 2, 1, 1)}, {0}, 0},
        {"three", {}, {tbd(10, 0), tbd(10, 0), tbd(10, 0)}, {33, 33, 33}, 99},
        {"the smallest share", {}, eleven, std::vector<std::int32_t>(11, 10), 100},
        {"revokes only", {}, {tbd(0, 5)}, {0}, 0},
        {"ignored", {}, {listed(2, 9)}, {}, 0},
        {"whitelisted twice", {30}, {listed(3, 9), listed(3, 0)}, {-100, -100}, 0},
        {"blacklisted without votes", {}, {listed(4, 0)}, {100}, 100},
        {"one below the mark", {49}, {}, {}, 49},
        {"at the mark", {50}, {}, {}, 50},
        {"votes that wrap in 32 bits", {}, {tbd(42949673, 0)}, {0}, 0},
        {"scores whose sum wraps", {}, many, std::vector<std::int32_t>(150, 21474836), 0},
        {"votes whose sum wraps to none", {}, {tbd(0x80000000u, 0x80000000u)}, {}, 0},
    };
    for (const verdict_case& row : cases) {
        SCOPED_TRACE(row.what);
        part message(quiet_mail);
        analysis_run run(message);
        for (const std::int32_t score : row.plugin_scores) push_test(run.tests, u"Plugin", score);
        run.signatures.assign(row.signatures.begin(), row.signatures.end());
        EXPECT_EQ(analysis_engine().evaluate(run), row.rating);
        EXPECT_EQ(run.class_name, row.rating < 50 ? u"HAM" : u"SPAM/TEXT");
        auto expected = row.plugin_scores;
        expected.insert(expected.end(), row.scores_of_signatures.begin(),
                        row.scores_of_signatures.end());
        EXPECT_EQ(scores(run.tests), expected);
    }
}

TEST(analysis_engine, reports_what_matched_and_what_it_scored) {
    part message(quiet_mail);
    analysis_run run(message);
    push_test(run.tests, u"Message.Empty", 60, u"why");
    push_test(run.tests, u"Below", -100);
    signature_entry known(u"longkind", u"digest");
    known.matched = true;
    known.id = 0x8000000000000001u;
    known.state = -1;
    known.reports = 3;
    known.revokes = 1;
    known.matches = 12;
    run.signatures = {signature_entry(u"tbd", u"unknown"), known};
    analysis_engine().evaluate(run);
    EXPECT_EQ(report_texts(run.report),
              (strings{"", "Matched Signatures:",
                       "  longki digest -- ID: -9223372036854775807, State: -1, Reports: 3, "
                       "Revokes: 1, Matches: 12",
                       "", "Test Results:", "  60  Message.Empty -- why", "  -100 Below",
                       "  75  Signature.Matched -- Signature: longki digest"}));
}

TEST(analysis_engine, class_of_pictures_counts_what_lies_below_the_logical_root) {
    const std::string picture =
        "Content-Type: multipart/mixed; boundary=b\n\n--b\nContent-Type: message/rfc822\n\n"
        "Content-Type: image/x\n\nbytes\n--b--\n";
    part message(picture);
    analysis_run run(message);
    push_test(run.tests, u"Plugin", 50);
    analysis_engine().evaluate(run);
    EXPECT_EQ(run.class_name, u"SPAM/IMAGE");
}

TEST(analysis_engine, report_of_parts_and_signatures) {
    part message(
        "Subject: s\nContent-Type: multipart/report; boundary=b\n\n"
        "--b\n\nnote\n"
        "--b\nContent-Type: message/rfc822; name=\"m.eml\"\n\n"
        "Subject: inner\n\n,,hello\n--b--\n");
    analysis_run run(message);
    analysis_engine().generate(run);
    EXPECT_EQ(report_texts(run.report),
              (strings{"Message Parts:", "  multipart/report -- ID: ID, Bytes: 0",
                       "    text/plain -- ID: ID, Bytes: 6",
                       "    message/rfc822 \"m.eml\" -- ID: ID, Bytes: 0",
                       "      text/plain -- ID: ID, Bytes: 9, Logical Root", "",
                       "Text Analysis:", "  Displayable Part: ID", "", "Generated Signatures:",
                       "  tbd jiXsSh7PfsmE+MQXi/cOmQ -- Block: \"ehio\""}));
}

TEST(analysis_engine, logical_root) {
    const auto root_type = [](const std::string& raw) {
        part message(raw);
        return logical_root(message).content_type;
    };
    const std::string children =
        "; boundary=b\n\n--b\nContent-Type: a/b\n\n--b\nContent-Type: message/rfc822\n\n"
        "Content-Type: c/d\n\nx\n--b\nContent-Type: message/rfc822\n\nContent-Type: e/f\n\n--b--";
    EXPECT_EQ(root_type("Content-Type: multipart/report" + children), "c/d");
    EXPECT_EQ(root_type("Content-Type: multipart/mixed" + children), "multipart/mixed");
    EXPECT_EQ(root_type("Content-Type: multipart/report; boundary=b\n\n--b\n\n--b--"),
              "multipart/report");
}

TEST(analysis_engine, signatures_are_sorted_by_unit_and_each_stands_once) {
    part message(quiet_mail);
    analysis_run run(message);
    const auto push = [&](std::u16string kind, std::u16string digest, std::u16string comment) {
        push_signature(run.signatures, std::move(kind), std::move(digest), std::move(comment));
    };
    push(u"zz", u"a", u"");
    push(u"\uFFFD", u"a", u"");
    push(u"\xD83D\xDE00", u"a", u"");  // by units it comes before U+FFFD, by code points behind
    push(u"a", u"b", u"first");
    push(u"a", u"B", u"");
    push(u"a", u"b", u"second");
    push(u"a", u"", u"");
    analysis_engine().generate(run);
    std::vector<std::string> order;
    for (const signature_entry& each : run.signatures) {
        if (each.kind == u"tbd") continue;
        order.push_back(test_support::printable(each.kind) + "/" +
                        test_support::printable(each.digest) + "/" +
                        test_support::printable(each.comment));
    }
    EXPECT_EQ(order, (strings{"a//", "a/B/", "a/b/first", "zz/a/",
                              test_support::printable(std::u16string_view(u"\xD83D\xDE00")) + "/a/",
                              test_support::printable(std::u16string_view(u"\uFFFD")) + "/a/"}));
}

struct example_case {
    const char* file;
    int rating;
    strings tests;
    decision settled_by = decision::analysed;
};

const std::string customised = "5 Part.Text.Address_Customization -- Token: ";
const std::string text = "40 Part.Image.Text_Detected";
const std::string background = "Part.Image.Background_Detected";
const std::string permutated = "5 Part.Text.Permutated_Token -- Token: ";

// Those that pass without a test are left out.
TEST(analysis_engine, example_mails) {
    const example_case cases[] = {
        {"broken-base64-and-missing-end.eml", 5, {customised + "\"karl\""}},
        {"broken-encoded-word-bad-hex.eml", 0, {}, decision::error},
        {"broken-encoded-word-invalid-bytes.eml", 70, {}, decision::broken_header},
        {"broken-missing-boundary.eml",
         20,
         {"20 MIME.Displayable -- No displayable text part found in message"}},
        {"forged-client.eml",
         70,
         {"30 Header.Forged_X-Mailer -- Root part missing client-specific information",
          "30 Header.Forged_Message-ID -- Extracted IP \"203.0.113.9\" not listed in any "
          "Received: fields",
          "10 Part.Text.Unknown_Markup_Entity -- Entity: \"starz\""}},
        {"gtube.eml",
         100,
         {"100 Diagnostic.GTUBE -- This is a GTUBE Diagnostic Message",
          permutated + "\"xjsc4jdbqadn1nsbn32idnengtubestandardantiubetestemailc34x\""}},
        {"html-newsletter.eml", 5, {customised + "\"reader\""}},
        {"html-with-text-alternative.eml", 5, {customised + "\"lena\""}},
        {"mbox-line-and-raw-8bit-subject.eml", 5, {customised + "\"ulla\""}},
        {"nested-multiparts-inline-image.eml", 5, {customised + "\"press\""}},
        {"picture-broken-gif.eml", 50, {"50 Part.Image.Decode_Error"}},
        {"picture-flip-book.eml", 42, {text, "2 " + background}},
        {"picture-overlay-animation.eml", 44, {text, "4 " + background}},
        {"picture-puzzle.eml", 82, {"40 Part.Image.Puzzle_Detected", text, "2 " + background}},
        {"picture-text-gif.eml", 47, {text, "7 " + background}},
        {"picture-text-jpeg.eml", 48, {text, "8 " + background}},
        {"picture-text-png.eml", 47, {text, "7 " + background}},
        {"picture-text-skewed.eml", 58, {text, "10 Part.Image.Text_Rotated", "8 " + background}},
        {"plain-text.eml", 5, {customised + "\"tom\""}},
        {"spam-pitch.eml",
         20,
         {customised + "\"jim\"", permutated + "\"w4tch\"", permutated + "\"v3ry\"",
          permutated + "\"disc0unt\""}},
        {"virus-notice.eml", 100, {}, decision::virus},
        {"virus-status-infected.eml", 100, {}, decision::virus},
    };
    filter_services nobody;
    const filter_engine engine(nobody);
    std::size_t passed = 0;
    for (const auto& example : test_support::examples()) {
        SCOPED_TRACE(example.first);
        const auto row = std::find_if(std::begin(cases), std::end(cases),
                                      [&](const auto& each) { return each.file == example.first; });
        const example_case clean{"", 0, {}};
        const example_case& wanted = row == std::end(cases) ? clean : *row;
        passed += row == std::end(cases) ? 1 : 0;
        part message(example.second);
        const verdict reached = engine.score(message, occasion::first);
        EXPECT_EQ(reached.rating, wanted.rating);
        EXPECT_EQ(reached.settled_by, wanted.settled_by);
        EXPECT_EQ(test_support::test_texts(reached.tests), wanted.tests);
    }
    EXPECT_EQ(passed, 15u);
    EXPECT_EQ(test_support::examples().size(), passed + std::size(cases));
}

}  // namespace
