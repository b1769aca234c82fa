#include "image/image_tests.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

TEST(run_tests, rates_text_skew_and_background) {
    const struct {
        const char* name;
        double text, background, slope;
        std::optional<std::int32_t> text_score, rotated_score, background_score;
    } rows[] = {
        {"just enough of both", 0.13, 0.72, 0.0, 20, {}, {}},
        {"too little text", 0.12, 0.88, 0.1, {}, {}, {}},
        {"too little of both", 0.13, 0.71, 0.0, {}, {}, {}},
        {"more text counts in full points", 0.259, 0.7, 0.0, 32, {}, {}},
        {"text at most 40", 0.40, 0.6, 0.0, 40, {}, {}},
        {"corrected, but not rated", 0.2, 0.7, 0.03, 27, {}, {}},
        {"at the limit of skew", 0.25, 0.7, 0.05, 32, {}, {}},
        {"rotated", 0.25, 0.7, 0.06, 32, 10, {}},
        {"rotated the other way", 0.25, 0.7, -0.06, 32, 10, {}},
        {"background at the limit", 0.25, 0.85, 0.0, 32, {}, {}},
        {"background for no point", 0.25, 0.855, 0.0, 32, {}, 0},
        {"just below ten", 0.25, 0.95, 0.0, 32, {}, 9},
        {"background at most ten", 0.25, 0.99, 0.0, 32, {}, 10},
        {"everything", 0.9, 0.99, 1.0, 40, 10, 10},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        text_engine engine(source_bitmap{});
        engine.text_fraction = row.text;
        engine.background_fraction = row.background;
        engine.slope = row.slope;
        engine_result result;
        run_tests(engine, result);

        std::vector<image_test> expected;
        std::int32_t total = 0;
        const auto expect = [&](const char16_t* name, std::optional<std::int32_t> score) {
            if (!score) return;
            expected.push_back({name, *score});
            total += *score;
        };
        expect(u"Part.Image.Text_Detected", row.text_score);
        expect(u"Part.Image.Text_Rotated", row.rotated_score);
        expect(u"Part.Image.Background_Detected", row.background_score);
        ASSERT_EQ(result.tests.size(), expected.size());
        for (std::size_t place = 0; place < expected.size(); ++place) {
            EXPECT_EQ(result.tests[place].name, expected[place].name);
            EXPECT_EQ(result.tests[place].score, expected[place].score);
        }
        EXPECT_EQ(engine.score, total);
    }
}

}  // namespace
}  // namespace brindlemoss::analysis::plugins::image_analysis
