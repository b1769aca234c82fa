#include "foundation/internet_address.h"

#include <netdb.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string_view>
#include <utility>

namespace replay::internet::address {

namespace {

[[noreturn]] void fail(const char* call, int code) {
    const std::string text = std::string(call) + " failed";
    switch (code) {
        case EAI_NONAME:
        case EAI_NODATA:
        case EAI_AGAIN:
        case EAI_FAIL: throw host_not_found(text);
        case EAI_SERVICE: throw service_not_found(text);
        case EAI_FAMILY:
        case EAI_ADDRFAMILY: throw invalid_address_format(text);
        default: throw generic(std::string(call) + " returned status " + ::gai_strerror(code));
    }
}

int system_flags(int flags) {
    int system = 0;
    if ((flags & ip4::short_name) != 0) system |= NI_NOFQDN;
    if ((flags & ip4::numeric) != 0) system |= NI_NUMERICHOST;
    if ((flags & ip4::name_required) != 0) system |= NI_NAMEREQD;
    return system;
}

}  // namespace

generic::generic(std::string message) : exception(std::move(message)) {
    append_domain("internet.address");
}

invalid_address_format::invalid_address_format(std::string message) : generic(std::move(message)) {
    append_domain("invalid_address_format");
}

host_not_found::host_not_found(std::string message) : generic(std::move(message)) {
    append_domain("host_not_found");
}

service_not_found::service_not_found(std::string message) : generic(std::move(message)) {
    append_domain("service_not_found");
}

ip4::ip4() noexcept : ip4(ip4_address(), 0) {}

ip4::ip4(ip4_address host, std::uint16_t port) noexcept : address_{} {
    address_.sin_family = AF_INET;
    address_.sin_addr.s_addr = htonl(host.number());
    address_.sin_port = htons(port);
}

ip4::ip4(const std::string& host, std::uint16_t port) : ip4(look_up(host, port).front()) {}

void ip4::assign(const void* bytes, std::size_t size) {
    if (size != sizeof address_) throw invalid_address_format("Size mismatch");
    std::memcpy(&address_, bytes, size);
}

const sockaddr* ip4::data() const noexcept {
    return reinterpret_cast<const sockaddr*>(&address_);
}

sockaddr* ip4::mutable_data() noexcept {
    return reinterpret_cast<sockaddr*>(&address_);
}

std::size_t ip4::size() const noexcept {
    return sizeof address_;
}

std::string ip4::text(int flags) const {
    char name[NI_MAXHOST];
    const int code =
        ::getnameinfo(data(), sizeof address_, name, sizeof name, nullptr, 0, system_flags(flags));
    if (code != 0) fail("getnameinfo()", code);
    return name;
}

std::uint16_t ip4::port() const noexcept {
    return ntohs(address_.sin_port);
}

bool ip4::equal(const ip4& other) const noexcept {
    return address_.sin_family == other.address_.sin_family &&
           address_.sin_port == other.address_.sin_port &&
           address_.sin_addr.s_addr == other.address_.sin_addr.s_addr;
}

bool ip4::not_equal(const ip4& other) const noexcept {
    return !equal(other);
}

ip4_address ip4::host() const noexcept {
    return ip4_address(ntohl(address_.sin_addr.s_addr));
}

std::vector<ip4> look_up(const std::string& host, std::uint16_t port) {
    // What the system would read up to a NUL is another name.
    if (host.empty() || host.find('\0') != std::string::npos) fail("getaddrinfo()", EAI_NONAME);
    addrinfo hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_DGRAM;  // any: without one each address comes once for every type
    addrinfo* first = nullptr;
    if (const int code = ::getaddrinfo(host.c_str(), nullptr, &hints, &first); code != 0) {
        fail("getaddrinfo()", code);
    }
    const std::unique_ptr<addrinfo, void (*)(addrinfo*)> results(first, ::freeaddrinfo);
    std::vector<ip4> found;
    for (const addrinfo* each = first; each != nullptr; each = each->ai_next) {
        if (each->ai_family != AF_INET || each->ai_addrlen != sizeof(sockaddr_in)) continue;
        ip4 address;
        address.assign(each->ai_addr, each->ai_addrlen);
        address = ip4(address.host(), port);
        if (std::find(found.begin(), found.end(), address) == found.end()) {
            found.push_back(address);
        }
    }
    if (found.empty()) fail("getaddrinfo()", EAI_NONAME);
    return found;
}

}  // namespace replay::internet::address
