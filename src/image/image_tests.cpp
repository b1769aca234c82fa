#include "image/image_tests.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace brindlemoss::analysis::plugins::image_analysis {

namespace {

constexpr double least_text = 0.13;
constexpr double least_coverage = 0.85;  // by text and background together
constexpr double most_plain_background = 0.85;
constexpr double most_skew = 0.05;  // rows per column

std::int32_t points(double fraction) {
    return static_cast<std::int32_t>(100 * fraction);
}

}  // namespace

void run_tests(text_engine& engine, engine_result& result) {
    const double text = engine.text_fraction;
    const double background = engine.background_fraction;
    if (text < least_text || text + background < least_coverage) return;

    const auto fire = [&](const char16_t* name, std::int32_t score) {
        result.tests.push_back({name, score});
        engine.score += score;
    };
    engine.score = 0;
    fire(u"Part.Image.Text_Detected", std::min(20 + points(text - least_text), 40));
    if (std::abs(engine.slope) > most_skew) fire(u"Part.Image.Text_Rotated", 10);
    if (background > most_plain_background) {
        fire(u"Part.Image.Background_Detected",
             std::min(points(background - most_plain_background), 10));
    }
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
