#pragma once

#include <netinet/in.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "foundation/exception.h"
#include "foundation/ip4_address.h"

namespace replay::internet::address {

class generic : public exception {
public:
    explicit generic(std::string message = {});
};

class invalid_address_format : public generic {
public:
    explicit invalid_address_format(std::string message = {});
};

class host_not_found : public generic {
public:
    explicit host_not_found(std::string message = {});
};

class service_not_found : public generic {
public:
    explicit service_not_found(std::string message = {});
};

// Where a socket of version 4 of the Internet protocol is bound or sends to: host and port, in the
// 16 bytes of the system's sockaddr_in. The number of a host alone, as texts of mails have it, is
// an ip4_address.
class ip4 {
public:
    // 0.0.0.0, port 0
    ip4() noexcept;

    ip4(ip4_address host, std::uint16_t port) noexcept;

    // The first address of look_up().
    ip4(const std::string& host, std::uint16_t port);

    ip4(const ip4&) = default;
    ip4& operator=(const ip4&) = default;

    // Takes the bytes of a sockaddr_in. Any other size than 16 throws invalid_address_format.
    virtual void assign(const void* bytes, std::size_t size);

    virtual const sockaddr* data() const noexcept;
    virtual sockaddr* mutable_data() noexcept;
    virtual std::size_t size() const noexcept;  // 16

    // The flags of text(); `numeric` keeps the system from asking for the host's name.
    static constexpr int short_name = 1;
    static constexpr int numeric = 2;
    static constexpr int name_required = 4;

    // The host without the port. Throws host_not_found and others of this namespace.
    virtual std::string text(int flags) const;

    virtual std::uint16_t port() const noexcept;  // in host order

    // By family, host and port.
    virtual bool equal(const ip4& other) const noexcept;
    virtual bool not_equal(const ip4& other) const noexcept;

    virtual ~ip4() = default;

    ip4_address host() const noexcept;

    friend bool operator==(const ip4& left, const ip4& right) noexcept { return left.equal(right); }

private:
    sockaddr_in address_;
};

// The distinct IPv4 addresses of a host, in the order in which the system gives them, at least one.
// `host` is a name or dotted numbers. May wait for name servers. Throws host_not_found and others
// of this namespace.
std::vector<ip4> look_up(const std::string& host, std::uint16_t port);

}  // namespace replay::internet::address
