#include "foundation/variant.h"

#include <charconv>
#include <limits>
#include <optional>

#include "platform/utf8.h"

namespace replay {

namespace {

// The number that `text` begins with, blanks in front of it passed over.
template <typename number_type>
number_type leading_number(std::string_view text) {
    const auto begin = text.find_first_not_of(" \t\r\n\v\f");
    if (begin == std::string_view::npos) return 0;
    text.remove_prefix(begin);
    const bool has_plus = text.front() == '+' && text.substr(1, 1) != "-";
    if (has_plus) text.remove_prefix(1);
    number_type number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    if (result.ec == std::errc::result_out_of_range) {
        using limits = std::numeric_limits<number_type>;
        return text.front() == '-' ? limits::lowest() : limits::max();
    }
    return number;
}

// Numbers are written in ASCII; any other unit ends one.
std::string ascii_head(std::u16string_view text) {
    std::string head;
    for (const char16_t unit : text) {
        if (unit >= 128) break;
        head += static_cast<char>(unit);
    }
    return head;
}

template <typename number_type>
std::string to_text(number_type number) {
    char text[64];
    const auto result = std::to_chars(text, text + sizeof text, number);
    return {text, result.ptr};
}

std::optional<std::int64_t> truncated(double number) {
    constexpr double edge = 9223372036854775808.0;  // 2^63, the first number too large
    if (!(number >= -edge && number < edge)) return std::nullopt;
    return static_cast<std::int64_t>(number);
}

}  // namespace

variant::type_mismatch::type_mismatch() {
    append_domain("variant");
    append_domain("type_mismatch");
}

bool variant::as_boolean() const {
    if (type() == kind::floating) return std::get<double>(value_) != 0;
    return as_large() != 0;
}

std::int32_t variant::as_integer() const {
    return static_cast<std::int32_t>(as_large());
}

std::int64_t variant::as_large() const {
    switch (type()) {
        case kind::none: break;
        case kind::integer: return std::get<std::int64_t>(value_);
        case kind::floating:
            if (const auto whole = truncated(std::get<double>(value_))) return *whole;
            break;
        case kind::byte_string: return leading_number<std::int64_t>(std::get<std::string>(value_));
        case kind::wide_string:
            return leading_number<std::int64_t>(ascii_head(std::get<std::u16string>(value_)));
    }
    throw type_mismatch();
}

double variant::as_floating() const {
    switch (type()) {
        case kind::none: break;
        case kind::integer: return static_cast<double>(std::get<std::int64_t>(value_));
        case kind::floating: return std::get<double>(value_);
        case kind::byte_string: return leading_number<double>(std::get<std::string>(value_));
        case kind::wide_string:
            return leading_number<double>(ascii_head(std::get<std::u16string>(value_)));
    }
    throw type_mismatch();
}

std::string variant::as_string() const {
    switch (type()) {
        case kind::none: break;
        case kind::integer: return to_text(std::get<std::int64_t>(value_));
        case kind::floating: return to_text(std::get<double>(value_));
        case kind::byte_string: return std::get<std::string>(value_);
        case kind::wide_string: return platform::to_utf8(std::get<std::u16string>(value_));
    }
    throw type_mismatch();
}

}  // namespace replay
