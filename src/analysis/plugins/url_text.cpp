#include "analysis/plugins/url_text.h"

#include <algorithm>
#include <string>

#include "message/character_set.h"
#include "platform/character_class.h"
#include "platform/utf16.h"
#include "platform/wide_search.h"

namespace brindlemoss::analysis::plugins::text_analysis {
namespace {

using replay::platform::character_table;
using replay::platform::characters;
using replay::platform::is_high_surrogate;
using replay::platform::is_low_surrogate;
using replay::platform::is_surrogate;

constexpr std::size_t nowhere = std::u16string_view::npos;

void replace_lone_surrogates(std::u16string& text) {
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (!is_surrogate(text[at])) continue;
        const bool paired =
            is_high_surrogate(text[at]) && at + 1 < text.size() && is_low_surrogate(text[at + 1]);
        if (paired) {
            ++at;
        } else {
            text[at] = replay::platform::replacement_character;
        }
    }
}

// True when what stands behind `from` takes at least `wanted` bytes of UTF-8. Half of a pair of
// surrogates counts for two.
bool has_bytes(std::u16string_view text, std::size_t from, std::size_t wanted) {
    std::size_t bytes = 0;
    for (; from < text.size() && bytes < wanted; ++from) {
        const char16_t unit = text[from];
        bytes += unit < 0x80 ? 1 : unit < 0x800 || is_surrogate(unit) ? 2 : 3;
    }
    return bytes >= wanted;
}

std::optional<unsigned> digit_value(char16_t unit) {
    if (unit >= u'0' && unit <= u'9') return unit - u'0';
    if (unit >= u'a' && unit <= u'f') return unit - u'a' + 10u;
    if (unit >= u'A' && unit <= u'F') return unit - u'A' + 10u;
    return std::nullopt;
}

// The byte that two hexadecimal digits at `at` stand for. They may be cut off by the end where
// bytes remain, but not enough units.
std::optional<unsigned char> byte_at(std::u16string_view text, std::size_t at) {
    if (text.size() < at + 2) return std::nullopt;
    const auto high = digit_value(text[at]);
    const auto low = digit_value(text[at + 1]);
    if (!high || !low) return std::nullopt;
    return static_cast<unsigned char>(*high << 4 | *low);
}

// Decodes in place: what is written never overtakes what is read.
class escape_decoder {
public:
    explicit escape_decoder(std::u16string& text) : text_(text) {}

    bool decode() {
        while (read_ < text_.size()) {
            copy_until(std::min(text_.find(u'%', read_), text_.size()));
            if (!take_escape()) copy_until(text_.size());
        }
        flush_bytes();
        text_.resize(written_);
        return found_one_;
    }

private:
    // False when the decoding ends here.
    bool take_escape() {
        const std::size_t next = read_ + 1;
        if (next >= text_.size()) return false;
        if (text_[next] == u'%') {
            put(u'%');
            pass(2);
        } else if (text_[next] == u'u' || text_[next] == u'U') {
            if (!has_bytes(text_, next + 1, 4)) return false;
            take_unit(byte_at(text_, next + 1), byte_at(text_, next + 3));
        } else {
            if (!has_bytes(text_, next, 2)) return false;
            take_byte(byte_at(text_, next));
        }
        return true;
    }

    void take_unit(std::optional<unsigned char> first, std::optional<unsigned char> second) {
        if (!first || !second) return keep_sign();
        const int number =
            static_cast<signed char>(*first) * 256 + static_cast<signed char>(*second);
        const auto unit = static_cast<char16_t>(number);
        put(is_surrogate(unit) ? replay::platform::replacement_character
                               : characters_.to_lower(unit));
        pass(6);
    }

    void take_byte(std::optional<unsigned char> byte) {
        if (!byte) return keep_sign();
        if (*byte < 0x80) {
            put(characters_.to_lower(*byte));
        } else {
            bytes_ += static_cast<char>(*byte);
        }
        pass(3);
    }

    void pass(std::size_t units) {
        read_ += units;
        found_one_ = true;
    }

    void keep_sign() {
        put(u'%');
        ++read_;
    }

    void put(char16_t unit) {
        flush_bytes();
        text_[written_++] = unit;
    }

    void copy_until(std::size_t end) {
        if (read_ == end) return;
        flush_bytes();
        char16_t* const to = text_.data() + written_;
        if (read_ != written_) {
            std::char_traits<char16_t>::move(to, text_.data() + read_, end - read_);
        }
        characters_.make_lower(to, end - read_);
        written_ += end - read_;
        read_ = end;
    }

    // Only escapes without anything between them can make one character: what stood in the text
    // already is whole.
    void flush_bytes() {
        if (bytes_.empty()) return;
        const std::u16string units = replay::unicode::to_wide(bytes_, replay::unicode::utf8);
        std::char_traits<char16_t>::copy(text_.data() + written_, units.data(), units.size());
        characters_.make_lower(text_.data() + written_, units.size());
        written_ += units.size();
        bytes_.clear();
    }

    const character_table& characters_ = characters();
    std::u16string& text_;
    std::size_t read_ = 0;
    std::size_t written_ = 0;
    std::string bytes_;  // decoded, from 0x80 up, one behind the other in the URL
    bool found_one_ = false;
};

}  // namespace

std::size_t find_url_mark(std::u16string_view text, std::size_t from) {
    while ((from = replay::platform::find_pair(text, u"ht", u"ww", from)) != nowhere) {
        const std::u16string_view here = text.substr(from);
        if (here.starts_with(u"www.") || here.starts_with(u"http:") ||
            here.starts_with(u"https:")) {
            return from;
        }
        ++from;
    }
    return nowhere;
}

std::size_t url_stripper::search::from(std::u16string_view text, std::size_t from) {
    if (!found_ || *found_ < from) found_ = text.find(unit_, from);
    return *found_;
}

stripped_url url_stripper::strip(std::size_t begin, std::size_t end) {
    const std::u16string_view text = text_.substr(0, end);
    for (const std::u16string_view scheme : {u"http:", u"https:"}) {
        if (text.substr(begin).starts_with(scheme)) begin += scheme.size();
    }
    while (begin < end && text[begin] == u'/') ++begin;

    const std::size_t slash = std::min(slash_.from(text_, begin), end);
    const std::size_t at_sign = at_sign_.from(text_, begin);
    if (at_sign < slash) begin = at_sign + 1;
    const std::size_t colon = colon_.from(text_, begin);
    if (colon >= slash) return {begin, slash, slash, end};
    if (slash == end) return {begin, colon, colon, colon};
    return {begin, colon, slash, end};
}

void strip_url(std::u16string& url) {
    const stripped_url places = url_stripper(url).strip(0, url.size());
    url.resize(places.end);
    url.erase(places.front_end, places.rest - places.front_end);
    url.erase(0, places.begin);
}

bool decode_url(std::u16string& url) {
    replace_lone_surrogates(url);
    return escape_decoder(url).decode();
}

}  // namespace brindlemoss::analysis::plugins::text_analysis
