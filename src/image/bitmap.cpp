#include "image/bitmap.h"

#include <FreeImage.h>

#include <algorithm>
#include <cstring>
#include <exception>
#include <optional>
#include <string>
#include <type_traits>

#include "foundation/module.h"
#include "foundation/sync.h"
#include "platform/shared_library.h"

namespace brindlemoss::analysis::plugins::image_analysis {

using replay::platform::shared_library;

namespace {

constexpr const char* library_name = "libfreeimage.so.3";
constexpr int plain_copy = 256;  // the alpha of FreeImage_Paste that does not blend

// A picture can make the decoder complain of every frame and of every scan.
constexpr int most_messages = 20;

// The functions of the library, each with the type that its header gives it.
struct decoder_functions {
    decltype(&FreeImage_Initialise) initialise;
    decltype(&FreeImage_DeInitialise) de_initialise;
    decltype(&FreeImage_SetOutputMessage) set_output_message;
    decltype(&FreeImage_GetFIFCount) format_count;
    decltype(&FreeImage_SetPluginEnabled) set_reader_enabled;
    decltype(&FreeImage_OpenMemory) open_memory;
    decltype(&FreeImage_CloseMemory) close_memory;
    decltype(&FreeImage_SeekMemory) seek_memory;
    decltype(&FreeImage_LoadFromMemory) load;
    decltype(&FreeImage_LoadMultiBitmapFromMemory) load_pages;
    decltype(&FreeImage_CloseMultiBitmap) close_pages;
    decltype(&FreeImage_GetPageCount) page_count;
    decltype(&FreeImage_LockPage) lock_page;
    decltype(&FreeImage_UnlockPage) unlock_page;
    decltype(&FreeImage_GetMetadata) metadata;
    decltype(&FreeImage_GetTagType) tag_type;
    decltype(&FreeImage_GetTagLength) tag_length;
    decltype(&FreeImage_GetTagValue) tag_value;
    decltype(&FreeImage_ConvertTo24Bits) to_24_bits;
    decltype(&FreeImage_Allocate) allocate;
    decltype(&FreeImage_Paste) paste;
    decltype(&FreeImage_Save) save;
    decltype(&FreeImage_Unload) unload;
    decltype(&FreeImage_GetWidth) width;
    decltype(&FreeImage_GetHeight) height;
    decltype(&FreeImage_GetBPP) bits_per_pixel;
    decltype(&FreeImage_GetImageType) type;
    decltype(&FreeImage_GetBits) bits;
    decltype(&FreeImage_GetPitch) pitch;
};

// Messages left to the pictures that this thread decodes for its current user.
thread_local int messages_left = 0;

void log_line(const std::string& text) noexcept {
    try {
        module::instance().log_of(subsystem::filter).write(0, text);
    } catch (const std::exception&) {  // a line that no listener takes is lost
    }
}

// Called by the library, so nothing may be thrown through it.
void take_message(FREE_IMAGE_FORMAT, const char* message) noexcept try {
    if (messages_left == 0 || message == nullptr) return;
    --messages_left;
    std::string text = std::string("Picture decoder: ") + message;
    std::replace_if(
        text.begin(), text.end(), [](char byte) { return byte < ' ' || byte > '~'; }, '?');
    log_line(text);
} catch (const std::exception&) {
}

// Throws shared_library::failure where a function is missing.
decoder_functions find_all(const shared_library& library) {
    decoder_functions all{};
    const auto get = [&](const char* name, auto& found) {
        found = library.symbol<std::remove_reference_t<decltype(found)>>(name);
    };
    get("FreeImage_Initialise", all.initialise);
    get("FreeImage_DeInitialise", all.de_initialise);
    get("FreeImage_SetOutputMessage", all.set_output_message);
    get("FreeImage_GetFIFCount", all.format_count);
    get("FreeImage_SetPluginEnabled", all.set_reader_enabled);
    get("FreeImage_OpenMemory", all.open_memory);
    get("FreeImage_CloseMemory", all.close_memory);
    get("FreeImage_SeekMemory", all.seek_memory);
    get("FreeImage_LoadFromMemory", all.load);
    get("FreeImage_LoadMultiBitmapFromMemory", all.load_pages);
    get("FreeImage_CloseMultiBitmap", all.close_pages);
    get("FreeImage_GetPageCount", all.page_count);
    get("FreeImage_LockPage", all.lock_page);
    get("FreeImage_UnlockPage", all.unlock_page);
    get("FreeImage_GetMetadata", all.metadata);
    get("FreeImage_GetTagType", all.tag_type);
    get("FreeImage_GetTagLength", all.tag_length);
    get("FreeImage_GetTagValue", all.tag_value);
    get("FreeImage_ConvertTo24Bits", all.to_24_bits);
    get("FreeImage_Allocate", all.allocate);
    get("FreeImage_Paste", all.paste);
    get("FreeImage_Save", all.save);
    get("FreeImage_Unload", all.unload);
    get("FreeImage_GetWidth", all.width);
    get("FreeImage_GetHeight", all.height);
    get("FreeImage_GetBPP", all.bits_per_pixel);
    get("FreeImage_GetImageType", all.type);
    get("FreeImage_GetBits", all.bits);
    get("FreeImage_GetPitch", all.pitch);
    return all;
}

struct decoder_library {
    decoder_library() {
        try {
            library.emplace(library_name);
            functions = find_all(*library);
            is_open = true;
        } catch (const shared_library::failure& failure) {
            log_line(std::string("Pictures are not decoded, no ") + library_name + ": " +
                     failure.what());
        }
    }

    std::optional<shared_library> library;
    decoder_functions functions{};
    bool is_open = false;
    replay::mutex counting;
    unsigned user_count = 0;  // guarded by counting
};

// Never destroyed: a host's threads may decode until the very end.
decoder_library& library() {
    static decoder_library& the_library = *new decoder_library;
    return the_library;
}

const decoder_functions& decoder() {
    return library().functions;
}

void leave_three_readers(const decoder_functions& functions) {
    for (int format = 0; format < functions.format_count(); ++format) {
        const bool is_wanted = format == FIF_GIF || format == FIF_PNG || format == FIF_JPEG;
        functions.set_reader_enabled(static_cast<FREE_IMAGE_FORMAT>(format), is_wanted);
    }
}

FREE_IMAGE_FORMAT number_of(picture_format format) {
    switch (format) {
        case picture_format::gif: return FIF_GIF;
        case picture_format::png: return FIF_PNG;
        case picture_format::jpeg: return FIF_JPEG;
        default: return FIF_UNKNOWN;
    }
}

// What the frame says of itself; absent: 0.
template <typename number>
number animation_tag(FIBITMAP* page, const char* key, FREE_IMAGE_MDTYPE type) {
    number value = 0;
    FITAG* tag = nullptr;
    if (decoder().metadata(FIMD_ANIMATION, page, key, &tag) && tag != nullptr &&
        decoder().tag_type(tag) == type && decoder().tag_length(tag) >= sizeof value) {
        std::memcpy(&value, decoder().tag_value(tag), sizeof value);
    }
    return value;
}

// The decoder is C++ inside and has its exceptions; one that comes out means no picture.
template <typename operation>
auto or_nothing(operation decode) noexcept -> decltype(decode()) {
    try {
        return decode();
    } catch (...) {
        return {};
    }
}

}  // namespace

// The library counts its users as well, but not in a way that threads may share.
picture_decoder::picture_decoder() {
    decoder_library& shared = library();
    if (!shared.is_open) return;
    const replay::scope held(shared.counting);
    if (shared.user_count++ == 0) {
        shared.functions.initialise(FALSE);
        shared.functions.set_output_message(take_message);
        leave_three_readers(shared.functions);
    }
    messages_left = most_messages;
    ready_ = true;
}

picture_decoder::~picture_decoder() {
    if (!ready_) return;
    decoder_library& shared = library();
    const replay::scope held(shared.counting);
    if (--shared.user_count == 0) shared.functions.de_initialise();
}

void bitmap::unload::operator()(FIBITMAP* handle) const {
    decoder().unload(handle);
}

bitmap bitmap::allocate(std::int32_t width, std::int32_t height) {
    if (width <= 0 || height <= 0) return {};
    return bitmap(or_nothing([&] { return decoder().allocate(width, height, 24, 0, 0, 0); }));
}

bitmap bitmap::from_rows(std::int32_t width, std::int32_t height, const std::uint8_t* pixels) {
    bitmap made = allocate(width, height);
    if (!made) return {};
    const std::size_t row_size = 3 * static_cast<std::size_t>(width);
    std::uint8_t* bits = decoder().bits(made.handle_.get());
    for (std::int32_t y = height - 1; y >= 0; --y) {  // the bottom row first
        std::memcpy(bits, pixels + static_cast<std::size_t>(y) * row_size, row_size);
        bits += decoder().pitch(made.handle_.get());
    }
    return made;
}

bool bitmap::save_as_png(const std::string& path) const {
    return handle_ && or_nothing([&] {
               return decoder().save(FIF_PNG, handle_.get(), path.c_str(), PNG_DEFAULT) != FALSE;
           });
}

std::int32_t bitmap::width() const {
    return handle_ ? static_cast<std::int32_t>(decoder().width(handle_.get())) : 0;
}

std::int32_t bitmap::height() const {
    return handle_ ? static_cast<std::int32_t>(decoder().height(handle_.get())) : 0;
}

bool bitmap::has_24_bits() const {
    return handle_ && decoder().type(handle_.get()) == FIT_BITMAP &&
           decoder().bits_per_pixel(handle_.get()) == 24;
}

bitmap bitmap::to_24_bits() const {
    if (!handle_) return {};
    return bitmap(or_nothing([&] { return decoder().to_24_bits(handle_.get()); }));
}

bool bitmap::paste(const bitmap& tile, std::int32_t left, std::int32_t top) {
    if (!handle_ || !tile.handle_) return false;
    return or_nothing([&] {
        return decoder().paste(handle_.get(), tile.handle_.get(), left, top, plain_copy) != FALSE;
    });
}

source_bitmap bitmap::pixels() const {
    return {width(), height(), decoder().bits(handle_.get()),
            static_cast<std::int32_t>(decoder().pitch(handle_.get()))};
}

encoded_picture::encoded_picture(picture_format format, std::string_view bytes)
    : format_(format), handle_(or_nothing([&] {
          // The library only reads from what it is given; its interface cannot say so.
          auto* const data = reinterpret_cast<BYTE*>(const_cast<char*>(bytes.data()));
          return decoder().open_memory(data, static_cast<DWORD>(bytes.size()));
      })) {}

void encoded_picture::close::operator()(FIMEMORY* handle) const {
    decoder().close_memory(handle);
}

bitmap encoded_picture::load() const {
    if (!handle_) return {};
    return bitmap(or_nothing([&] {
        decoder().seek_memory(handle_.get(), 0, SEEK_SET);
        return decoder().load(number_of(format_), handle_.get(), 0);
    }));
}

animation::animation(const encoded_picture& source)
    : handle_(or_nothing([&] {
          return source.handle_
                     ? decoder().load_pages(number_of(source.format_), source.handle_.get(), 0)
                     : nullptr;
      })) {}

animation::~animation() {
    for (FIBITMAP* page : pages_) {
        if (page != nullptr) decoder().unlock_page(handle_.get(), page, FALSE);
    }
}

void animation::close::operator()(FIMULTIBITMAP* handle) const {
    decoder().close_pages(handle, 0);
}

int animation::page_count() const {
    return handle_ ? decoder().page_count(handle_.get()) : 0;
}

animation_frame animation::lock_next() {
    pages_.push_back(nullptr);
    FIBITMAP* const page = or_nothing(
        [&] { return decoder().lock_page(handle_.get(), static_cast<int>(pages_.size()) - 1); });
    if (page == nullptr) return {};
    pages_.back() = page;
    return {static_cast<std::int32_t>(decoder().width(page)),
            static_cast<std::int32_t>(decoder().height(page)),
            animation_tag<std::uint16_t>(page, "FrameLeft", FIDT_SHORT),
            animation_tag<std::uint16_t>(page, "FrameTop", FIDT_SHORT),
            animation_tag<std::uint32_t>(page, "FrameTime", FIDT_LONG)};
}

bitmap animation::to_24_bits(std::size_t page) const {
    if (pages_[page] == nullptr) return {};
    return bitmap(or_nothing([&] { return decoder().to_24_bits(pages_[page]); }));
}

bool animation::paste_onto(bitmap& canvas, std::size_t page, const animation_frame& place) const {
    if (pages_[page] == nullptr || !canvas) return false;
    return or_nothing([&] {
        return decoder().paste(canvas.handle_.get(), pages_[page], place.left, place.top,
                               plain_copy) != FALSE;
    });
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
