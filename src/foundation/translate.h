#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "foundation/exception.h"

// Translations between bytes and their printable codings: base16, base64 (RFC 4648), uuencode
// (POSIX), quoted-printable (RFC 2045) and percent coding (RFC 3986).
//
// Each translation comes in two shapes: one returns a new string, the other appends to `out`. An
// appending decoder that throws leaves `out` as it was. Only decoding::strict ever throws, and then
// invalid_codeword. Line structure is the caller's: CR, LF and blanks are invalid bytes here.
namespace replay::coding::translate {

class generic : public exception {
public:
    explicit generic(std::string message = {});
};

// A byte that the coding has no value for: "Invalid Codeword 0x%.2X", the byte as a signed value,
// so that a byte over 127 shows eight digits.
class invalid_codeword : public generic {
public:
    explicit invalid_codeword(char byte);
};

enum class decoding {
    tolerant,  // invalid bytes are passed over, or kept by the codings that escape single bytes
    strict,    // an invalid byte throws invalid_codeword
};

enum class padding { none, pad };

// Bit codings. Decoding drops bits left over at the end, so padding is never needed; "=" in base64
// is passed over wherever it stands.

std::string base16_encode(std::string_view bytes);  // lower-case digits
void base16_encode(std::string_view bytes, std::string& out);
std::string base16_decode(std::string_view text, decoding mode);  // either case
void base16_decode(std::string_view text, std::string& out, decoding mode);

// padding::pad fills the whole of `out` up, with what stood in it before, to a multiple of 4.
std::string base64_encode(std::string_view bytes, padding fill);
void base64_encode(std::string_view bytes, std::string& out, padding fill);
std::string base64_decode(std::string_view text, decoding mode);
void base64_decode(std::string_view text, std::string& out, decoding mode);

// Tolerant base64 decoding of text that comes in pieces: a group of digits may run over from one
// piece into the next.
class base64_decoder {
public:
    void append(std::string_view text, std::string& out);

    // Begins anew with the next piece; bits left over are dropped.
    void restart() { held_ = 0; }

private:
    unsigned accumulator_ = 0;
    int held_ = 0;
};

// The data bytes of lines only: no length byte, no "begin" and "end" lines.
std::string uuencode(std::string_view bytes);
void uuencode(std::string_view bytes, std::string& out);
std::string uudecode(std::string_view text, decoding mode);
void uudecode(std::string_view text, std::string& out, decoding mode);
// Strict, but tells an invalid byte by false, with `out` as it was: for text that is often none.
[[nodiscard]] bool try_uudecode(std::string_view text, std::string& out);

// Numbers as digits of the coding, most significant first and without leading zero digits; 0 is
// one digit. Decoding shifts each digit into `number` as given; what overflows is lost silently.

std::string base16_encode(std::uint64_t number);
std::string base64_encode(std::uint64_t number, padding fill);
std::string uuencode(std::uint64_t number);
void base16_decode(std::string_view text, std::uint64_t& number, decoding mode);
void base64_decode(std::string_view text, std::uint64_t& number, decoding mode);
void uudecode(std::string_view text, std::uint64_t& number, decoding mode);

// Escapes of single bytes. An escape sign with fewer than two bytes behind it stands for itself in
// either mode; one with bad digits behind it stands for itself in decoding::tolerant.
// The shapes that return a string decode strictly, always.

// Codes bytes below 32 and above 126 and the four "=", "_", "?" and "\"", the latter three because
// the same coding serves encoded words in headers. A space stays. Line length is the caller's.
std::string quoted_printable_encode(std::string_view bytes);
void quoted_printable_encode(std::string_view bytes, std::string& out);
std::string quoted_printable_decode(std::string_view text);
void quoted_printable_decode(std::string_view text, std::string& out, decoding mode);

// Codes every byte but ASCII letters and digits.
std::string percent_encode(std::string_view bytes);
void percent_encode(std::string_view bytes, std::string& out);
std::string percent_decode(std::string_view text);
void percent_decode(std::string_view text, std::string& out, decoding mode);

}  // namespace replay::coding::translate
