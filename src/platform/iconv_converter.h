#pragma once

#include <iconv.h>

#include <optional>
#include <string_view>

namespace replay::platform {

// One of the C library's converters to UTF-16, for the few pages that ICU does not have. The
// library loads a module for each name it is given, so a name is never taken from anything but the
// code.
class iconv_converter {
public:
    explicit iconv_converter(const char* name);
    ~iconv_converter();
    iconv_converter(const iconv_converter&) = delete;
    iconv_converter& operator=(const iconv_converter&) = delete;

    // False when the library lacks the converter, as a stripped-down one may; nothing else may be
    // called then.
    bool is_open() const;

    // The one unit of `bytes`, or nothing when they are not exactly that.
    std::optional<char16_t> decode_one(std::string_view bytes);

private:
    iconv_t converter_;
};

}  // namespace replay::platform
