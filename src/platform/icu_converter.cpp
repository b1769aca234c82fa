#include "platform/icu_converter.h"

#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>
#include <unicode/ucnv_err.h>

#include <algorithm>
#include <cstddef>

namespace replay::platform {
namespace {

// ICU refuses lengths near 2 GB, so long texts go in by pieces.
constexpr std::size_t piece = std::size_t{1} << 20;

// ICU's own callbacks are not exact: the stopping one drops invisible characters silently, and the
// substituting one writes U+001A on some pages. These write what they are asked for, or nothing.
void U_CALLCONV widen_error(const void* replace, UConverterToUnicodeArgs* arguments, const char*,
                            std::int32_t, UConverterCallbackReason reason, UErrorCode* error) {
    if (!replace || reason > UCNV_IRREGULAR) return;
    constexpr char16_t replacement = 0xFFFD;
    *error = U_ZERO_ERROR;
    ucnv_cbToUWriteUChars(arguments, &replacement, 1, 0, error);
}

void U_CALLCONV narrow_error(const void* replace, UConverterFromUnicodeArgs* arguments,
                             const char16_t*, std::int32_t, UChar32,
                             UConverterCallbackReason reason, UErrorCode* error) {
    if (!replace || reason > UCNV_IRREGULAR) return;
    const char16_t* question_mark = u"?";
    *error = U_ZERO_ERROR;
    ucnv_cbFromUWriteUChars(arguments, &question_mark, question_mark + 1, 0, error);
}

}  // namespace

std::unique_ptr<icu_converter> icu_converter::open(const char* canonical_name) {
    UErrorCode error = U_ZERO_ERROR;
    UConverter* const opened = ucnv_open(canonical_name, &error);
    if (U_FAILURE(error)) return nullptr;
    ucnv_setFallback(opened, false);
    return std::unique_ptr<icu_converter>(new icu_converter(opened));
}

icu_converter::~icu_converter() {
    ucnv_close(converter_);
}

// The callbacks' context is not looked at, only whether there is one.
void icu_converter::set_mode(on_error mode) {
    const void* const replace = mode == on_error::replace ? this : nullptr;
    UErrorCode error = U_ZERO_ERROR;
    ucnv_setToUCallBack(converter_, widen_error, replace, nullptr, nullptr, &error);
    ucnv_setFromUCallBack(converter_, narrow_error, replace, nullptr, nullptr, &error);
    ucnv_reset(converter_);
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
        ucnv_toUnicode(converter_, &to, limit, &from, stop, nullptr, stop == end, &error);
    } while (U_SUCCESS(error) && from != end);
    ucnv_reset(converter_);

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
        ucnv_fromUnicode(converter_, &to, std::end(chunk), &from, stop, nullptr, stop == end,
                         &error);
        bytes.append(chunk, to);
    } while (error == U_BUFFER_OVERFLOW_ERROR || (U_SUCCESS(error) && from != end));
    ucnv_reset(converter_);

    const bool anything = bytes.size() != before;
    if (U_SUCCESS(error) && anything) return conversion_status::done;
    bytes.resize(before);
    return U_SUCCESS(error) ? conversion_status::nothing : conversion_status::untranslatable;
}

bool icu_converter::is_cut_short(std::string_view bytes) {
    set_mode(on_error::stop);
    char16_t room[8];
    char16_t* to = room;
    const char* from = bytes.data();
    UErrorCode error = U_ZERO_ERROR;
    ucnv_toUnicode(converter_, &to, std::end(room), &from, from + bytes.size(), nullptr, true,
                   &error);
    ucnv_reset(converter_);
    return error == U_TRUNCATED_CHAR_FOUND;
}

std::optional<char16_t> icu_converter::decode_one(std::string_view bytes) {
    set_mode(on_error::stop);
    char16_t room[8];
    char16_t* to = room;
    const char* from = bytes.data();
    UErrorCode error = U_ZERO_ERROR;
    ucnv_toUnicode(converter_, &to, std::end(room), &from, from + bytes.size(), nullptr, true,
                   &error);
    ucnv_reset(converter_);
    if (U_FAILURE(error) || to != room + 1) return std::nullopt;
    return room[0];
}

int icu_converter::longest_character() const {
    return ucnv_getMaxCharSize(converter_);
}

}  // namespace replay::platform
