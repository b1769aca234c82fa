#include "message/html_reader.h"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>

#include "foundation/translate.h"
#include "message/html_entities.h"
#include "platform/character_class.h"
#include "platform/wide_search.h"

namespace replay::html {

using namespace std::string_view_literals;
using platform::find_either;

namespace {

// One run over a text. Each step takes what it is about and leaves the position behind it; at the
// end of the text it returns without an event.
class scanner {
public:
    scanner(std::u16string_view text, reader& handler)
        : position_(text.data()), end_(text.data() + text.size()), handler_(handler) {}

    void run() {
        while (!at_end()) {
            read_text();
            if (at_end()) return;
            const bool is_tag = *position_++ == u'<';
            if (is_tag) {
                read_tag();
            } else {
                read_entity();
            }
        }
    }

private:
    bool at_end() const { return position_ == end_; }
    bool at_space() const { return characters_.is_space(*position_); }

    std::u16string_view since(const char16_t* start) const {
        return {start, static_cast<std::size_t>(position_ - start)};
    }

    // Letters and what stands among them in ASCII end nothing; most units of a name are such.
    bool at_plain_letter() const { return *position_ > u'>' && *position_ < 0x80; }

    std::u16string_view take_until_space_or(char16_t stop) {
        const char16_t* const start = position_;
        while (!at_end() && (at_plain_letter() || (*position_ != stop && !at_space()))) {
            ++position_;
        }
        return since(start);
    }

    void read_text() {
        const char16_t* const start = position_;
        position_ = find_either(position_, end_, u'<', u'&');
        handler_.text(since(start));
    }

    void read_entity() {
        const std::u16string_view name = take_until_space_or(u';');
        if (at_end()) return;
        ++position_;
        handler_.entity(name);
    }

    void read_tag() {
        const std::u16string_view name = take_until_space_or(u'>');
        if (at_end()) return;
        handler_.tag(name);
        while (!at_end()) {
            if (*position_ == u'>') {
                ++position_;
                handler_.tag_end(name);
                return;
            }
            const bool attribute_follows = at_space();
            ++position_;
            if (attribute_follows) read_attribute();
        }
    }

    // Leaves the terminator of a name without value, which may begin the next attribute or end the
    // tag.
    void read_attribute() {
        const std::u16string_view name = take_attribute_name();
        if (at_end()) return;
        if (*position_ == u'=') {
            ++position_;
            read_value(name);
        } else if (*position_ == u'/') {
            ++position_;
        } else if (!name.empty()) {
            handler_.attribute(name);
        }
    }

    std::u16string_view take_attribute_name() {
        const char16_t* const start = position_;
        const auto at_name_end = [this] {
            return *position_ == u'=' || *position_ == u'/' || *position_ == u'>' || at_space();
        };
        while (!at_end() && (at_plain_letter() || !at_name_end())) ++position_;
        return since(start);
    }

    void read_value(std::u16string_view name) {
        if (at_end()) return;
        if (*position_ == u'"' || *position_ == u'\'') {
            const char16_t quote = *position_++;
            read_quoted_value(name, quote);
            return;
        }
        const std::u16string_view value = take_until_space_or(u'>');
        if (!at_end()) handler_.attribute(name, value);
    }

    void read_quoted_value(std::u16string_view name, char16_t quote) {
        const char16_t* const start = position_;
        position_ = find_either(position_, end_, quote, u'\\');
        if (at_end()) return;
        if (*position_ == quote) {
            const std::u16string_view value = since(start);
            ++position_;
            handler_.attribute(name, value);
        } else {
            read_escaped_value(name, quote, start);
        }
    }

    // A value that began at `start`, from its first backslash on.
    void read_escaped_value(std::u16string_view name, char16_t quote, const char16_t* start) {
        unescaped_.clear();
        while (!at_end() && *position_ == u'\\') {
            unescaped_ += since(start);
            start = ++position_;
            if (at_end()) return;
            position_ = find_either(position_ + 1, end_, quote, u'\\');
        }
        if (at_end()) return;
        unescaped_ += since(start);
        ++position_;
        handler_.attribute(name, unescaped_);
    }

    const platform::character_table& characters_ = platform::characters();
    const char16_t* position_;
    const char16_t* end_;
    reader& handler_;
    std::u16string unescaped_;
};

char16_t decimal_unit(std::u16string_view digits) {
    std::uint64_t number = 0;
    for (const char16_t digit : digits) {
        if (digit < u'0' || digit > u'9') break;
        number = number * 10 + static_cast<std::uint64_t>(digit - u'0');
    }
    return static_cast<char16_t>(number);
}

char16_t hexadecimal_unit(std::u16string_view digits) {
    namespace translate = coding::translate;
    std::uint64_t number = 0;
    for (const char16_t digit : digits) {
        const char byte = static_cast<char>(digit);
        if (digit > 0xFF) throw translate::invalid_codeword(byte);
        translate::base16_decode({&byte, 1}, number, translate::decoding::strict);
    }
    return static_cast<char16_t>(number);
}

// The unit that an entity stands for; nothing where it stands for none.
std::optional<char16_t> unit_of_entity(std::u16string_view name) {
    if (name.size() < 2 || name.front() != u'#') return find_entity(name);
    const std::u16string_view number = name.substr(1);
    if (number.front() != u'x' && number.front() != u'X') return decimal_unit(number);
    if (number.size() == 1) return std::nullopt;
    return hexadecimal_unit(number.substr(1));
}

}  // namespace

void parse(std::u16string_view text, reader& handler) {
    scanner(text, handler).run();
}

void convert_to_text::tag(std::u16string_view name) {
    current_tag = name;
    platform::characters().make_lower(current_tag.data(), current_tag.size());
    if (current_tag == u"/body"sv) in_body = false;
    if (!in_body) return;
    if (current_tag == u"p"sv || current_tag == u"br"sv) {
        result += u"\r\n";
    } else {
        result += u' ';
    }
}

void convert_to_text::tag_end(std::u16string_view) {
    if (current_tag == u"body"sv) in_body = true;
}

void convert_to_text::attribute(std::u16string_view, std::u16string_view) {}

void convert_to_text::attribute(std::u16string_view) {}

void convert_to_text::text(std::u16string_view text) {
    if (in_body && current_tag != u"meta"sv && current_tag != u"style"sv) result += text;
}

void convert_to_text::entity(std::u16string_view name) {
    if (!in_body) return;
    if (const auto unit = unit_of_entity(name)) {
        result += *unit;
    } else {
        keep_unknown(name);
    }
}

void convert_to_text::keep_unknown(std::u16string_view name) {
    const bool full = unknown_entities.size() == most_unknown_entities;
    if (full && name >= *unknown_entities.rbegin()) return;
    const auto place = unknown_entities.lower_bound(name);
    if (place != unknown_entities.end() && *place == name) return;
    unknown_entities.emplace_hint(place, name);
    if (full) unknown_entities.erase(std::prev(unknown_entities.end()));
}

}  // namespace replay::html
