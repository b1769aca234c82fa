#include "foundation/ip4_address.h"

#include <algorithm>
#include <iterator>
#include <optional>

namespace replay::internet::address {

namespace {

constexpr int octets_in_address = 4;
constexpr unsigned largest_octet = 255;

// The octet that `text` begins with, and takes it off the text.
std::optional<unsigned> take_octet(std::string_view& text) {
    const char base = text.starts_with('0') ? 8 : 10;
    unsigned octet = 0;
    std::size_t digits = 0;
    for (; digits < text.size() && text[digits] >= '0' && text[digits] < '0' + base; ++digits) {
        octet = octet * base + static_cast<unsigned>(text[digits] - '0');
        if (octet > largest_octet) return std::nullopt;
    }
    if (digits == 0) return std::nullopt;
    text.remove_prefix(digits);
    return octet;
}

struct network {
    std::uint32_t first;
    std::uint32_t last;
};

constexpr network networks_not_public[] = {
    {0x00000000, 0x00000000}, {0x0A000000, 0x0AFFFFFF},  // private
    {0x7F000000, 0x7FFFFFFF},                            // loopback
    {0xA9FE0000, 0xA9FEFFFF},                            // link-local
    {0xAC100000, 0xAC1FFFFF},                            // private
    {0xC0A80000, 0xC0A8FFFF},                            // private
    {0xE0000000, 0xEFFFFFFF},                            // multicast
    {0xFFFFFFFF, 0xFFFFFFFF},
};

}  // namespace

ip4_address ip4_address::parse(std::string_view text) noexcept {
    std::uint32_t number = 0;
    for (int i = 0; i < octets_in_address; ++i) {
        if (i > 0) {
            if (!text.starts_with('.')) return no_address;
            text.remove_prefix(1);
        }
        const auto octet = take_octet(text);
        if (!octet) return no_address;
        number = number << 8 | *octet;
    }
    return text.empty() ? ip4_address(number) : no_address;
}

std::string ip4_address::text() const {
    std::string dotted;
    for (int shift = 24; shift >= 0; shift -= 8) {
        dotted += std::to_string(number_ >> shift & 0xFF);
        if (shift > 0) dotted += '.';
    }
    return dotted;
}

bool ip4_address::is_public() const noexcept {
    return std::none_of(
        std::begin(networks_not_public), std::end(networks_not_public),
        [this](network each) { return number_ >= each.first && number_ <= each.last; });
}

}  // namespace replay::internet::address
