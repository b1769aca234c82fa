#include "message/part_writer.h"

#include <string>

#include "foundation/ascii.h"
#include "foundation/translate.h"
#include "message/character_set.h"
#include "message/header_value.h"
#include "message/lines.h"

namespace replay::internet::message2 {

namespace {

namespace translate = coding::translate;

using line_sink = std::function<void(std::string_view)>;

// 57 bytes make a line of 76 in base64.
constexpr std::size_t base64_slice = 57;
// Counted before coding: a coded line can be longer.
constexpr std::size_t quoted_printable_slice = 75;

// A stored Content-Type value brought up to date with the fields of the part.
std::string rewritten_content_type(const part& written, std::string_view stored) {
    header_type::parametized_value_type value;
    value.parse(stored);
    value.set_value_from_codepage(written.content_type, unicode::utf8);
    if (written.content_type.starts_with("text/") && !written.charset.empty()) {
        value.set_parameter_from_codepage("charset", written.charset, unicode::utf8);
    } else {
        value.remove_parameter("charset");
    }
    if (!written.boundary.empty()) {
        value.set_parameter_from_codepage("boundary", written.boundary, unicode::utf8);
    }
    return value.unparse();
}

void write_headers(const part& written, const line_sink& take_line) {
    std::string line;
    for (const header& each : written.headers) {
        line.assign(each.name).append(": ");
        if (ascii::equals_ignoring_case(each.name, "Content-Type")) {
            line += rewritten_content_type(written, each.value);
        } else {
            line += each.value;
        }
        take_line(line);
    }
    take_line({});
}

void write_base64(std::string_view body, const line_sink& take_line) {
    std::string line;
    for (std::size_t at = 0; at < body.size(); at += base64_slice) {
        line.clear();
        translate::base64_encode(body.substr(at, base64_slice), line, translate::padding::pad);
        take_line(line);
    }
}

void write_quoted_printable_line(std::string_view text, std::string& line,
                                 const line_sink& take_line) {
    for (;;) {
        const std::string_view slice = text.substr(0, quoted_printable_slice);
        text.remove_prefix(slice.size());
        line.clear();
        translate::quoted_printable_encode(slice, line);
        if (!text.empty()) line += '=';
        take_line(line);
        if (text.empty()) return;
    }
}

void write_body(const part& written, const line_sink& take_line) {
    const std::string encoding = written.transfer_encoding();
    if (encoding == "base64") return write_base64(written.body, take_line);

    std::string line;
    for (line_reader lines(written.body, true); !lines.done();) {
        if (encoding == "quoted-printable") {
            write_quoted_printable_line(lines.next(), line, take_line);
        } else {
            take_line(lines.next());
        }
    }
}

void write_children(const part& written, const line_sink& take_line) {
    if (!written.content_type.starts_with("multipart/")) {
        write_part(written.children.front(), take_line);
        return;
    }
    const std::string open = "--" + written.boundary;
    for (const part& child : written.children) {
        take_line(open);
        write_part(child, take_line);
    }
    take_line(open + "--");
}

}  // namespace

void write_part(const part& written, const std::function<void(std::string_view)>& take_line) {
    write_headers(written, take_line);
    if (!written.body.empty()) write_body(written, take_line);
    if (!written.children.empty()) write_children(written, take_line);
}

}  // namespace replay::internet::message2
