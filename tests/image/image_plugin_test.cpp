#include "image/image_plugin.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "image/image_results.h"
#include "support/picture_mail.h"
#include "support/record_text.h"

namespace {

using namespace brindlemoss::analysis;
using namespace brindlemoss::analysis::plugins::image_analysis;
using namespace test_support;
using replay::internet::message2::part;
using strings = std::vector<std::string>;

strings tests_of(const std::string& mail) {
    part root(mail);
    image_plugin_v8_6 plugin;
    signature_list signatures;
    test_list tests;
    report lines;
    plugin.generate(root, signatures, tests, lines);
    plugin.evaluate(root, signatures, tests, lines);
    EXPECT_TRUE(lines.empty());
    return test_texts(tests);
}

TEST(image_plugin, tests_of_a_message) {
    const mail_part good{"image/png", png_file(flat(2, 2, 7))};
    const std::vector<mail_part> puzzle{html_showing({"a", "b", "c"}), tile(1, 1, 1, "<a>"),
                                        tile(1, 1, 2, "<b>"), tile(1, 1, 3, "<c>")};
    const struct {
        const char* what;
        std::vector<mail_part> parts;
        strings tests;
    } cases[] = {
        {"no picture", {{"text/plain", "hello"}}, {}},
        {"a good one", {good}, {}},
        {"an unknown file type raises nothing", {{"image/png", "hello"}}, {}},
        {"an unwanted one neither", {{"image/png", "BM"}}, {}},
        {"two broken ones raise one test",
         {good, {"image/jpeg", "\xFF\xD8 x"}, {"image/gif", "GIF89a"}},
         {"50 Part.Image.Decode_Error"}},
        {"a puzzle", puzzle, {"40 Part.Image.Puzzle_Detected"}},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(tests_of(mail_of(row.parts)), row.tests);
    }
}

TEST(image_plugin, pictures_of_an_attached_message_count) {
    EXPECT_EQ(tests_of("Content-Type: message/rfc822\n\nContent-Type: image/gif\n"
                       "Content-Transfer-Encoding: base64\n\nR0lGODlh\n"),
              (strings{"50 Part.Image.Decode_Error"}));
}

TEST(image_results, each_test_stands_for_its_strongest_picture) {
    image_results results;
    signature_list signatures;
    results.add({{{u"Part.Image.Background_Detected", 10},
                  {u"Part.Image.Text_Detected", 25},
                  {u"Part.Image.Something", 99}},
                 {"abc", ""}},
                signatures);
    results.add({{{u"Part.Image.Text_Detected", 31}}, {"abc"}}, signatures);
    results.add({{{u"Part.Image.Text_Detected", 30}, {u"Part.Image.Text_Rotated", 0}}, {}},
                signatures);
    test_list tests;
    results.push_tests(tests);
    EXPECT_EQ(test_texts(tests),
              (strings{"31 Part.Image.Text_Detected", "10 Part.Image.Background_Detected"}));
    // RFC 1321 gives 900150983cd24fb0d6963f7d28e17f72 and d41d8cd98f00b204e9800998ecf8427e.
    EXPECT_EQ(signature_texts(signatures),
              (strings{"pid kAFQmDzST7DWlj99KOF/cg -- abc", "pid 1B2M2Y8AsgTpgAmY7PhCfg",
                       "pid kAFQmDzST7DWlj99KOF/cg -- abc"}));
}

}  // namespace
