#pragma once

#include <array>
#include <cstdint>

#include "analysis/record.h"
#include "image/text_engine.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// Gathers what the engine found in the pictures of one message, as records of the run.
class image_results {
public:
    // Adds a signature of kind "pid" for each of the picture's, in order, and keeps of its tests
    // the highest score. Tests of other names than push_tests() knows are dropped.
    void add(const engine_result& result, signature_list& signatures);

    // Adds "Part.Image.Text_Detected", "Part.Image.Text_Rotated", "Part.Image.Background_Detected",
    // in this order, each that any picture scored in, with the score of the strongest.
    void push_tests(test_list& tests) const;

private:
    struct strongest_test {
        const char16_t* name;
        std::int32_t score = 0;
    };

    std::array<strongest_test, 3> strongest_{{{u"Part.Image.Text_Detected"},
                                              {u"Part.Image.Text_Rotated"},
                                              {u"Part.Image.Background_Detected"}}};
};

}  // namespace brindlemoss::analysis::plugins::image_analysis
