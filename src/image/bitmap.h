#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "image/picture_guard.h"
#include "image/text_engine.h"

struct FIBITMAP;
struct FIMEMORY;
struct FIMULTIBITMAP;

// Owning handles over FreeImage. Only GIF, PNG and JPEG are read, and only bytes that
// picture_guard has let through may come here.
namespace brindlemoss::analysis::plugins::image_analysis {

// One user of the decoder. The shared library is opened for the first one of the process and stays
// open, since a program linked to it would start three times as slowly; its tables stand as long as
// there is a user. Any thread may make one; all handles below need a ready one that outlives them.
//
// What the decoder has to say goes to the filter's log, a bounded number of lines a thread and
// user. Where the library cannot be opened the log tells it once, and no user is ready.
class picture_decoder {
public:
    picture_decoder();
    ~picture_decoder();
    picture_decoder(const picture_decoder&) = delete;
    picture_decoder& operator=(const picture_decoder&) = delete;

    bool is_ready() const { return ready_; }

private:
    bool ready_ = false;
};

// A decoded picture, or none.
class bitmap {
public:
    bitmap() = default;

    // Black, of 24 bits a pixel; none where memory is short or a side is not positive.
    static bitmap allocate(std::int32_t width, std::int32_t height);

    // The pixels as blue, green, red; rows from the top, without padding.
    static bitmap from_rows(std::int32_t width, std::int32_t height, const std::uint8_t* pixels);

    explicit operator bool() const { return handle_ != nullptr; }

    // Of no picture: 0.
    std::int32_t width() const;
    std::int32_t height() const;

    // Whether it is of the standard type with 24 bits a pixel.
    bool has_24_bits() const;

    // None where there is no such form.
    bitmap to_24_bits() const;

    // Copies `tile` over this picture's pixels; `left` and `top` count from the top row. False, and
    // nothing is changed, where the tile does not lie within.
    bool paste(const bitmap& tile, std::int32_t left, std::int32_t top);

    // False where the file cannot be written.
    bool save_as_png(const std::string& path) const;

    // The pixels of a picture of 24 bits, good as long as it stands.
    source_bitmap pixels() const;

private:
    friend class encoded_picture;
    friend class animation;
    struct unload {
        void operator()(FIBITMAP* handle) const;
    };
    explicit bitmap(FIBITMAP* handle) : handle_(handle) {}

    std::unique_ptr<FIBITMAP, unload> handle_;
};

// The bytes of a picture, open for decoding. They are borrowed and must outlive it and every
// animation over it.
class encoded_picture {
public:
    encoded_picture(picture_format format, std::string_view bytes);

    // Of an animation the first frame. None where the decoder gives up.
    bitmap load() const;

private:
    friend class animation;
    struct close {
        void operator()(FIMEMORY* handle) const;
    };

    picture_format format_;
    std::unique_ptr<FIMEMORY, close> handle_;
};

// A frame of an animation. One that cannot be decoded has no width and no height.
struct animation_frame {
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::int32_t left = 0;  // on the canvas
    std::int32_t top = 0;
    std::uint32_t time = 0;  // how long it is shown, in milliseconds
};

// The pages of a picture. Those that were locked are held until the end.
class animation {
public:
    explicit animation(const encoded_picture& source);
    ~animation();
    animation(const animation&) = delete;
    animation& operator=(const animation&) = delete;

    // 1 for a picture of a format without pages, 0 for one that is broken.
    int page_count() const;

    // Decodes the next page, counted from 0.
    animation_frame lock_next();

    // The same for a page that is locked.
    bitmap to_24_bits(std::size_t page) const;
    bool paste_onto(bitmap& canvas, std::size_t page, const animation_frame& place) const;

private:
    struct close {
        void operator()(FIMULTIBITMAP* handle) const;
    };

    std::unique_ptr<FIMULTIBITMAP, close> handle_;
    std::vector<FIBITMAP*> pages_;  // null: could not be decoded
};

}  // namespace brindlemoss::analysis::plugins::image_analysis
