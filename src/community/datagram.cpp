#include "community/datagram.h"

#include <algorithm>

#include "foundation/tokens.h"
#include "foundation/translate.h"
#include "message/lines.h"

namespace brindlemoss::analysis::community {

namespace translate = replay::coding::translate;

namespace {

constexpr std::string_view line_end = "\r\n";

void parse_head(std::string_view line, datagram& target) {
    bool is_command = true;
    for (const std::string_view token : replay::tokens_of(line, '\t')) {
        if (is_command) {
            target.command = token;
            is_command = false;
            continue;
        }
        const auto sides = replay::tokens_of(token, '=');
        if (sides.size() == 1) target.records.try_emplace(std::string(sides[0]));
        if (sides.size() == 2) {
            target.records.try_emplace(std::string(sides[0]), translate::percent_decode(sides[1]));
        }
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

void datagram::parse(std::string_view text) {
    text = text.substr(0, text.find_last_of(line_end) + 1);
    replay::internet::message2::line_reader reader(text, false);
    if (reader.done()) return;
    parse_head(reader.next(), *this);
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
