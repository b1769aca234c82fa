#include <algorithm>
#include <array>
#include <iterator>

#include "image/format_guards.h"

namespace brindlemoss::analysis::plugins::image_analysis {

namespace {

constexpr std::size_t signature_size = 8;
constexpr std::size_t frame_size = 12;  // of a chunk: length, type, checksum
constexpr std::size_t header_size = 13;

struct png_header {
    std::uint64_t width = 0;
    std::uint64_t height = 0;
    std::uint64_t bits_per_pixel = 0;  // 0: not a colour type
    bool is_interlaced = false;
};

std::uint64_t channels_of(std::uint32_t colour_type) {
    switch (colour_type) {
        case 0: return 1;  // grey
        case 2: return 3;  // red, green, blue
        case 3: return 1;  // of a palette
        case 4: return 2;  // grey, alpha
        case 6: return 4;  // red, green, blue, alpha
        default: return 0;
    }
}

png_header read_header(std::string_view data) {
    byte_reader reader(data);
    png_header header;
    header.width = reader.big_endian(4);
    header.height = reader.big_endian(4);
    const std::uint64_t depth = reader.byte();
    header.bits_per_pixel = depth <= 16 ? depth * channels_of(reader.byte()) : 0;
    reader.take(2);  // methods of compression and filters: there is one each
    header.is_interlaced = reader.byte() != 0;
    return header;
}

// Bytes of the filtered rows of a picture, each with the number of its filter.
std::uint64_t raw_size_of(std::uint64_t width, std::uint64_t height, std::uint64_t bits) {
    return width == 0 ? 0 : height * (1 + (width * bits + 7) / 8);
}

std::uint64_t raw_size(const png_header& header) {
    if (!header.is_interlaced) {
        return raw_size_of(header.width, header.height, header.bits_per_pixel);
    }
    struct pass {
        std::uint64_t left, top, column_step, row_step;
    };
    constexpr pass passes[] = {{0, 0, 8, 8}, {4, 0, 8, 8}, {0, 4, 4, 8}, {2, 0, 4, 4},
                               {0, 2, 2, 4}, {1, 0, 2, 2}, {0, 1, 1, 2}};
    std::uint64_t sum = 0;
    for (const pass& each : passes) {
        const auto count = [](std::uint64_t size, std::uint64_t first, std::uint64_t step) {
            return size > first ? (size - first + step - 1) / step : 0;
        };
        sum += raw_size_of(count(header.width, each.left, each.column_step),
                           count(header.height, each.top, each.row_step), header.bits_per_pixel);
    }
    return sum;
}

// Letters alone. The decoder gives up at a chunk that calls itself anything else.
bool is_type(std::string_view type) {
    return std::all_of(type.begin(), type.end(), [](char byte) {
        return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z');
    });
}

// Ancillary chunks begin with a small letter.
bool is_ancillary(std::string_view type) {
    return is_type(type) && (type.front() & 0x20) != 0;
}

// Of the ancillary ones those that can change a pixel: transparency, and what gamma depends on.
bool decides_pixels(std::string_view type) {
    constexpr std::array<std::string_view, 5> deciding = {"tRNS", "gAMA", "cHRM", "sRGB", "iCCP"};
    return std::find(deciding.begin(), deciding.end(), type) != deciding.end();
}

// Copies the chunks that count.
class png_filter {
public:
    explicit png_filter(std::string_view bytes) : left_(bytes) {}

    std::optional<admitted_picture> admit() {
        keep(signature_size);
        if (left_.size() < frame_size + header_size || next_size() != header_size ||
            next_type() != "IHDR") {
            return std::nullopt;
        }
        const png_header header = read_header(left_.substr(8, header_size));
        if (header.bits_per_pixel == 0 ||
            !is_decent(header.width, header.height, most_frame_pixels)) {
            return std::nullopt;
        }
        picture_.bytes.reserve(left_.size() + signature_size);
        while (!left_.empty()) take_chunk();
        const std::uint64_t row_bytes = raw_size(header);
        if (row_bytes > most_png_growth * compressed_size_ || row_bytes > most_png_row_bytes) {
            return std::nullopt;
        }
        picture_.pixels = picture_.canvas = header.width * header.height;
        return std::move(picture_);
    }

private:
    std::size_t next_size() const { return byte_reader(left_).big_endian(4); }
    std::string_view next_type() const { return left_.substr(4, 4); }

    void keep(std::size_t size) {
        picture_.bytes.append(left_.substr(0, size));
        left_.remove_prefix(std::min(size, left_.size()));
    }

    // A chunk that the file is too short for is the last one, and the decoder shall meet its end
    // where it stood.
    void take_chunk() {
        if (left_.size() < frame_size) return keep(left_.size());
        const std::string_view type = next_type();
        const std::size_t size = std::min(frame_size + next_size(), left_.size());
        if (is_wanted(type)) {
            if (type == "IDAT") compressed_size_ += std::min(next_size(), size - 8);
            keep(size);
        } else {
            left_.remove_prefix(size);
        }
        if (type == "IEND") left_ = {};
    }

    // Picture data ends at the first other chunk; what comes behind that is none, for the decoder
    // as well.
    bool is_wanted(std::string_view type) {
        if (type == "IDAT") {
            has_data_ = true;
            return !has_passed_data_;
        }
        has_passed_data_ = has_data_;
        return !is_ancillary(type) || (decides_pixels(type) && !has_passed_data_);
    }

    std::string_view left_;
    admitted_picture picture_;
    std::uint64_t compressed_size_ = 0;
    bool has_data_ = false;
    bool has_passed_data_ = false;
};

}  // namespace

std::optional<admitted_picture> admit_png(std::string_view bytes) {
    return png_filter(bytes).admit();
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
