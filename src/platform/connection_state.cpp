#include "platform/connection_state.h"

#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>

#include <atomic>
#include <memory>

namespace replay::platform {

namespace {

// The flags of a state that is assumed, and above them whether it is connected and assumed at all.
std::atomic<std::uint64_t> assumed{0};
constexpr std::uint64_t connected_bit = std::uint64_t{1} << 32;
constexpr std::uint64_t assumed_bit = std::uint64_t{1} << 33;

bool is_network_address(const sockaddr* address) {
    if (address == nullptr) return false;
    if (address->sa_family == AF_INET) {
        const auto* ip4 = reinterpret_cast<const sockaddr_in*>(address);
        return ntohl(ip4->sin_addr.s_addr) >> IN_CLASSA_NSHIFT != IN_LOOPBACKNET;
    }
    if (address->sa_family == AF_INET6) {
        return !IN6_IS_ADDR_LOOPBACK(&reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr);
    }
    return false;
}

}  // namespace

connection_state current_connection_state() noexcept {
    if (const std::uint64_t state = assumed; (state & assumed_bit) != 0) {
        return {.connected = (state & connected_bit) != 0,
                .flags = static_cast<std::uint32_t>(state)};
    }
    ifaddrs* first = nullptr;
    if (::getifaddrs(&first) != 0) return {};
    const std::unique_ptr<ifaddrs, void (*)(ifaddrs*)> interfaces(first, ::freeifaddrs);
    for (const ifaddrs* each = first; each != nullptr; each = each->ifa_next) {
        if ((each->ifa_flags & IFF_UP) != 0 && is_network_address(each->ifa_addr)) return {};
    }
    return {.connected = false, .flags = connection_state::offline};
}

assumed_connection_state::assumed_connection_state(connection_state state) noexcept {
    assumed = assumed_bit | (state.connected ? connected_bit : 0) | state.flags;
}

assumed_connection_state::~assumed_connection_state() {
    assumed = 0;
}

}  // namespace replay::platform
