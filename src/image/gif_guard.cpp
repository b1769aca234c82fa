#include <algorithm>

#include "image/format_guards.h"

namespace brindlemoss::analysis::plugins::image_analysis {

namespace {

constexpr std::size_t signature_size = 6;

enum block : std::uint32_t { extension = 0x21, image = 0x2C, trailer = 0x3B };
constexpr std::uint32_t graphic_control = 0xF9;

// Walks the blocks as the decoder will, sums up what their frames ask for, and copies those that
// matter to them: a file of comments costs the decoder a hundred times its size.
class gif_filter {
public:
    explicit gif_filter(std::string_view bytes) : all_(bytes), reader_(bytes) {}

    std::optional<admitted_picture> admit() {
        picture_.frames = 0;
        if (!read_screen()) return std::nullopt;
        picture_.bytes.reserve(all_.size());
        keep_from(0);
        if (!read_blocks() || picture_.frames == 0 ||
            block_count_ * picture_.frames > most_block_visits) {
            return std::nullopt;
        }
        picture_.canvas = width_ * height_;
        return std::move(picture_);
    }

private:
    std::size_t place() const { return all_.size() - reader_.size(); }
    void keep_from(std::size_t first) {
        picture_.bytes.append(all_.substr(first, place() - first));
    }

    void skip_colours(std::uint32_t flags) {
        if (flags & 0x80) reader_.take(std::size_t{3} << ((flags & 7) + 1));
    }

    bool read_screen() {
        reader_.take(signature_size);
        const std::uint32_t width = reader_.little_endian_16();
        const std::uint32_t height = reader_.little_endian_16();
        const std::uint32_t flags = reader_.byte();
        reader_.take(2);  // background, aspect
        skip_colours(flags);
        return is_decent(width, height, most_canvas_pixels) && !reader_.ran_dry();
    }

    // False where a frame is refused, a block is none, or the end does not come. The decoder takes
    // no such file either.
    bool read_blocks() {
        for (;;) {
            const std::size_t first = place();
            const std::uint32_t kind = reader_.byte();
            bool is_kept = true;
            if (kind == extension) {
                is_kept = reader_.byte() == graphic_control;
                skip_data();
            } else if (kind == image) {
                if (!read_frame()) return false;
                skip_data();
            } else if (kind != trailer) {
                return false;
            }
            if (reader_.ran_dry()) return false;
            if (is_kept) keep_from(first);
            if (kind == trailer) return true;
        }
    }

    bool read_frame() {
        const std::uint64_t left = reader_.little_endian_16();
        const std::uint64_t top = reader_.little_endian_16();
        const std::uint64_t width = reader_.little_endian_16();
        const std::uint64_t height = reader_.little_endian_16();
        skip_colours(reader_.byte());
        reader_.byte();  // code size
        if (!is_decent(width, height, most_frame_pixels)) return false;
        picture_.pixels += width * height;
        width_ = std::max(width_, left + width);
        height_ = std::max(height_, top + height);
        return ++picture_.frames <= most_frames && picture_.pixels <= most_picture_pixels &&
               is_decent(width_, height_, most_canvas_pixels);
    }

    void skip_data() {
        std::uint32_t size = 0;
        do {
            size = reader_.byte();
            reader_.take(size);
            ++block_count_;
        } while (size != 0);
    }

    const std::string_view all_;
    byte_reader reader_;
    admitted_picture picture_;
    std::uint64_t width_ = 0;
    std::uint64_t height_ = 0;
    std::uint64_t block_count_ = 0;
};

}  // namespace

std::optional<admitted_picture> admit_gif(std::string_view bytes) {
    return gif_filter(bytes).admit();
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
