#include "foundation/translate.h"

#include <array>
#include <cstdio>

#include "foundation/ascii.h"

namespace replay::coding::translate {

namespace {

constexpr std::uint16_t skip = 0xFFFE;
constexpr std::uint16_t invalid = 0xFFFF;

// Value of each input byte, or skip, or invalid.
using reverse_table = std::array<std::uint16_t, 256>;

template <int width>
struct alphabet {
    static constexpr int bits = width;
    static constexpr unsigned mask = (1u << width) - 1;
    std::array<char, 1u << width> symbols;
    reverse_table values;
};

template <int width>
constexpr alphabet<width> make_alphabet(std::string_view symbols) {
    alphabet<width> made{};
    made.values.fill(invalid);
    for (std::size_t i = 0; i < symbols.size(); ++i) {
        made.symbols[i] = symbols[i];
        made.values[static_cast<unsigned char>(symbols[i])] = static_cast<std::uint16_t>(i);
    }
    return made;
}

constexpr alphabet<4> make_base16() {
    auto made = make_alphabet<4>("0123456789abcdef");
    for (char digit = 'A'; digit <= 'F'; ++digit) {
        made.values[static_cast<unsigned char>(digit)] =
            static_cast<std::uint16_t>(digit - 'A' + 10);
    }
    return made;
}

constexpr alphabet<6> make_base64() {
    auto made =
        make_alphabet<6>("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/");
    made.values['='] = skip;
    return made;
}

constexpr alphabet<6> make_uuencode() {
    auto made =
        make_alphabet<6>(" !\"#$%&'()*+,-./0123456789:;<=>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_");
    made.values['`'] = 0;
    return made;
}

constexpr alphabet<4> base16 = make_base16();
constexpr alphabet<6> base64 = make_base64();
constexpr alphabet<6> uu = make_uuencode();

template <int width>
void encode(const alphabet<width>& code, std::string_view bytes, std::string& out) {
    const std::size_t before = out.size();
    out.resize(before + (bytes.size() * 8 + width - 1) / width);
    char* target = out.data() + before;
    unsigned accumulator = 0;
    int held = 0;
    for (const char byte : bytes) {
        accumulator = accumulator << 8 | static_cast<unsigned char>(byte);
        held += 8;
        while (held >= width) {
            held -= width;
            *target++ = code.symbols[(accumulator >> held) & code.mask];
        }
    }
    if (held > 0) *target = code.symbols[(accumulator << (width - held)) & code.mask];
}

// The value of `byte`; nothing where it is to be passed over.
template <int width>
bool value_of(const alphabet<width>& code, char byte, decoding mode, unsigned& value) {
    value = code.values[static_cast<unsigned char>(byte)];
    if (value == invalid && mode == decoding::strict) throw invalid_codeword(byte);
    return value < skip;
}

// Decodes groups of four clean base64 or uuencode bytes at `text`, the bulk of real data, and moves
// `text` and `target` behind them. Stops at the first group that holds another byte.
void decode_clean_groups(const alphabet<6>& code, std::string_view& text, char*& target) {
    const auto& values = code.values;
    while (text.size() >= 4) {
        const unsigned a = values[static_cast<unsigned char>(text[0])];
        const unsigned b = values[static_cast<unsigned char>(text[1])];
        const unsigned c = values[static_cast<unsigned char>(text[2])];
        const unsigned d = values[static_cast<unsigned char>(text[3])];
        if ((a | b | c | d) > code.mask) return;
        const unsigned group = a << 18 | b << 12 | c << 6 | d;
        target[0] = static_cast<char>(group >> 16);
        target[1] = static_cast<char>(group >> 8);
        target[2] = static_cast<char>(group);
        target += 3;
        text.remove_prefix(4);
    }
}

// What was decoded but made no whole byte yet.
struct leftover_bits {
    unsigned accumulator = 0;
    int held = 0;
};

// Decodes `text` onto the end of `out`, from the bits left over before. A strict one stops at the
// first invalid byte and gives its place, with `out` as it was; else the place is the text's size.
template <int width>
std::size_t decode(const alphabet<width>& code, std::string_view text, std::string& out,
                   decoding mode, leftover_bits& bits) {
    const std::size_t before = out.size();
    out.resize(before + text.size() / 8 * width + (text.size() % 8 * width + 7) / 8 + 1);
    char* target = out.data() + before;
    std::string_view left = text;
    while (!left.empty()) {
        if constexpr (width == 6) {
            if (bits.held == 0) decode_clean_groups(code, left, target);
            if (left.empty()) break;
        }
        const std::uint16_t value = code.values[static_cast<unsigned char>(left.front())];
        if (value == invalid && mode == decoding::strict) {
            out.resize(before);
            return text.size() - left.size();
        }
        left.remove_prefix(1);
        if (value >= skip) continue;
        bits.accumulator = bits.accumulator << width | value;
        bits.held += width;
        if (bits.held >= 8) {
            bits.held -= 8;
            *target++ = static_cast<char>(bits.accumulator >> bits.held);
        }
    }
    out.resize(static_cast<std::size_t>(target - out.data()));
    return text.size();
}

template <int width>
void decode_or_throw(const alphabet<width>& code, std::string_view text, std::string& out,
                     decoding mode) {
    leftover_bits bits;
    const std::size_t end = decode(code, text, out, mode, bits);
    if (end < text.size()) throw invalid_codeword(text[end]);
}

template <int width>
std::string encode_number(const alphabet<width>& code, std::uint64_t number) {
    std::array<char, 64 / width + 1> digits;
    std::size_t first = digits.size();
    do {
        digits[--first] = code.symbols[number & code.mask];
        number >>= width;
    } while (number != 0);
    return {digits.data() + first, digits.size() - first};
}

template <int width>
void decode_number(const alphabet<width>& code, std::string_view text, std::uint64_t& number,
                   decoding mode) {
    std::uint64_t sum = number;
    for (const char byte : text) {
        unsigned value = 0;
        if (value_of(code, byte, mode, value)) sum = (sum << width) + value;
    }
    number = sum;
}

void fill_up(std::string& out, padding fill) {
    if (fill == padding::pad) out.append((4 - out.size() % 4) % 4, '=');
}

void append_escape(char sign, char byte, std::string& out) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    const auto value = static_cast<unsigned char>(byte);
    out += sign;
    out += digits[value >> 4];
    out += digits[value & 15];
}

void decode_escapes(char sign, std::string_view text, std::string& out, decoding mode) {
    const std::size_t before = out.size();
    out.reserve(before + text.size());
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t found = std::min(text.find(sign, at), text.size());
        out.append(text, at, found - at);
        at = found;
        if (at == text.size()) break;
        if (text.size() - at < 3) {
            out.append(text, at);
            break;
        }
        unsigned high = 0;
        unsigned low = 0;
        try {
            if (value_of(base16, text[at + 1], mode, high) &&
                value_of(base16, text[at + 2], mode, low)) {
                out += static_cast<char>(high << 4 | low);
                at += 3;
            } else {
                out += sign;
                ++at;
            }
        } catch (...) {
            out.resize(before);
            throw;
        }
    }
}

std::string invalid_codeword_text(char byte) {
    std::array<char, 32> text;
    const int size = std::snprintf(text.data(), text.size(), "Invalid Codeword 0x%.2X",
                                   static_cast<unsigned>(static_cast<signed char>(byte)));
    return {text.data(), static_cast<std::size_t>(size)};
}

}  // namespace

generic::generic(std::string message) : exception(std::move(message)) {
    append_domain("translate");
}

invalid_codeword::invalid_codeword(char byte) : generic(invalid_codeword_text(byte)) {
    append_domain("invalid_codeword");
}

void base16_encode(std::string_view bytes, std::string& out) {
    encode(base16, bytes, out);
}

std::string base16_encode(std::string_view bytes) {
    std::string out;
    base16_encode(bytes, out);
    return out;
}

void base16_decode(std::string_view text, std::string& out, decoding mode) {
    decode_or_throw(base16, text, out, mode);
}

std::string base16_decode(std::string_view text, decoding mode) {
    std::string out;
    base16_decode(text, out, mode);
    return out;
}

void base64_encode(std::string_view bytes, std::string& out, padding fill) {
    encode(base64, bytes, out);
    fill_up(out, fill);
}

std::string base64_encode(std::string_view bytes, padding fill) {
    std::string out;
    base64_encode(bytes, out, fill);
    return out;
}

void base64_decode(std::string_view text, std::string& out, decoding mode) {
    decode_or_throw(base64, text, out, mode);
}

std::string base64_decode(std::string_view text, decoding mode) {
    std::string out;
    base64_decode(text, out, mode);
    return out;
}

void base64_decoder::append(std::string_view text, std::string& out) {
    leftover_bits bits{accumulator_, held_};
    decode(base64, text, out, decoding::tolerant, bits);
    accumulator_ = bits.accumulator;
    held_ = bits.held;
}

void uuencode(std::string_view bytes, std::string& out) {
    encode(uu, bytes, out);
}

std::string uuencode(std::string_view bytes) {
    std::string out;
    uuencode(bytes, out);
    return out;
}

void uudecode(std::string_view text, std::string& out, decoding mode) {
    decode_or_throw(uu, text, out, mode);
}

std::string uudecode(std::string_view text, decoding mode) {
    std::string out;
    uudecode(text, out, mode);
    return out;
}

std::string base16_encode(std::uint64_t number) {
    return encode_number(base16, number);
}

std::string base64_encode(std::uint64_t number, padding fill) {
    std::string out = encode_number(base64, number);
    fill_up(out, fill);
    return out;
}

std::string uuencode(std::uint64_t number) {
    return encode_number(uu, number);
}

bool try_uudecode(std::string_view text, std::string& out) {
    leftover_bits bits;
    return decode(uu, text, out, decoding::strict, bits) == text.size();
}

void base16_decode(std::string_view text, std::uint64_t& number, decoding mode) {
    decode_number(base16, text, number, mode);
}

void base64_decode(std::string_view text, std::uint64_t& number, decoding mode) {
    decode_number(base64, text, number, mode);
}

void uudecode(std::string_view text, std::uint64_t& number, decoding mode) {
    decode_number(uu, text, number, mode);
}

void quoted_printable_encode(std::string_view bytes, std::string& out) {
    for (const char byte : bytes) {
        const bool plain =
            byte >= ' ' && byte <= '~' && byte != '=' && byte != '_' && byte != '?' && byte != '"';
        if (plain) {
            out += byte;
        } else {
            append_escape('=', byte, out);
        }
    }
}

std::string quoted_printable_encode(std::string_view bytes) {
    std::string out;
    quoted_printable_encode(bytes, out);
    return out;
}

void quoted_printable_decode(std::string_view text, std::string& out, decoding mode) {
    decode_escapes('=', text, out, mode);
}

std::string quoted_printable_decode(std::string_view text) {
    std::string out;
    quoted_printable_decode(text, out, decoding::strict);
    return out;
}

void percent_encode(std::string_view bytes, std::string& out) {
    for (const char byte : bytes) {
        if (ascii::is_letter_or_digit(byte)) {
            out += byte;
        } else {
            append_escape('%', byte, out);
        }
    }
}

std::string percent_encode(std::string_view bytes) {
    std::string out;
    percent_encode(bytes, out);
    return out;
}

void percent_decode(std::string_view text, std::string& out, decoding mode) {
    decode_escapes('%', text, out, mode);
}

std::string percent_decode(std::string_view text) {
    std::string out;
    percent_decode(text, out, decoding::strict);
    return out;
}

}  // namespace replay::coding::translate
