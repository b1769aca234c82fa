#include <algorithm>

#include "image/format_guards.h"

namespace brindlemoss::analysis::plugins::image_analysis {

namespace {

using namespace std::string_view_literals;

enum marker : unsigned {
    sof_0 = 0xC0,
    dht = 0xC4,
    jpg = 0xC8,
    dac = 0xCC,
    sof_15 = 0xCF,
    rst_0 = 0xD0,
    rst_7 = 0xD7,
    soi = 0xD8,
    eoi = 0xD9,
    sos = 0xDA,
    dqt = 0xDB,
    dnl = 0xDC,
    dri = 0xDD,
    dhp = 0xDE,
    exp = 0xDF,
    app_0 = 0xE0,
    app_14 = 0xEE,
    app_15 = 0xEF,
    jpg_0 = 0xF0,
    jpg_13 = 0xFD,
    com = 0xFE,
};

// Grey, colours, and those of print; the decoder has no pixels for more.
constexpr std::uint32_t most_components = 4;

bool is_frame_header(unsigned kind) {
    return kind >= sof_0 && kind <= sof_15 && kind != dht && kind != jpg && kind != dac;
}

// Markers without a length. Beside those of the standard they are the ones that the decoder does
// not know: it goes on behind the marker, whatever length is told there.
bool stands_alone(unsigned kind) {
    return kind < sof_0 || (kind >= rst_0 && kind <= rst_7) || kind == dhp || kind == exp ||
           (kind >= jpg_0 && kind <= jpg_13);
}

// Of what an APP0 may hold only JFIF has a say in the colours. A JFXX holds a thumbnail, which can
// be a JPEG of any size that nobody has looked at, and the decoder reads it.
bool is_dropped(unsigned kind, std::string_view payload) {
    if (kind == app_0) return !payload.starts_with("JFIF\0"sv);
    return kind == com || (kind >= app_0 && kind <= app_15 && kind != app_14);
}

// Walks the segments as the decoder will, and copies those that it needs.
class jpeg_filter {
public:
    explicit jpeg_filter(std::string_view bytes) : all_(bytes) {}

    std::optional<admitted_picture> admit() {
        picture_.bytes.reserve(all_.size());
        keep(0, 2);
        at_ = 2;
        while (!is_refused_ && next_marker() && take_marker()) {
        }
        if (is_refused_ || picture_.pixels == 0 || scan_count_ == 0) return std::nullopt;
        if (picture_.pixels > most_jpeg_growth * all_.size()) return std::nullopt;
        if (picture_.pixels * scan_count_ > most_scanned_pixels) return std::nullopt;
        picture_.canvas = picture_.pixels;
        return std::move(picture_);
    }

private:
    void keep(std::size_t first, std::size_t last) {
        picture_.bytes.append(all_.substr(first, last - first));
    }
    unsigned byte_at(std::size_t place) const { return static_cast<unsigned char>(all_[place]); }

    // The place of the next 0xFF, or the end.
    std::size_t find_prefix(std::size_t from) const {
        return std::min(all_.find('\xFF', from), all_.size());
    }

    // Goes to behind the next marker. Bytes between segments mean nothing, as 0xFF before a marker.
    bool next_marker() {
        for (;;) {
            at_ = find_prefix(at_);
            while (at_ < all_.size() && byte_at(at_) == 0xFF) ++at_;
            if (at_ == all_.size()) return false;
            kind_ = byte_at(at_++);
            if (!stands_alone(kind_)) return true;
        }
    }

    // False behind the last marker that the decoder will look at.
    bool take_marker() {
        if (kind_ == eoi || kind_ == soi) {  // the end, or a second beginning, which is broken
            keep(at_ - 2, at_);
            return false;
        }
        const std::size_t size = byte_reader(all_.substr(at_)).big_endian(2);
        const std::size_t end = at_ + std::min(std::max<std::size_t>(size, 2), all_.size() - at_);
        const std::string_view segment = all_.substr(at_, end - at_);
        const std::string_view payload = segment.substr(std::min<std::size_t>(2, segment.size()));
        if (!is_dropped(kind_, payload)) {
            if (is_frame_header(kind_)) read_frame(payload);
            keep(at_ - 2, end);
        }
        at_ = end;
        if (kind_ == sos) take_scan();
        return true;
    }

    void read_frame(std::string_view payload) {
        byte_reader reader(payload);
        reader.byte();  // precision
        const std::uint64_t height = reader.big_endian(2);
        const std::uint64_t width = reader.big_endian(2);
        const std::uint32_t components = reader.byte();
        picture_.pixels = std::max(picture_.pixels, width * height);
        is_refused_ = !is_decent(width, height, most_frame_pixels) || components == 0 ||
                      components > most_components;
    }

    // The coded data up to a marker that ends it. The decoder passes over restart markers and over
    // what is none of the standard's.
    void take_scan() {
        ++scan_count_;
        const std::size_t first = at_;
        for (;;) {
            const std::size_t prefix = find_prefix(at_);
            at_ = prefix;
            while (at_ < all_.size() && byte_at(at_) == 0xFF) ++at_;
            const unsigned kind = at_ < all_.size() ? byte_at(at_) : unsigned{eoi};
            if (stands_alone(kind)) continue;
            at_ = prefix;
            return keep(first, prefix);
        }
    }

    std::string_view all_;
    std::size_t at_ = 0;
    unsigned kind_ = 0;
    bool is_refused_ = false;
    std::uint64_t scan_count_ = 0;
    admitted_picture picture_;
};
}  // namespace

std::optional<admitted_picture> admit_jpeg(std::string_view bytes) {
    return jpeg_filter(bytes).admit();
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
