#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "image/picture_guard.h"

// The three looks behind picture_guard.h, one a format.
namespace brindlemoss::analysis::plugins::image_analysis {

std::optional<admitted_picture> admit_gif(std::string_view bytes);   // GIF89a, CompuServe 1990
std::optional<admitted_picture> admit_png(std::string_view bytes);   // RFC 2083
std::optional<admitted_picture> admit_jpeg(std::string_view bytes);  // ITU-T T.81

// Takes numbers off the front of bytes that it does not own. What is not there counts as zeros and
// makes the reader run dry for good.
class byte_reader {
public:
    explicit byte_reader(std::string_view bytes) : left_(bytes) {}

    bool ran_dry() const { return ran_dry_; }
    std::size_t size() const { return left_.size(); }

    std::string_view take(std::size_t count) {
        if (count > left_.size()) {
            ran_dry_ = true;
            left_ = {};
            return {};
        }
        const std::string_view taken = left_.substr(0, count);
        left_.remove_prefix(count);
        return taken;
    }

    std::uint32_t byte() { return big_endian(1); }
    std::uint32_t big_endian(std::size_t width) {
        std::uint32_t number = 0;
        for (const char each : take(width)) number = number << 8 | static_cast<unsigned char>(each);
        return number;
    }
    std::uint32_t little_endian_16() {
        const std::uint32_t swapped = big_endian(2);
        return (swapped & 0xFF) << 8 | swapped >> 8;
    }

private:
    std::string_view left_;
    bool ran_dry_ = false;
};

// Whether both sides are there and the picture is no larger than allowed.
constexpr bool is_decent(std::uint64_t width, std::uint64_t height, std::uint64_t most_pixels) {
    return width > 0 && height > 0 && width <= most_pixels / height;
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
