#include "message/header_value.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "foundation/ascii.h"
#include "foundation/translate.h"
#include "message/character_set.h"
#include "message/value_splitter.h"

namespace replay::internet::message2::header_type {

namespace {

namespace translate = coding::translate;

// What stands in a word of the form "before=?charset?encoding?text?=after".
struct encoded_word {
    std::string_view before;
    std::string_view charset;
    std::string_view encoding;
    std::string_view text;
    std::string_view after;
};

// Nothing where `word` has not that form. The text may not hold a "?", so two encoded words run
// together are none.
std::optional<encoded_word> find_encoded_word(std::string_view word) {
    const auto open = word.find("=?");
    if (open == std::string_view::npos) return std::nullopt;
    const auto close = word.rfind("?=");
    if (close == std::string_view::npos || close < open + 2) return std::nullopt;

    std::string_view inner = word.substr(open + 2, close - open - 2);
    const auto charset_end = inner.find('?');
    if (charset_end == std::string_view::npos) return std::nullopt;
    const auto encoding_end = inner.find('?', charset_end + 1);
    if (encoding_end == std::string_view::npos) return std::nullopt;
    const std::string_view text = inner.substr(encoding_end + 1);
    if (text.find('?') != std::string_view::npos) return std::nullopt;
    return encoded_word{word.substr(0, open), inner.substr(0, charset_end),
                        inner.substr(charset_end + 1, encoding_end - charset_end - 1), text,
                        word.substr(close + 2)};
}

bool is_q(std::string_view encoding) {
    return encoding == "Q" || encoding == "q";
}
bool is_b(std::string_view encoding) {
    return encoding == "B" || encoding == "b";
}

std::string decode_q(std::string_view text) {
    std::string spaced(text);
    for (char& byte : spaced) {
        if (byte == '_') byte = ' ';
    }
    return translate::quoted_printable_decode(spaced);
}

std::string_view without_outer_spaces(std::string_view text) {
    const auto first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(' ') + 1 - first);
}

// Decodes header text; `charset` is what bytes outside encoded words are read by, and is replaced
// by that of each encoded word for all that follows.
class text_decoder {
public:
    explicit text_decoder(std::string& charset)
        : charset_(charset), codepage_(unicode::codepage(charset)) {}

    std::u16string decode(std::string_view raw) {
        std::u16string text;
        if (is_plain(raw)) {
            unicode::append_wide(without_outer_spaces(raw), codepage_, text);
            return text;
        }
        text.reserve(raw.size());
        bool after_encoded_word = false;
        std::size_t at = 0;
        for (;;) {
            const std::size_t begin = raw.find_first_not_of(' ', at);
            if (begin == std::string_view::npos) return text;
            const std::size_t end = std::min(raw.find(' ', begin), raw.size());

            const std::string_view word = raw.substr(begin, end - begin);
            const auto encoded = find_encoded_word(word);
            if (encoded) take_charset(encoded->charset);
            const bool is_encoded = encoded && (is_q(encoded->encoding) || is_b(encoded->encoding));

            const bool blanks_count = at > 0 && !(after_encoded_word && is_encoded);
            if (blanks_count) text.append(begin - at, u' ');
            if (is_encoded) {
                append(*encoded, text);
            } else {
                unicode::append_wide(word, codepage_, text);
            }
            after_encoded_word = is_encoded;
            at = end;
        }
    }

private:
    // True where word by word gives nothing else than all at once: no word is encoded, and a space
    // is a space wherever it stands.
    bool is_plain(std::string_view raw) const {
        constexpr std::int32_t iso_8859_1 = 28591;
        const bool has_no_state = codepage_ == iso_8859_1 || codepage_ == unicode::utf8 ||
                                  codepage_ == unicode::byte_for_byte;
        return has_no_state && raw.find("=?") == std::string_view::npos;
    }

    void take_charset(std::string_view name) {
        charset_ = name;
        codepage_ = unicode::codepage(name);
    }

    void append(const encoded_word& word, std::u16string& text) const {
        const std::string bytes =
            is_q(word.encoding)
                ? decode_q(word.text)
                : translate::base64_decode(word.text, translate::decoding::tolerant);
        unicode::append_wide(word.before, unicode::byte_for_byte, text);
        unicode::append_wide(bytes, codepage_, text);
        unicode::append_wide(word.after, unicode::byte_for_byte, text);
    }

    std::string& charset_;
    std::int32_t codepage_;
};

std::string encode(std::u16string_view text, const std::string& charset) {
    const bool is_ascii =
        std::all_of(text.begin(), text.end(), [](char16_t unit) { return unit <= 127; });
    if (is_ascii) return unicode::from_wide(text, unicode::byte_for_byte);

    const std::string bytes = unicode::from_wide(text, unicode::codepage(charset));
    const std::string b_text = translate::base64_encode(bytes, translate::padding::pad);
    std::string q_text = translate::quoted_printable_encode(bytes);
    for (char& byte : q_text) {
        if (byte == ' ') byte = '_';
    }
    const bool b_is_shorter = b_text.size() < q_text.size();
    return "=?" + charset + (b_is_shorter ? "?B?" + b_text : "?Q?" + q_text) + "?=";
}

std::string narrowed(std::u16string_view text) {
    return unicode::from_wide(text, unicode::byte_for_byte);
}

// The first and the last piece of a token; nothing where it has no piece.
std::optional<std::pair<std::string, std::string>> outer_pieces(std::string_view token,
                                                                std::string_view delimiters) {
    value_splitter pieces(token, delimiters, value_splitter::quotes::drop);
    std::string piece;
    if (!pieces.next(piece)) return std::nullopt;
    std::pair<std::string, std::string> outer(piece, piece);
    while (pieces.next(piece)) outer.second = piece;
    return outer;
}

addresses_value_type::record read_address(std::string_view token, std::string& charset) {
    addresses_value_type::record read;
    text_decoder decoder(charset);
    // The address is decoded first: a character set named in it holds for the name, not the other
    // way round.
    if (token.ends_with('>')) {
        if (const auto outer = outer_pieces(token, "<>")) {
            read.address = narrowed(decoder.decode(outer->second));
            read.name = decoder.decode(outer->first);
        }
    } else if (token.ends_with(')')) {
        if (const auto outer = outer_pieces(token, "()")) {
            read.address = narrowed(decoder.decode(outer->first));
            read.name = decoder.decode(outer->second);
        }
    } else {
        value_splitter pieces(token, " ", value_splitter::quotes::drop);
        pieces.next(read.address);
    }
    return read;
}

}  // namespace

std::string unstructured_value_type::unparse() const {
    return encode(value_, charset);
}

void unstructured_value_type::parse(std::string_view raw) {
    value_ = text_decoder(charset).decode(raw);
}

std::string unstructured_value_type::value_in_codepage(std::int32_t codepage) const {
    return unicode::from_wide(value_, codepage);
}

void unstructured_value_type::set_value_from_codepage(std::string_view bytes,
                                                      std::int32_t codepage) {
    set_value(unicode::to_wide(bytes, codepage));
}

std::string parametized_value_type::unparse() const {
    std::string text = unstructured_value_type::unparse();
    for (const record& each : parameters_) {
        text.append("; ").append(each.name).append("=\"");
        text.append(encode(each.value, charset)).append("\"");
    }
    return text;
}

void parametized_value_type::parse(std::string_view raw) {
    set_value({});
    parameters_.clear();
    value_splitter tokens(raw, ";,", value_splitter::quotes::keep);
    std::string token;
    if (!tokens.next(token)) return;
    text_decoder decoder(charset);
    set_value(decoder.decode(token));

    std::string name;
    std::string value;
    std::string surplus;
    while (parameters_.size() < most_list_elements && tokens.next(token)) {
        value_splitter pieces(token, "=", value_splitter::quotes::drop);
        if (!pieces.next(name)) continue;
        if (!pieces.next(value)) {
            parameters_.push_back({name, {}});
        } else if (!pieces.next(surplus)) {
            parameters_.push_back({name, decoder.decode(value)});
        }
    }
}

std::size_t parametized_value_type::index_of(std::string_view name) const {
    const auto found = std::find_if(
        parameters_.begin(), parameters_.end(),
        [&](const record& each) { return ascii::equals_ignoring_case(each.name, name); });
    return static_cast<std::size_t>(found - parameters_.begin());
}

bool parametized_value_type::parameter(std::string_view name, std::u16string& wide) const {
    const std::size_t index = index_of(name);
    if (index == parameters_.size()) return false;
    wide = parameters_[index].value;
    return true;
}

bool parametized_value_type::parameter_in_codepage(std::string_view name, std::string& bytes,
                                                   std::int32_t codepage) const {
    const std::size_t index = index_of(name);
    if (index == parameters_.size()) return false;
    bytes = unicode::from_wide(parameters_[index].value, codepage);
    return true;
}

void parametized_value_type::set_parameter(std::string_view name, std::u16string wide) {
    const std::size_t index = index_of(name);
    if (index == parameters_.size()) {
        parameters_.push_back({std::string(name), std::move(wide)});
    } else {
        parameters_[index].value = std::move(wide);
    }
}

void parametized_value_type::set_parameter_from_codepage(std::string_view name,
                                                         std::string_view bytes,
                                                         std::int32_t codepage) {
    set_parameter(name, unicode::to_wide(bytes, codepage));
}

void parametized_value_type::remove_parameter(std::string_view name) {
    const std::size_t index = index_of(name);
    if (index < parameters_.size()) {
        parameters_.erase(parameters_.begin() + static_cast<std::ptrdiff_t>(index));
    }
}

std::string addresses_value_type::unparse() const {
    std::string text;
    for (const record& each : addresses_) {
        if (!text.empty()) text += ", ";
        if (!each.name.empty()) text.append("\"").append(encode(each.name, charset)).append("\" ");
        text.append("<").append(each.address).append(">");
    }
    return text;
}

void addresses_value_type::parse(std::string_view raw) {
    addresses_.clear();
    value_splitter tokens(raw, ";,", value_splitter::quotes::keep);
    std::string token;
    while (addresses_.size() < most_list_elements && tokens.next(token)) {
        record read = read_address(token, charset);
        if (!read.address.empty() || !read.name.empty()) addresses_.push_back(std::move(read));
    }
}

void addresses_value_type::add_address(std::string address, std::u16string name) {
    addresses_.push_back({std::move(address), std::move(name)});
}

void addresses_value_type::add_address_from_codepage(std::string address, std::string_view name,
                                                     std::int32_t codepage) {
    add_address(std::move(address), unicode::to_wide(name, codepage));
}

}  // namespace replay::internet::message2::header_type
