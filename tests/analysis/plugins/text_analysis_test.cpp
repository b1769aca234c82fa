#include "analysis/plugins/text_analysis.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "analysis/report_text.h"
#include "foundation/translate.h"
#include "support/record_text.h"

namespace brindlemoss::analysis::plugins::text_analysis {
namespace {

using replay::internet::message2::part;
using test_support::printable;
using testing::ElementsAre;
using testing::IsEmpty;

using strings = std::vector<std::string>;

// What the plugin adds to a run's lists, a line each.
struct outcome {
    strings tests;
    strings signatures;
    strings report;
};

outcome analysed(part& root) {
    test_list tests;
    signature_list signatures;
    report lines;
    plugin().generate(root, signatures, tests, lines);
    outcome got{test_support::test_texts(tests), test_support::signature_texts(signatures), {}};
    for (const report_line& line : lines) {
        got.report.push_back(std::to_string(line.depth) + " " + printable(line.text));
    }
    return got;
}

outcome analysed(const std::string& mail) {
    part root(mail);
    return analysed(root);
}

outcome analysed_html(const std::string& html) {
    return analysed("Content-Type: text/html\n\n" + html);
}

outcome analysed_plain(const std::string& text) {
    return analysed("\n" + text);
}

TEST(html_converter, keeps_links_as_they_are_written) {
    struct link_case {
        const char* what;
        std::u16string_view html;
        std::vector<std::u16string> wanted;
    };
    const link_case cases[] = {
        {"href and src", u"<a href='http://A/B'><img src=c.GIF>", {u"http://a/b", u"c.gif"}},
        {"any tag, end tags too", u"<x href=a></x src=b>", {u"a", u"b"}},
        {"case of the name counts", u"<a HREF=a Src=b>", {}},
        {"an empty value", u"<a href=''>", {u""}},
        {"to no server", u"<a href='mailto:a@b'><a href=cid:x><img src=mid:y>", {}},
        {"case of the scheme counts",
         u"<a href='MAILTO:A@b'><a href=Cid:x>",
         {u"mailto:a@b", u"cid:x"}},
        {"outside the body", u"<a href=a><body><a href=b></body><a href=c>", {u"a", u"b", u"c"}},
        {"other scripts", u"<a href='\u0416'>", {u"\u0436"}},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.what);
        html_converter converter;
        replay::html::parse(row.html, converter);
        EXPECT_EQ(converter.links, row.wanted);
    }
}

TEST(text_analysis, without_displayable_text) {
    const outcome got = analysed("Content-Type: image/png\nTo: jim@x\n\njim");
    EXPECT_THAT(got.tests, ElementsAre("20 MIME.Displayable -- No displayable text part found in "
                                       "message"));
    EXPECT_THAT(got.signatures, IsEmpty());
    EXPECT_THAT(got.report, IsEmpty());
}

TEST(text_analysis, names_the_part_that_it_looks_at) {
    part root(
        "Content-Type: multipart/mixed; boundary=b\n\n--b\n\nplain\n--b\n"
        "Content-Type: text/html\n\n<body>one</body>\n--b--\n");
    const outcome got = analysed(root);
    EXPECT_THAT(got.report, ElementsAre("0 ", "0 Text Analysis:",
                                        "1 Displayable Part: " +
                                            printable(address_text(&root.children.back()))));
    EXPECT_THAT(got.signatures, ElementsAre("tbd qCUQTxyRIJQqf10Bu5HT4Q -- Block: \"eno\""));
    EXPECT_THAT(got.tests, IsEmpty());
}

TEST(text_analysis, leaves_the_parts_own_text_as_it_was) {
    part root("\nSome\tTEXT\n");
    analysed(root);
    EXPECT_EQ(printable(root.text()), printable(part("\nSome\tTEXT\n").text()));
}

TEST(text_analysis, a_text_that_cannot_be_converted_counts_as_empty) {
    const outcome got =
        analysed("Content-Type: text/plain; charset=Shift_JIS\n\nhttp://a.com a1 \x81");
    EXPECT_THAT(got.tests,
                ElementsAre("40 Part.Text.Unicode_Conversion -- Error:  Character Set: shift_jis"));
    EXPECT_THAT(got.signatures, IsEmpty());
    EXPECT_EQ(got.report.size(), 3u);
}

TEST(text_analysis, unknown_entities) {
    const auto unknown = [](const std::string& name) {
        return "10 Part.Text.Unknown_Markup_Entity -- Entity: \"" + name + "\"";
    };
    struct entity_case {
        const char* what;
        std::string html;
        strings wanted;
    };
    const entity_case cases[] = {
        {"in their order, once each",
         "<body>&b;&a;&b;&B;</body>",
         {unknown("B"), unknown("a"), unknown("b")}},
        {"at most three", "<body>&d;&c;&b;&a;</body>", {unknown("a"), unknown("b"), unknown("c")}},
        {"the empty one does not count",
         "<body>a & b &c;&b;&a;</body>",
         {unknown("a"), unknown("b"), unknown("c")}},
        {"outside the body", "&a;<p>&b;</p>", {}},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(analysed_html(row.html).tests, row.wanted);
    }
    EXPECT_THAT(analysed_plain("&a;").tests, IsEmpty());
    EXPECT_THROW(analysed_html("<body>&#xg;</body>"), replay::coding::translate::invalid_codeword);
}

TEST(text_analysis, gtube) {
    const std::string gtube =
        "XJS*C4JDBQADN1.NSBN3*2IDNEN*GTUBE-STANDARD-ANTI-UBE-TEST-EMAIL*C.34X";
    const std::string wanted = "100 Diagnostic.GTUBE -- This is a GTUBE Diagnostic Message";
    // It is a word that begins with a letter and holds digits.
    const std::string word =
        "5 Part.Text.Permutated_Token -- Token: "
        "\"xjsc4jdbqadn1nsbn32idnengtubestandardantiubetestemailc34x\"";
    EXPECT_THAT(analysed_plain("a " + gtube + " b").tests, ElementsAre(wanted, word));
    EXPECT_THAT(analysed_html("<body>" + gtube + "</body>").tests, ElementsAre(wanted, word));
    EXPECT_THAT(analysed_html(gtube).tests, IsEmpty());
    std::string lowered = gtube;
    lowered.front() = 'x';
    EXPECT_THAT(analysed_plain(lowered).tests, ElementsAre(word));
}

// A recipient's name goes before words are taken for disguised, and before the signatures.
TEST(text_analysis, tests_and_signatures_in_their_order) {
    std::string text = "b2 a1 ";
    for (int i = 0; i < 10; ++i) text += "a b c d e f g ";
    const outcome got = analysed("To: b2@x\n\n" + text + "http://www.example.com/x");
    EXPECT_THAT(got.tests, ElementsAre("5 Part.Text.Address_Customization -- Token: \"b2\"",
                                       "5 Part.Text.Permutated_Token -- Token: \"a1\""));
    strings kinds;
    for (const std::string& line : got.signatures) kinds.push_back(line.substr(0, 3));
    EXPECT_THAT(kinds, ElementsAre("tbd", "tlc", "tsd", "tru"));
    EXPECT_EQ(got.signatures.back(), "tru com.example.www/x");
}

TEST(text_analysis, urls_of_html_with_links_come_from_the_links_alone) {
    EXPECT_THAT(analysed_html("<a href='http://a.example.com/'><body>http://b.example.com</body>")
                    .signatures,
                ElementsAre("tru com.example.a"));
    EXPECT_THAT(analysed_html("<a href='nowhere'><body>http://b.example.com</body>").signatures,
                IsEmpty());
    EXPECT_THAT(analysed_html("<a href='cid:x'><body>http://b.example.com</body>").signatures,
                ElementsAre("tru com.example.b"));
}

TEST(text_analysis, urls_of_long_plain_text_are_not_looked_for) {
    const auto signatures = [](std::size_t size) {
        std::u16string text = u"http://example.com";
        text.resize(size, u' ');
        part root;
        root.set_text(text);
        return analysed(root).signatures;
    };
    EXPECT_THAT(signatures(16383), ElementsAre("tru com.example"));
    EXPECT_THAT(signatures(16384), IsEmpty());
}

TEST(text_analysis, reduces_the_urls_of_the_whole_run) {
    part root("\nhttp://example.com/a http://example.com/");
    signature_list signatures;
    push_signature(signatures, u"tru", u"com.example/b");
    push_signature(signatures, u"hsi", u"com.example");
    test_list tests;
    report lines;
    plugin().generate(root, signatures, tests, lines);
    strings got;
    for (const auto& entry : signatures) got.push_back(printable(entry.kind + u" " + entry.digest));
    EXPECT_THAT(got, ElementsAre("hsi com.example", "tru com.example"));
}

}  // namespace
}  // namespace brindlemoss::analysis::plugins::text_analysis
