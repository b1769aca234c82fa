#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/code_page.h"

struct UConverter;

namespace replay::platform {

// One of ICU's converters, opened by its canonical name. Belongs to one thread at a time.
class icu_converter {
public:
    // Null when ICU has no such converter, or cannot be loaded: that is done for the first one.
    static std::unique_ptr<icu_converter> open(const char* canonical_name);

    ~icu_converter();
    icu_converter(const icu_converter&) = delete;
    icu_converter& operator=(const icu_converter&) = delete;

    // As of platform::decode() and platform::encode(), from the converter's first state each time.
    conversion_status decode(std::string_view bytes, on_error mode, std::u16string& wide);
    conversion_status encode(std::u16string_view wide, on_error mode, std::string& bytes);

    // True when `bytes` are the beginning of a longer character and not one by themselves.
    bool is_cut_short(std::string_view bytes);

    // The one unit of `bytes`, or nothing when they are not exactly that.
    std::optional<char16_t> decode_one(std::string_view bytes);

    // The most bytes that a character takes.
    int longest_character() const;

private:
    explicit icu_converter(UConverter* opened) : converter_(opened) {}
    void set_mode(on_error mode);

    UConverter* converter_;
};

// "72.1"; empty when it cannot be loaded.
std::string icu_version();

}  // namespace replay::platform
