#include "message/body_lines.h"

#include <algorithm>

#include "foundation/translate.h"
#include "message/character_set.h"

namespace replay::internet::message2 {

namespace translate = coding::translate;

void append_base64_lines(line_reader lines, std::string& body) {
    body.reserve(body.size() + lines.rest().size() / 4 * 3 + 3);
    translate::base64_decoder decoder;
    std::size_t size_of_run = 0;
    while (!lines.done()) {
        const std::string_view line = lines.next();
        decoder.append(line, body);
        size_of_run += line.size();
        if (size_of_run % 4 == 0) decoder.restart();
    }
}

void append_quoted_printable_lines(line_reader lines, std::string& body) {
    reserve_plain_text(lines.rest(), body);
    while (!lines.done()) {
        std::string_view line = lines.next();
        const bool runs_on = line.ends_with('=');
        if (runs_on) line.remove_suffix(1);
        translate::quoted_printable_decode(line, body, translate::decoding::tolerant);
        if (!runs_on) body.append("\r\n");
    }
}

void reserve_plain_text(std::string_view text, std::string& body) {
    // A guess does for what is small. Larger texts are counted: one that had to grow would for that
    // moment be held twice.
    constexpr std::size_t small = std::size_t{64} * 1024;
    constexpr std::size_t guessed_line = 32;
    const std::size_t line_ends =
        text.size() < small ? text.size() / guessed_line
                            : static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n') +
                                                       std::count(text.begin(), text.end(), '\r'));
    body.reserve(body.size() + text.size() + line_ends + 2);
}

namespace {

// What stands behind the second space; nothing where there are not two.
std::optional<std::string_view> file_name(std::string_view begin) {
    const auto first = begin.find(' ');
    if (first == std::string_view::npos) return std::nullopt;
    const auto second = begin.find(' ', first + 1);
    if (second == std::string_view::npos) return std::nullopt;
    return begin.substr(second + 1);
}

std::u16string wide_file_name(std::string_view name, std::int32_t codepage) {
    try {
        return unicode::to_wide(name, codepage);
    } catch (const unicode::unmappable_character&) {
        return unicode::to_wide(name, unicode::byte_for_byte);
    }
}

}  // namespace

std::optional<uuencoded_file> take_uuencoded_file(std::string_view begin, line_reader& lines,
                                                  std::int32_t codepage) {
    const auto name = file_name(begin);
    if (!name) return std::nullopt;
    uuencoded_file file{wide_file_name(*name, codepage), {}};

    line_reader ahead = lines;
    while (!ahead.done()) {
        const std::string_view line = ahead.next();
        if (line.starts_with("end")) {
            lines = ahead;
            return file;
        }
        if (line.empty()) return std::nullopt;
        if (!translate::try_uudecode(line.substr(1), file.content)) return std::nullopt;
    }
    return std::nullopt;
}

}  // namespace replay::internet::message2
