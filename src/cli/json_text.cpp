#include "cli/json_text.h"

#include <charconv>
#include <cstddef>
#include <cstdint>

#include "platform/utf8.h"

namespace brindlemoss::cli {

namespace platform = replay::platform;

namespace {

std::string_view trimmed(std::string_view json) {
    constexpr std::string_view blanks = " \t\n\r";
    const std::size_t begin = json.find_first_not_of(blanks);
    if (begin == std::string_view::npos) return {};
    return json.substr(begin, json.find_last_not_of(blanks) - begin + 1);
}

// Takes the run up to the next escape off `rest`; false where JSON does not allow it so.
bool take_plain(std::string_view& rest, std::u16string& text) {
    const std::string_view run = rest.substr(0, rest.find('\\'));
    for (const char byte : run) {
        if (byte == '"' || static_cast<unsigned char>(byte) < ' ') return false;
    }
    std::u16string wide;
    if (platform::decode_utf8(run, platform::on_error::stop, wide) !=
        platform::conversion_status::done) {
        return false;
    }
    text += wide;
    rest.remove_prefix(run.size());
    return true;
}

bool take_unit(std::string_view& rest, std::u16string& text) {
    constexpr std::size_t digits = 4;
    std::uint16_t unit = 0;
    if (rest.size() < digits) return false;
    const char* const end = rest.data() + digits;
    if (std::from_chars(rest.data(), end, unit, 16).ptr != end) return false;
    text += static_cast<char16_t>(unit);
    rest.remove_prefix(digits);
    return true;
}

// Takes the escape that `rest` begins with.
bool take_escape(std::string_view& rest, std::u16string& text) {
    constexpr std::string_view letters = R"("\/bfnrt)";
    constexpr std::u16string_view meanings = u"\"\\/\b\f\n\r\t";
    if (rest.size() < 2) return false;
    const char letter = rest[1];
    rest.remove_prefix(2);
    if (letter == 'u') return take_unit(rest, text);
    const std::size_t index = letters.find(letter);
    if (index == std::string_view::npos) return false;
    text += meanings[index];
    return true;
}

}  // namespace

std::optional<std::u16string> json_text(std::string_view json) {
    json = trimmed(json);
    if (json.size() < 2 || !json.starts_with('"') || !json.ends_with('"')) return std::nullopt;
    std::string_view rest = json.substr(1, json.size() - 2);
    std::u16string text;
    while (!rest.empty()) {
        const bool taken = rest.front() == '\\' ? take_escape(rest, text) : take_plain(rest, text);
        if (!taken) return std::nullopt;
    }
    return text;
}

}  // namespace brindlemoss::cli
