#include "image/image_tests.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

TEST(run_tests, rates_text_skew_and_background) {
    const struct {
        const char* name;
        double text, background, slope;
        std::vector<std::string> tests;
    } rows[] = {
        {"just enough of both", 0.13, 0.72, 0.0, {"20 Text"}},
        {"too little text", 0.12, 0.88, 0.1, {}},
        {"too little of both", 0.13, 0.71, 0.0, {}},
        {"more text counts in full points", 0.259, 0.7, 0.0, {"32 Text"}},
        {"text at most 40", 0.40, 0.6, 0.0, {"40 Text"}},
        {"corrected, but not rated", 0.2, 0.7, 0.03, {"27 Text"}},
        {"at the limit of skew", 0.25, 0.7, 0.05, {"32 Text"}},
        {"rotated", 0.25, 0.7, 0.06, {"32 Text", "10 Rotated"}},
        {"rotated the other way", 0.25, 0.7, -0.06, {"32 Text", "10 Rotated"}},
        {"background at the limit", 0.25, 0.85, 0.0, {"32 Text"}},
        {"background for no point", 0.25, 0.855, 0.0, {"32 Text", "0 Background"}},
        {"just below ten", 0.25, 0.95, 0.0, {"32 Text", "9 Background"}},
        {"background at most ten", 0.25, 0.99, 0.0, {"32 Text", "10 Background"}},
        {"everything", 0.9, 0.99, 1.0, {"40 Text", "10 Rotated", "10 Background"}},
    };
    const std::map<std::u16string, std::string> names = {
        {u"Part.Image.Text_Detected", "Text"},
        {u"Part.Image.Text_Rotated", "Rotated"},
        {u"Part.Image.Background_Detected", "Background"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        text_engine engine(source_bitmap{});
        engine.text_fraction = row.text;
        engine.background_fraction = row.background;
        engine.slope = row.slope;
        engine_result result;
        run_tests(engine, result);
        std::vector<std::string> tests;
        std::int32_t total = 0;
        for (const image_test& each : result.tests) {
            tests.push_back(std::to_string(each.score) + " " + names.at(each.name));
            total += each.score;
        }
        EXPECT_EQ(tests, row.tests);
        EXPECT_EQ(engine.score, total);
    }
}

}  // namespace
}  // namespace brindlemoss::analysis::plugins::image_analysis
