#include "community/datagram.h"

#include <algorithm>

#include "foundation/translate.h"
#include "message/lines.h"

namespace brindlemoss::analysis::community {

namespace translate = replay::coding::translate;
using replay::internet::message2::line_reader;

namespace {

constexpr std::string_view line_end = "\r\n";

// Takes the next piece between separators off the text; they count as one where several stand
// together. Empty when there is none.
std::string_view take_token(std::string_view& text, char separator) {
    const std::size_t begin = std::min(text.find_first_not_of(separator), text.size());
    const std::size_t end = std::min(text.find(separator, begin), text.size());
    const std::string_view token = text.substr(begin, end - begin);
    text.remove_prefix(end);
    return token;
}

void parse_first_line(std::string_view line, datagram& target) {
    target.command = take_token(line, '\t');
    while (true) {
        std::string_view token = take_token(line, '\t');
        if (token.empty()) return;
        const std::string_view key = take_token(token, '=');
        const std::string_view value = take_token(token, '=');
        if (key.empty() || !take_token(token, '=').empty()) continue;
        target.records.try_emplace(std::string(key), translate::percent_decode(value));
    }
}

}  // namespace

void datagram::serialize(std::string& text) const {
    text = command;
    std::size_t size = 0;
    for (const std::string& line : lines) size += line.size() + line_end.size();
    text.reserve(text.size() + size + 64 * (records.size() + 1));
    for (const auto& [key, value] : records) {
        text.append("\t").append(key);
        if (value.empty()) continue;
        text += '=';
        translate::percent_encode(value, text);
    }
    text += line_end;
    for (const std::string& line : lines) text.append(line).append(line_end);
}

std::string_view datagram::parse_head(std::string_view text) {
    text = text.substr(0, text.find_last_of(line_end) + 1);
    line_reader reader(text, false);
    if (!reader.done()) parse_first_line(reader.next(), *this);
    return reader.rest();
}

void datagram::parse_lines(std::string_view text) {
    line_reader reader(text, false);
    lines.reserve(static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')));
    while (!reader.done()) lines.emplace_back(reader.next());
}

const std::string* datagram::find(std::string_view key) const {
    const auto found = records.find(key);
    return found == records.end() ? nullptr : &found->second;
}

std::string encode_numeral(std::uint64_t value) {
    return translate::base64_encode(value, translate::padding::none);
}

std::uint64_t decode_numeral(std::string_view text) {
    std::uint64_t value = 0;
    translate::base64_decode(text, value, translate::decoding::strict);
    return value;
}

std::string encode_digest(const replay::md5& digest) {
    return digest.base64(translate::padding::none);
}

}  // namespace brindlemoss::analysis::community
