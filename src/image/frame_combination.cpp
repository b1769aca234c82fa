#include "image/frame_combination.h"

#include <algorithm>
#include <cstddef>

namespace brindlemoss::analysis::plugins::image_analysis {

namespace {

constexpr std::uint32_t shortest_rest = 501;     // of the longest frame
constexpr std::uint32_t longest_passing = 1000;  // of any frame; in milliseconds both

using frame_list = std::vector<animation_frame>;

bool have_one_size(const frame_list& frames) {
    return std::all_of(frames.begin(), frames.end(), [&](const animation_frame& each) {
        return each.width == frames.front().width && each.height == frames.front().height;
    });
}

bitmap choose_frame(const animation& pages, const frame_list& frames, std::uint32_t longest) {
    std::size_t page = frames.size();
    while (page-- > 0) {
        if (frames[page].time == longest) return pages.to_24_bits(page);
    }
    return {};
}

rect place_of(const animation_frame& frame) {
    return {frame.left, frame.top, frame.left + frame.width - 1, frame.top + frame.height - 1};
}

bool rests_on(const animation_frame& frame, std::uint32_t longest) {
    return (frame.time == longest && longest >= shortest_rest) || frame.time > longest_passing;
}

bitmap lay_over(const animation& pages, const frame_list& frames, std::uint32_t longest,
                std::vector<rect>& places) {
    std::int32_t width = 0;
    std::int32_t height = 0;
    for (const animation_frame& each : frames) {
        width = std::max(width, each.left + each.width);
        height = std::max(height, each.top + each.height);
    }
    bitmap canvas = bitmap::allocate(width, height);
    for (std::size_t page = 0; page < frames.size(); ++page) {
        if (!pages.paste_onto(canvas, page, frames[page])) continue;
        places.push_back(place_of(frames[page]));
        if (rests_on(frames[page], longest)) break;
    }
    return canvas;
}

}  // namespace

combined_frames combine_frames(const encoded_picture& source, std::uint64_t canvas_pixels,
                               const decoding_budget& budget) {
    animation pages(source);
    combined_frames combined;
    combined.page_count = pages.page_count();
    if (combined.page_count < 2) return combined;

    frame_list frames;
    std::uint32_t longest = 0;
    for (int page = 0; page < combined.page_count; ++page) {
        if (!budget.has_room_for(canvas_pixels)) {
            combined.ran_over = true;
            return combined;
        }
        frames.push_back(pages.lock_next());
        longest = std::max(longest, frames.back().time);
    }
    combined.was_chosen = have_one_size(frames);
    combined.picture = combined.was_chosen ? choose_frame(pages, frames, longest)
                                           : lay_over(pages, frames, longest, combined.frames);
    return combined;
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
