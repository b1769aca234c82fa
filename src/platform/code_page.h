#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// Conversion between byte strings and 16-bit units (UTF-16) by the numbers of the published code
// page registry. docs/code-pages.md lists the numbers and what stands behind each.
//
// Tables are made on first use, once a process, and are immutable from then on; converters with a
// state of their own belong to one thread each. Every function may be called from any thread.
namespace replay::platform {

enum class conversion_status {
    done,
    unknown_page,    // there is no converter for the number
    untranslatable,  // on_error::stop, and something has no translation
    no_room,         // decoding would give more units than there are bytes
    nothing,         // the bytes are only of escape sequences and the like
};

enum class on_error {
    stop,
    replace,  // U+FFFD stands for bytes without a meaning, the page's "?" for a unit without bytes
};

// Appends the units of `bytes` to `wide`. Empty bytes are done on every page, known or not. When
// the outcome is not `done`, `wide` is as before.
conversion_status decode(std::string_view bytes, std::int32_t page, on_error mode,
                         std::u16string& wide);

// Appends the bytes of `wide` to `bytes`, exact characters only: none is swapped for a look-alike.
// Otherwise like decode().
conversion_status encode(std::u16string_view wide, std::int32_t page, on_error mode,
                         std::string& bytes);

// True when both functions know the number.
bool is_code_page(std::int32_t page);

}  // namespace replay::platform
