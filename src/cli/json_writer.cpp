#include "cli/json_writer.h"

#include <array>
#include <charconv>

#include "foundation/translate.h"
#include "message/character_set.h"
#include "platform/utf16.h"

namespace brindlemoss::cli {

namespace unicode = replay::unicode;
using replay::platform::is_high_surrogate;
using replay::platform::is_low_surrogate;
using replay::platform::is_surrogate;

namespace {

void append_escape(char16_t unit, std::string& line) {
    const std::string digits = replay::coding::translate::base16_encode(std::uint64_t{unit});
    line.append("\\u").append(4 - digits.size(), '0').append(digits);
}

// The escape of a unit that JSON does not take as it stands; 0 where there is no short one.
char short_escape(char16_t unit) {
    switch (unit) {
        case u'"': return '"';
        case u'\\': return '\\';
        case u'\n': return 'n';
        case u'\r': return 'r';
        case u'\t': return 't';
        default: return 0;
    }
}

}  // namespace

void json_writer::separate() {
    if (needs_comma_) line_ += ',';
    needs_comma_ = true;
}

json_writer& json_writer::begin_object() {
    separate();
    line_ += '{';
    needs_comma_ = false;
    return *this;
}

json_writer& json_writer::end_object() {
    line_ += '}';
    needs_comma_ = true;
    return *this;
}

json_writer& json_writer::begin_array() {
    separate();
    line_ += '[';
    needs_comma_ = false;
    return *this;
}

json_writer& json_writer::end_array() {
    line_ += ']';
    needs_comma_ = true;
    return *this;
}

json_writer& json_writer::key(std::string_view name) {
    utf8(name);
    line_ += ':';
    needs_comma_ = false;
    return *this;
}

json_writer& json_writer::number(std::int64_t value) {
    separate();
    line_ += std::to_string(value);
    return *this;
}

json_writer& json_writer::unsigned_number(std::uint64_t value) {
    separate();
    line_ += std::to_string(value);
    return *this;
}

json_writer& json_writer::real_number(double value) {
    std::array<char, 32> digits;  // the shortest form that reads back needs 24 at most
    separate();
    line_.append(digits.data(), std::to_chars(digits.data(), digits.end(), value).ptr);
    return *this;
}

json_writer& json_writer::boolean(bool value) {
    separate();
    line_ += value ? "true" : "false";
    return *this;
}

json_writer& json_writer::null() {
    separate();
    line_ += "null";
    return *this;
}

json_writer& json_writer::text(std::u16string_view wide) {
    separate();
    line_ += '"';
    for (std::size_t i = 0; i < wide.size(); ++i) {
        const char16_t unit = wide[i];
        const bool is_pair =
            is_high_surrogate(unit) && i + 1 < wide.size() && is_low_surrogate(wide[i + 1]);
        if (is_pair) {
            line_ += unicode::from_wide(wide.substr(i, 2), unicode::utf8);
            ++i;
        } else if (const char escape = short_escape(unit)) {
            line_ += '\\';
            line_ += escape;
        } else if (unit < ' ' || is_surrogate(unit)) {
            append_escape(unit, line_);
        } else if (unit < 0x80) {
            line_ += static_cast<char>(unit);
        } else {
            line_ += unicode::from_wide(wide.substr(i, 1), unicode::utf8);
        }
    }
    line_ += '"';
    return *this;
}

json_writer& json_writer::utf8(std::string_view bytes) {
    return text(unicode::to_wide(bytes, unicode::utf8));
}

json_writer& json_writer::byte_text(std::string_view bytes) {
    return text(unicode::to_wide(bytes, unicode::byte_for_byte));
}

std::string json_error_line(std::string_view name, std::string_view error) {
    json_writer json;
    json.begin_object().key("file").utf8(name).key("error").utf8(error).end_object();
    return json.line() + "\n";
}

}  // namespace brindlemoss::cli
