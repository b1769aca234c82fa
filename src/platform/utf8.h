#pragma once

#include <string>
#include <string_view>

#include "platform/code_page.h"

namespace replay::platform {

// UTF-8 (RFC 3629) as of platform::decode() and platform::encode(). A byte order mark stays as
// U+FEFF. When replacing, one U+FFFD stands for each longest beginning of a sequence that went
// wrong, the way the Unicode standard recommends it in its chapter 3.9, and for a surrogate without
// its partner.
conversion_status decode_utf8(std::string_view bytes, on_error mode, std::u16string& wide);
conversion_status encode_utf8(std::u16string_view wide, on_error mode, std::string& bytes);

// The same as a new text, replacing.
std::string to_utf8(std::u16string_view wide);
std::u16string from_utf8(std::string_view bytes);

}  // namespace replay::platform
