#pragma once

#include <optional>

#include "analysis/plugin.h"
#include "image/bitmap.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// Looks at the pictures of a message: whether they show text, and how they are laid out. Joins
// animations to one picture each, and tiles to the picture that they were cut from.
class image_plugin_v8_6 : public generic::plugin {
public:
    // A picture that cannot be decoded gives a test and no exception. Signatures of kind "pid" come
    // in the order of the pictures; of the tests each stands for its strongest picture.
    void generate(replay::internet::message2::part& root, signature_list& signatures,
                  test_list& tests, report& lines) override;

    // Nothing.
    void evaluate(replay::internet::message2::part& root, signature_list& signatures,
                  test_list& tests, report& lines) override;

private:
    // From the first picture of the message until the plugin goes.
    std::optional<picture_decoder> decoder_;
};

}  // namespace brindlemoss::analysis::plugins::image_analysis
