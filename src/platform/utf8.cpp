#include "platform/utf8.h"

#include <cstdint>
#include <cstring>

#include "platform/utf16.h"

namespace replay::platform {
namespace {

constexpr std::size_t block = 16;  // ASCII goes by so many bytes at a time

using byte = unsigned char;

bool is_ascii_block(const byte* from) {
    std::uint64_t words[2];
    std::memcpy(words, from, sizeof words);
    return ((words[0] | words[1]) & 0x8080808080808080u) == 0;
}

bool is_ascii_block(const char16_t* from) {
    std::uint64_t words[4];
    std::memcpy(words, from, sizeof words);
    return ((words[0] | words[1] | words[2] | words[3]) & 0xFF80FF80FF80FF80u) == 0;
}

// By way of local arrays, which the compiler knows not to overlap: so it takes vector instructions.
template <class From, class To>
void copy_ascii_block(const From* from, To* to) {
    From read[block];
    To written[block];
    std::memcpy(read, from, sizeof read);
    for (std::size_t index = 0; index < block; ++index)
        written[index] = static_cast<To>(read[index]);
    std::memcpy(to, written, sizeof written);
}

// What the byte after a lead byte may be; this is what keeps out overlong forms, surrogates and
// everything above U+10FFFF.
struct lead_rule {
    int trail_count;  // 0: not a lead byte
    byte lowest_second, highest_second;
};

constexpr lead_rule rule_of(byte lead) {
    if (lead < 0xC2 || lead > 0xF4) return {0, 0, 0};
    if (lead < 0xE0) return {1, 0x80, 0xBF};
    if (lead == 0xE0) return {2, 0xA0, 0xBF};
    if (lead == 0xED) return {2, 0x80, 0x9F};
    if (lead < 0xF0) return {2, 0x80, 0xBF};
    if (lead == 0xF0) return {3, 0x90, 0xBF};
    if (lead == 0xF4) return {3, 0x80, 0x8F};
    return {3, 0x80, 0xBF};
}

char16_t* put(char32_t character, char16_t* to) {
    if (character < 0x10000) {
        *to++ = static_cast<char16_t>(character);
    } else {
        *to++ = static_cast<char16_t>(0xD7C0 + (character >> 10));
        *to++ = static_cast<char16_t>(0xDC00 + (character & 0x3FF));
    }
    return to;
}

constexpr char32_t broken = 0xFFFFFFFF;

// Reads one sequence that is not ASCII and moves `from` behind it, or behind as much of it as was
// well formed.
char32_t take_sequence(const byte*& from, const byte* end) {
    const byte lead = *from++;
    const lead_rule rule = rule_of(lead);
    if (rule.trail_count == 0) return broken;
    char32_t character = lead & (0x3Fu >> rule.trail_count);
    byte lowest = rule.lowest_second;
    byte highest = rule.highest_second;
    for (int trail = 0; trail < rule.trail_count; ++trail) {
        if (from == end || *from < lowest || *from > highest) return broken;
        character = character << 6 | (*from++ & 0x3Fu);
        lowest = 0x80;
        highest = 0xBF;
    }
    return character;
}

// What is ASCII at the beginning, and past it on both sides.
template <typename From, typename To>
void copy_ascii(const From*& from, const From* end, To*& to) {
    while (static_cast<std::size_t>(end - from) >= block && is_ascii_block(from)) {
        copy_ascii_block(from, to);
        from += block;
        to += block;
    }
    while (from != end && *from < 0x80) *to++ = static_cast<To>(*from++);
}

char16_t* decode_to(const byte* from, const byte* end, on_error mode, char16_t* to) {
    while (from != end) {
        if (*from < 0x80) {
            copy_ascii(from, end, to);
            continue;
        }
        const char32_t character = take_sequence(from, end);
        if (character != broken) {
            to = put(character, to);
        } else if (mode == on_error::replace) {
            *to++ = replacement_character;
        } else {
            return nullptr;
        }
    }
    return to;
}

char32_t take_character(const char16_t*& from, const char16_t* end) {
    const char16_t unit = *from++;
    if (is_low_surrogate(unit)) return broken;
    if (!is_high_surrogate(unit)) return unit;
    if (from == end || !is_low_surrogate(*from)) return broken;
    return ((unit - 0xD7C0u) << 10) + (*from++ - 0xDC00u);
}

char* put(char32_t character, char* to) {
    const auto trail = [character](int shift) {
        return static_cast<char>(0x80 | (character >> shift & 0x3F));
    };
    if (character < 0x800) {
        *to++ = static_cast<char>(0xC0 | character >> 6);
    } else if (character < 0x10000) {
        *to++ = static_cast<char>(0xE0 | character >> 12);
        *to++ = trail(6);
    } else {
        *to++ = static_cast<char>(0xF0 | character >> 18);
        *to++ = trail(12);
        *to++ = trail(6);
    }
    *to++ = trail(0);
    return to;
}

char* encode_to(const char16_t* from, const char16_t* end, on_error mode, char* to) {
    while (from != end) {
        if (*from < 0x80) {
            copy_ascii(from, end, to);
            continue;
        }
        char32_t character = take_character(from, end);
        if (character == broken) {
            if (mode == on_error::stop) return nullptr;
            character = replacement_character;
        }
        to = put(character, to);
    }
    return to;
}

// The bytes that `wide` takes; a unit without a partner counts as the replacement.
std::size_t encoded_size(std::u16string_view wide) {
    std::size_t size = 0;
    const char16_t* from = wide.data();
    const char16_t* const end = from + wide.size();
    while (from != end) {
        while (static_cast<std::size_t>(end - from) >= block && is_ascii_block(from)) {
            from += block;
            size += block;
        }
        if (from == end) break;
        const char32_t character = take_character(from, end);
        size += character == broken
                    ? 3
                    : 1 + (character >= 0x80) + (character >= 0x800) + (character >= 0x10000);
    }
    return size;
}

}  // namespace

conversion_status decode_utf8(std::string_view bytes, on_error mode, std::u16string& wide) {
    const std::size_t before = wide.size();
    wide.resize(before + bytes.size());
    const auto* const from = reinterpret_cast<const byte*>(bytes.data());
    const char16_t* const end = decode_to(from, from + bytes.size(), mode, wide.data() + before);
    wide.resize(end ? static_cast<std::size_t>(end - wide.data()) : before);
    return end ? conversion_status::done : conversion_status::untranslatable;
}

conversion_status encode_utf8(std::u16string_view wide, on_error mode, std::string& bytes) {
    const std::size_t before = bytes.size();
    bytes.resize(before + encoded_size(wide));
    const char16_t* const from = wide.data();
    if (encode_to(from, from + wide.size(), mode, bytes.data() + before)) {
        return conversion_status::done;
    }
    bytes.resize(before);
    return conversion_status::untranslatable;
}

std::string to_utf8(std::u16string_view wide) {
    std::string bytes;
    encode_utf8(wide, on_error::replace, bytes);
    return bytes;
}

std::u16string from_utf8(std::string_view bytes) {
    std::u16string wide;
    decode_utf8(bytes, on_error::replace, wide);
    return wide;
}

}  // namespace replay::platform
