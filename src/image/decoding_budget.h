#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <utility>

#include "platform/clock.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// What the pictures of one mail may cost. It is looked at between the steps of decoding, none of
// which is long: picture_guard bounds what the decoder can be made to do in one. For each decoded
// picture the time is set aside that the search for text will take of it. Time is that of the
// processor: a busy machine must not turn an honest picture into one that cannot be decoded.
class decoding_budget {
public:
    using clock = replay::platform::clock::processor_time;

    static constexpr std::chrono::milliseconds time_of_picture{2000};
    static constexpr std::chrono::milliseconds time_of_mail{8000};
    static constexpr std::chrono::milliseconds search_time_of_megapixel{20};

    // Pixels that are held decoded at a time, of 3 bytes each: 384 megabytes. As many photographs
    // as a large mail can carry.
    static constexpr std::uint64_t pixels_of_mail = 128'000'000;

    explicit decoding_budget(std::function<clock::time_point()> now = clock::now)
        : now_(std::move(now)), mail_began_(now_()), picture_began_(mail_began_) {}

    void begin_picture() { picture_began_ = now_(); }

    // Whether a picture of so many pixels may be decoded, or be decoded further.
    bool has_room_for(std::uint64_t pixels) const {
        const clock::time_point now = now_();
        return held_pixels_ + pixels <= pixels_of_mail &&
               now - picture_began_ + search_time(pixels) <= time_of_picture &&
               now - mail_began_ + search_time(held_pixels_ + pixels) <= time_of_mail;
    }

    void hold(std::uint64_t pixels) { held_pixels_ += pixels; }

private:
    static std::chrono::milliseconds search_time(std::uint64_t pixels) {
        return search_time_of_megapixel * static_cast<std::int64_t>(pixels) / 1'000'000;
    }

    std::function<clock::time_point()> now_;
    clock::time_point mail_began_;
    clock::time_point picture_began_;
    std::uint64_t held_pixels_ = 0;
};

}  // namespace brindlemoss::analysis::plugins::image_analysis
