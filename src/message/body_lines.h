#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "message/lines.h"

// The bodies of parts as they stand in lines, taken out of their transfer codings.
namespace replay::internet::message2 {

// Appends base64 lines (RFC 2045 section 6.8), tolerantly. Lines that do not hold whole groups run
// on into the next, until together they do: there decoding begins anew, so that one damaged line
// does not shift all that follows.
void append_base64_lines(line_reader lines, std::string& body);

// Appends quoted-printable lines (RFC 2045 section 6.7), tolerantly: each with CR LF behind it, but
// for those that end in "=".
void append_quoted_printable_lines(line_reader lines, std::string& body);

// Makes room in `body` for `text` with all its line ends made CR LF and one added.
void reserve_plain_text(std::string_view text, std::string& body);

struct uuencoded_file {
    std::u16string name;
    std::string content;
};

// Takes a uuencoded file out of `lines`, which stands behind the line `begin` ("begin 644 name").
// `codepage` is what the name is read by. Nothing where there is no whole file: no name, a byte
// that is none of the coding, an empty line or no more lines before one that begins with "end".
// Then `lines` has not moved. The length count of a line is not looked at.
// Throws replay::unicode::generic for a name that has no reading in the code page at all; one with
// single bytes that have none is taken byte for byte.
std::optional<uuencoded_file> take_uuencoded_file(std::string_view begin, line_reader& lines,
                                                  std::int32_t codepage);

}  // namespace replay::internet::message2
