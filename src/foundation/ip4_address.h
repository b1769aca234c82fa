#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace replay::internet::address {

// The number of a host in version 4 of the Internet protocol (RFC 791). Where sockets go, with a
// port, is an ip4 of foundation/internet_address.h.
class ip4_address {
public:
    // 0.0.0.0
    constexpr ip4_address() noexcept = default;

    // `number` is in host order: 0x7F000001 is 127.0.0.1.
    constexpr explicit ip4_address(std::uint32_t number) noexcept : number_(number) {}

    // Reads four numbers with dots between them, as inet_addr() of POSIX does: a number with a
    // leading zero is octal, so "010.0.0.1" is 8.0.0.1. Of the forms that inet_addr() knows only
    // this one is read: no hexadecimal, no fewer than four numbers. Any other text, one with a
    // number above 255 or with anything around the address included, gives 255.255.255.255.
    static ip4_address parse(std::string_view text) noexcept;

    constexpr std::uint32_t number() const noexcept { return number_; }

    // Dotted decimal.
    std::string text() const;

    // False for 0.0.0.0, 255.255.255.255 and for addresses that are private (RFC 1918), link-local
    // (RFC 3927), loopback or multicast. True for all others, reserved ones too.
    bool is_public() const noexcept;

    friend constexpr bool operator==(ip4_address, ip4_address) noexcept = default;

private:
    std::uint32_t number_ = 0;
};

// What parse() gives for a text that is no address.
inline constexpr ip4_address no_address{0xFFFFFFFF};

}  // namespace replay::internet::address
