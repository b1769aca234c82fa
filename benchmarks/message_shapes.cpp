#include "message_shapes.h"

#include <string>
#include <string_view>

namespace brindlemoss::benchmarks {

namespace {

std::string nested_multiparts(std::size_t size) {
    std::string text;
    std::string boundary = "b";
    for (int depth = 0; depth < 63; ++depth) {
        text +=
            "Content-Type: multipart/mixed; boundary=\"" + boundary + "\"\n\n--" + boundary + "\n";
        boundary += 'b';
    }
    return filled(text + "\n", "--" + std::string(70, 'b') + "\n", size);
}

// Each attached in the one before, up to the text in the last.
std::string nested_messages(std::size_t size) {
    std::string text;
    for (int depth = 0; depth < 63; ++depth) {
        text += "Content-Type: a/b; name=x.eml\nContent-Transfer-Encoding: quoted-printable\n\n";
    }
    return filled(text + "A: b\n\n", "A line of text, as others are.\n", size);
}

std::string different_headers(std::size_t size) {
    std::string text;
    text.reserve(size + 30);
    for (std::size_t i = 0; text.size() < size; ++i) text += "X" + std::to_string(i) + ": v\n";
    return text;
}

constexpr std::string_view base64_line =
    "QSBsaW5lIG9mIGEgZmlsZSB0aGF0IHNvbWVib2R5IHNlbmRzIHRvIHNvbWVib2R5IGVsc2Uu\n";

constexpr std::string_view uuencoded_line =
    "M02!L:6YE(&]F(&$@9FEL92!T:&%T('-O;65B;V1Y('-E;F1S('1O('-O;65B\n";

const mail_shape shapes[] = {
    {"attached_file",
     [](std::size_t size) {
         return filled("Content-Transfer-Encoding: base64\n\n", base64_line, size);
     }},
    {"one_long_line", [](std::size_t size) { return filled("A: b\n\n", "x", size); }},
    {"one_long_header", [](std::size_t size) { return filled("A: ", "x", size); }},
    {"only_line_ends", [](std::size_t size) { return std::string(size, '\n'); }},
    {"only_carriage_returns", [](std::size_t size) { return std::string(size, '\r'); }},
    {"nested_multiparts", nested_multiparts},
    {"nested_messages", nested_messages},
    {"header_lines", different_headers},
    {"folded_header", [](std::size_t size) { return filled("A: b\n", " c\n", size); }},
    {"folded_content_type",
     [](std::size_t size) { return filled("Content-Type: text/plain\n", " ;a=b\n", size); }},
    {"uuencoded_file",
     [](std::size_t size) { return filled("A: b\n\nbegin 644 x\n", uuencoded_line, size); }},
    {"begin_lines", [](std::size_t size) { return filled("A: b\n\n", "begin 644 x\n", size); }},
    {"empty_parts",
     [](std::size_t size) { return filled("Content-Type: a/b; boundary=b\n\n", "--b\n", size); }},
};

}  // namespace

std::span<const mail_shape> message_shapes() {
    return shapes;
}

}  // namespace brindlemoss::benchmarks
