#include "image/image_plugin.h"

#include <cstdint>
#include <vector>

#include "image/image_results.h"
#include "image/image_set.h"
#include "image/text_engine.h"

namespace brindlemoss::analysis::plugins::image_analysis {

using replay::internet::message2::part;

namespace {

constexpr std::int32_t decode_error_score = 50;
constexpr std::int32_t puzzle_score = 40;

engine_result search_text(const bitmap& picture, const std::vector<rect>& frames) {
    engine_result result;
    text_engine(picture.pixels(), frames).run(result);
    return result;
}

}  // namespace

void image_plugin_v8_6::generate(part& root, signature_list& signatures, test_list& tests,
                                 report&) {
    image_set images = build_image_set(root, decoder_);
    if (images.load_errors & (no_bitmap | not_24_bits | reserved_error)) {
        push_test(tests, u"Part.Image.Decode_Error", decode_error_score);
    }
    if (images.notes & puzzle_assembled) {
        push_test(tests, u"Part.Image.Puzzle_Detected", puzzle_score);
    }
    image_results results;
    for (auto& [place, picture] : images.bitmaps) {
        results.add(search_text(picture, images.frame_rects[place]), signatures);
        picture = {};
    }
    results.push_tests(tests);
}

void image_plugin_v8_6::evaluate(part&, signature_list&, test_list&, report&) {}

}  // namespace brindlemoss::analysis::plugins::image_analysis
