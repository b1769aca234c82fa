#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// URLs as they stand in mail, before anything is known of their parts. Nothing is checked: whatever
// begins with a mark is a URL.
namespace brindlemoss::analysis::plugins::text_analysis {

// The place of the first "http:", "https:" or "www." that begins at or behind `from`, npos if there
// is none.
std::size_t find_url_mark(std::u16string_view text, std::size_t from);

// A stripped URL as places in the text that holds it: its front, which begins with the host, and
// its rest, which is empty or begins with a "/". What stood between them, the port, is left out.
struct stripped_url {
    std::size_t begin;      // of the front
    std::size_t front_end;  // not included
    std::size_t rest;       // where the rest begins
    std::size_t end;        // not included
};

// Takes scheme, leading slashes, user name and port off URLs that stand in one text. Asked for one
// place behind the other, the searches for all of them together pass the text once.
class url_stripper {
public:
    // The text must outlive the stripper.
    explicit url_stripper(std::u16string_view text) : text_(text) {}

    // Strips the URL from `begin`, which must not be less than in an earlier call, to `end`.
    stripped_url strip(std::size_t begin, std::size_t end);

private:
    class search {
    public:
        explicit search(char16_t unit) : unit_(unit) {}

        // The first place of the unit at or behind `from`, npos if there is none.
        std::size_t from(std::u16string_view text, std::size_t from);

    private:
        char16_t unit_;
        std::optional<std::size_t> found_;
    };

    std::u16string_view text_;
    search slash_{u'/'};
    search at_sign_{u'@'};
    search colon_{u':'};
};

// Replaces a URL by its front and rest.
void strip_url(std::u16string& url);

// Decodes the escapes of a URL in place, in one pass, and makes it lower-case:
// - "%41" is a byte of UTF-8; bytes that make no character give U+FFFD.
// - "%u4e2d" is a unit of UTF-16. Both its bytes are taken as signed, so that one from 0x80 up in
//   the second place lowers the first by one: "%u00e9" is U+FFE9. A surrogate gives U+FFFD.
// - "%%" is a "%". Unlike in coding::translate::percent_decode() any "%" with bad digits stays.
// A "%u" with fewer than 4 bytes of UTF-8 behind it, and any other "%" with fewer than 2, ends the
// decoding of the URL. A surrogate without its partner becomes U+FFFD also where it stood already.
//
// True when there was an escape to decode; the result may then hold escapes again. The text never
// grows. Takes linear time.
bool decode_url(std::u16string& url);

}  // namespace brindlemoss::analysis::plugins::text_analysis
