#include "platform/icu_converter.h"

#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>
#include <unicode/ucnv_err.h>
#include <unicode/uvernum.h>
#include <unicode/uversion.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>

#include "platform/shared_library.h"

namespace replay::platform {
namespace {

// ICU's headers rename its functions to names with its version in them, as its file has them.
#define TEXT_OF(name) TEXT_AS_IT_STANDS(name)
#define TEXT_AS_IT_STANDS(name) #name
#define FUNCTION(name) file.symbol<decltype(&(name))>(TEXT_OF(name))

struct icu_library {
    shared_library file{"libicuuc.so." U_ICU_VERSION_SHORT};
    decltype(&ucnv_open) open = FUNCTION(ucnv_open);
    decltype(&ucnv_close) close = FUNCTION(ucnv_close);
    decltype(&ucnv_reset) reset = FUNCTION(ucnv_reset);
    decltype(&ucnv_setFallback) set_fallback = FUNCTION(ucnv_setFallback);
    decltype(&ucnv_setToUCallBack) set_to_wide_callback = FUNCTION(ucnv_setToUCallBack);
    decltype(&ucnv_setFromUCallBack) set_from_wide_callback = FUNCTION(ucnv_setFromUCallBack);
    decltype(&ucnv_toUnicode) to_wide = FUNCTION(ucnv_toUnicode);
    decltype(&ucnv_fromUnicode) from_wide = FUNCTION(ucnv_fromUnicode);
    decltype(&ucnv_getMaxCharSize) longest_character = FUNCTION(ucnv_getMaxCharSize);
    decltype(&ucnv_cbToUWriteUChars) write_wide = FUNCTION(ucnv_cbToUWriteUChars);
    decltype(&ucnv_cbFromUWriteUChars) write_from_wide = FUNCTION(ucnv_cbFromUWriteUChars);
    decltype(&u_getVersion) get_version = FUNCTION(u_getVersion);
};

#undef FUNCTION
#undef TEXT_AS_IT_STANDS
#undef TEXT_OF

// Null when it cannot be loaded. Never closed: threads close their converters until the very end.
const icu_library* loaded_icu() {
    static const icu_library* const loaded = []() -> const icu_library* {
        try {
            return new icu_library;
        } catch (const shared_library::failure&) {
            return nullptr;
        }
    }();
    return loaded;
}

// For those that have a converter.
const icu_library& icu() {
    return *loaded_icu();
}

// ICU refuses lengths near 2 GB, so long texts go in by pieces.
constexpr std::size_t piece = std::size_t{1} << 20;

// ICU's own callbacks are not exact: the stopping one drops invisible characters silently, and the
// substituting one writes U+001A on some pages. These write what they are asked for, or nothing.
void U_CALLCONV widen_error(const void* replace, UConverterToUnicodeArgs* arguments, const char*,
                            std::int32_t, UConverterCallbackReason reason, UErrorCode* error) {
    if (!replace || reason > UCNV_IRREGULAR) return;
    constexpr char16_t replacement = 0xFFFD;
    *error = U_ZERO_ERROR;
    icu().write_wide(arguments, &replacement, 1, 0, error);
}

void U_CALLCONV narrow_error(const void* replace, UConverterFromUnicodeArgs* arguments,
                             const char16_t*, std::int32_t, UChar32,
                             UConverterCallbackReason reason, UErrorCode* error) {
    if (!replace || reason > UCNV_IRREGULAR) return;
    const char16_t* question_mark = u"?";
    *error = U_ZERO_ERROR;
    icu().write_from_wide(arguments, &question_mark, question_mark + 1, 0, error);
}

// What the bytes of one character, or of little more, are.
struct few_units {
    std::array<char16_t, 8> room;
    std::ptrdiff_t size = 0;
    UErrorCode error = U_ZERO_ERROR;
};

few_units decode_few(UConverter* converter, std::string_view bytes) {
    few_units found;
    char16_t* const begin = found.room.data();
    char16_t* to = begin;
    const char* from = bytes.data();
    icu().to_wide(converter, &to, begin + found.room.size(), &from, from + bytes.size(), nullptr,
                  true, &found.error);
    icu().reset(converter);
    found.size = to - begin;
    return found;
}

}  // namespace

std::unique_ptr<icu_converter> icu_converter::open(const char* canonical_name) {
    if (loaded_icu() == nullptr) return nullptr;
    UErrorCode error = U_ZERO_ERROR;
    UConverter* const opened = icu().open(canonical_name, &error);
    if (U_FAILURE(error)) return nullptr;
    icu().set_fallback(opened, false);
    return std::unique_ptr<icu_converter>(new icu_converter(opened));
}

icu_converter::~icu_converter() {
    icu().close(converter_);
}

// The callbacks' context is not looked at, only whether there is one.
void icu_converter::set_mode(on_error mode) {
    const void* const replace = mode == on_error::replace ? this : nullptr;
    UErrorCode error = U_ZERO_ERROR;
    icu().set_to_wide_callback(converter_, widen_error, replace, nullptr, nullptr, &error);
    icu().set_from_wide_callback(converter_, narrow_error, replace, nullptr, nullptr, &error);
    icu().reset(converter_);
}

conversion_status icu_converter::decode(std::string_view bytes, on_error mode,
                                        std::u16string& wide) {
    set_mode(mode);
    const std::size_t before = wide.size();
    wide.resize(before + bytes.size());
    char16_t* to = wide.data() + before;
    const char16_t* const room_end = wide.data() + wide.size();
    const char* from = bytes.data();
    const char* const end = from + bytes.size();
    UErrorCode error = U_ZERO_ERROR;
    do {
        const char* const stop = from + std::min<std::size_t>(piece, end - from);
        const char16_t* const limit = to + std::min<std::size_t>(2 * piece, room_end - to);
        icu().to_wide(converter_, &to, limit, &from, stop, nullptr, stop == end, &error);
    } while (U_SUCCESS(error) && from != end);
    icu().reset(converter_);

    const bool anything = to != wide.data() + before;
    if (U_SUCCESS(error) && anything) {
        wide.resize(static_cast<std::size_t>(to - wide.data()));
        return conversion_status::done;
    }
    wide.resize(before);
    if (U_SUCCESS(error)) return conversion_status::nothing;
    return error == U_BUFFER_OVERFLOW_ERROR ? conversion_status::no_room
                                            : conversion_status::untranslatable;
}

conversion_status icu_converter::encode(std::u16string_view wide, on_error mode,
                                        std::string& bytes) {
    set_mode(mode);
    const std::size_t before = bytes.size();
    const char16_t* from = wide.data();
    const char16_t* const end = from + wide.size();
    UErrorCode error = U_ZERO_ERROR;
    do {
        char chunk[4096];
        char* to = chunk;
        const char16_t* const stop = from + std::min<std::size_t>(piece, end - from);
        error = U_ZERO_ERROR;
        icu().from_wide(converter_, &to, std::end(chunk), &from, stop, nullptr, stop == end,
                        &error);
        bytes.append(chunk, to);
    } while (error == U_BUFFER_OVERFLOW_ERROR || (U_SUCCESS(error) && from != end));
    icu().reset(converter_);

    const bool anything = bytes.size() != before;
    if (U_SUCCESS(error) && anything) return conversion_status::done;
    bytes.resize(before);
    return U_SUCCESS(error) ? conversion_status::nothing : conversion_status::untranslatable;
}

bool icu_converter::is_cut_short(std::string_view bytes) {
    set_mode(on_error::stop);
    return decode_few(converter_, bytes).error == U_TRUNCATED_CHAR_FOUND;
}

std::optional<char16_t> icu_converter::decode_one(std::string_view bytes) {
    set_mode(on_error::stop);
    const few_units found = decode_few(converter_, bytes);
    if (U_FAILURE(found.error) || found.size != 1) return std::nullopt;
    return found.room[0];
}

int icu_converter::longest_character() const {
    return icu().longest_character(converter_);
}

std::string icu_version() {
    if (loaded_icu() == nullptr) return {};
    UVersionInfo version;
    icu().get_version(version);
    return std::to_string(version[0]) + "." + std::to_string(version[1]);
}

}  // namespace replay::platform
