#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace brindlemoss::cli {

// Writes one JSON value (RFC 8259) on one line, always valid UTF-8.
//
// Ours because message text holds surrogates without a partner, which JSON can say ("\ud83d") and
// the usual libraries, whose strings are UTF-8, cannot. Calls nest as the value does: the caller
// sees to it that objects hold a key before each value and that all is closed.
class json_writer {
public:
    json_writer& begin_object();
    json_writer& end_object();
    json_writer& begin_array();
    json_writer& end_array();
    json_writer& key(std::string_view name);

    json_writer& number(std::int64_t value);
    json_writer& unsigned_number(std::uint64_t value);
    json_writer& real_number(double value);  // finite; reads back as the same number
    json_writer& boolean(bool value);
    json_writer& null();
    json_writer& text(std::u16string_view wide);
    json_writer& utf8(std::string_view bytes);       // U+FFFD stands for what is none
    json_writer& byte_text(std::string_view bytes);  // one character a byte, of the same number

    const std::string& line() const { return line_; }

private:
    void separate();

    std::string line_;
    bool needs_comma_ = false;
};

// The line that stands for an input that cannot be read.
std::string json_error_line(std::string_view name, std::string_view error);

}  // namespace brindlemoss::cli
