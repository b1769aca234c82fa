#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "foundation/exception.h"

// Byte strings, strings of 16-bit units, and the names of character sets in mail.
//
// A character set is a code page number; docs/code-pages.md lists those that work. All functions
// are pure and may be called from any thread. Nothing ever gives part of a result: a conversion is
// whole or it throws.
namespace replay::unicode {

class generic : public exception {
public:
    generic();
};
class out_of_memory : public generic {
public:
    out_of_memory();
};
class invalid_codepage : public generic {
public:
    invalid_codepage();
};
class unmappable_character : public generic {
public:
    unmappable_character();
};

inline constexpr std::int32_t byte_for_byte = -1;  // no conversion: a byte is a unit
inline constexpr std::int32_t utf8 = 65001;

// The code page that a charset label of a mail means. Case, "-" and "_" do not count. Beside the
// fixed names it knows "iso-8859-N" and "latinN" (28590 + N) and "windows-N", "dosN", "ibmN", "cpN"
// (N itself), whether or not there is such a page. byte_for_byte for ASCII, for an unknown name and
// for none.
std::int32_t codepage(std::string_view name);

// The text of `bytes`. Some pages (UTF-8, UTF-7, GB18030, HZ, ISO-2022, ISCII) replace what is
// broken by U+FFFD; the others throw. Empty bytes give an empty text whatever the page.
//
// Throws unmappable_character when the bytes are not text of the page, invalid_codepage when the
// page is unknown, out_of_memory when there would be more units than bytes, and generic when bytes
// yield nothing (a lone escape sequence).
std::u16string to_wide(std::string_view bytes, std::int32_t codepage);

// to_wide() onto the end of `wide`, which stays as it was when this throws.
void append_wide(std::string_view bytes, std::int32_t codepage, std::u16string& wide);

// The bytes of `wide`, exact characters only. A unit that the page cannot express is "?" (U+FFFD in
// UTF-8) on the pages that replace, and throws unmappable_character on the others. Throws
// invalid_codepage and generic like to_wide().
std::string from_wide(std::u16string_view wide, std::int32_t codepage);

// from_wide() onto the end of `bytes`, which stays as it was when this throws.
void append_bytes(std::u16string_view wide, std::int32_t codepage, std::string& bytes);

// from_wide(to_wide(bytes, from), to)
std::string recode(std::string_view bytes, std::int32_t from, std::int32_t to);

// True when `wide` comes back unchanged from from_wide() and to_wide(). Does not throw: an unknown
// page represents nothing but the empty text.
bool is_representable(std::u16string_view wide, std::int32_t codepage);

}  // namespace replay::unicode
