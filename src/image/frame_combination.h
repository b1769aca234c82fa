#pragma once

#include <vector>

#include "image/bitmap.h"
#include "image/decoding_budget.h"
#include "image/rect.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// What became of the frames of an animation.
struct combined_frames {
    int page_count = 0;
    bitmap picture;            // of 24 bits; none for fewer than two pages
    std::vector<rect> frames;  // the places of those that were pasted, none for a chosen one
    bool was_chosen = false;   // the frames had one size, and one of them is the picture
    bool ran_over = false;     // the budget was spent before the picture was complete
};

// Makes one picture of an animation. Of frames that all have one size it is the one that is shown
// longest, of several such the last. Others are laid over each other on the canvas that they span,
// in order, up to the first on which the animation rests: one shown for more than a second, or the
// longest of all if it is shown for more than half of one.
//
// `canvas_pixels` is what the frames span together. A frame that cannot be decoded has no size and
// is not pasted.
combined_frames combine_frames(const encoded_picture& source, std::uint64_t canvas_pixels,
                               const decoding_budget& budget);

}  // namespace brindlemoss::analysis::plugins::image_analysis
