#include "message/header_list.h"

#include <utility>

#include "foundation/ascii.h"

namespace replay::internet::message2 {

namespace {

// Lengths stand low digit first in base 128; all digits but the last have the top bit set.
void append_length(std::size_t length, std::string& packed) {
    while (length >= 0x80) {
        packed += static_cast<char>(0x80 | (length & 0x7F));
        length >>= 7;
    }
    packed += static_cast<char>(length);
}

std::size_t read_length(const char*& position) {
    std::size_t length = 0;
    for (int shift = 0;; shift += 7) {
        const auto digit = static_cast<unsigned char>(*position++);
        length |= static_cast<std::size_t>(digit & 0x7F) << shift;
        if (digit < 0x80) return length;
    }
}

}  // namespace

header_list::iterator::iterator(const char* position, const char* end)
    : position_(position), end_(end) {
    if (position_ != end_) read();
}

void header_list::iterator::read() {
    const char* text = position_;
    const std::size_t name_size = read_length(text);
    const std::size_t value_size = read_length(text);
    current_ = {{text, name_size}, {text + name_size, value_size}};
    next_ = text + name_size + value_size;
}

header_list::iterator& header_list::iterator::operator++() {
    position_ = next_;
    if (position_ != end_) read();
    return *this;
}

header_list::iterator header_list::iterator::operator++(int) {
    return std::exchange(*this, [this] {
        iterator next = *this;
        return ++next;
    }());
}

header_list::iterator header_list::begin() const {
    return {packed_.data(), packed_.data() + packed_.size()};
}

header_list::iterator header_list::end() const {
    const char* end = packed_.data() + packed_.size();
    return {end, end};
}

std::optional<std::string_view> header_list::find(std::string_view name) const {
    const char* position = packed_.data();
    const char* const end = position + packed_.size();
    while (position != end) {
        const std::size_t name_size = read_length(position);
        const std::size_t value_size = read_length(position);
        if (ascii::equals_ignoring_case({position, name_size}, name)) {
            return std::string_view(position + name_size, value_size);
        }
        position += name_size + value_size;
    }
    return std::nullopt;
}

void header_list::add(std::string_view name, std::string_view value) {
    append_length(name.size(), packed_);
    append_length(value.size(), packed_);
    packed_.append(name).append(value);
}

void header_list::remove(std::string_view name) {
    header_list kept;
    kept.reserve(packed_.size());
    for (const header& each : *this) {
        if (!ascii::equals_ignoring_case(each.name, name)) kept.add(each.name, each.value);
    }
    *this = std::move(kept);
}

}  // namespace replay::internet::message2
