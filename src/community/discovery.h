#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "community/postbox.h"
#include "community/server.h"
#include "foundation/internet_address.h"

// Which servers answer, and how fast.
namespace brindlemoss::analysis::community {

inline constexpr std::uint16_t community_port = 2409;

namespace detail {

constexpr replay::internet::address::ip4_address numbers(std::uint32_t a, std::uint32_t b,
                                                         std::uint32_t c, std::uint32_t d) {
    return replay::internet::address::ip4_address(a << 24 | b << 16 | c << 8 | d);
}

}  // namespace detail

// Asked when no server is named or the names lead nowhere. All of them are of the networks that RFC
// 5737 keeps for documentation, so that nobody is asked whom the user has not named.
inline constexpr std::array fallback_servers = {
    detail::numbers(192, 0, 2, 11),    detail::numbers(192, 0, 2, 12),
    detail::numbers(192, 0, 2, 13),    detail::numbers(192, 0, 2, 14),
    detail::numbers(192, 0, 2, 15),    detail::numbers(192, 0, 2, 16),
    detail::numbers(192, 0, 2, 17),    detail::numbers(192, 0, 2, 18),
    detail::numbers(198, 51, 100, 11), detail::numbers(198, 51, 100, 12),
    detail::numbers(198, 51, 100, 13), detail::numbers(198, 51, 100, 14),
    detail::numbers(198, 51, 100, 15), detail::numbers(198, 51, 100, 16),
    detail::numbers(198, 51, 100, 17), detail::numbers(203, 0, 113, 11),
    detail::numbers(203, 0, 113, 12),  detail::numbers(203, 0, 113, 13),
    detail::numbers(203, 0, 113, 14),  detail::numbers(203, 0, 113, 15),
    detail::numbers(203, 0, 113, 16),  detail::numbers(203, 0, 113, 17),
};

// As replay::internet::address::look_up().
using name_look_up = std::vector<replay::internet::address::ip4> (*)(const std::string& host,
                                                                     std::uint16_t port);

// The times that the client keeps to and the places that it asks; tests choose their own.
struct client_options {
    std::chrono::milliseconds shortest_attempt{500};  // the least time that a server has to answer
    std::chrono::milliseconds probe_wait{3000};       // the most that a pass waits
    time_source now = std::chrono::steady_clock::now;
    name_look_up look_up = replay::internet::address::look_up;
    std::span<const replay::internet::address::ip4_address> fallback = fallback_servers;
};

// Whom to probe: the distinct addresses of the hosts in turn. `hosts` is names or addresses with
// blanks between them, each with a port behind a colon or with community_port. What leads to no
// address is passed over; when all is, the fallback servers take its place.
std::vector<replay::internet::address::ip4> addresses_to_probe(std::string_view hosts,
                                                               const client_options& options);

// What the response to a DISCOVER request tells. Throws replay::coding::translate::invalid_codeword
// for a bad number.
server read_server(const transaction& probe);

struct discovery_result {
    server_list servers;
    std::uint32_t unreachable = 0;  // how many did not answer
};

// Probes all addresses at once. Waits until each has answered, but once one has let the time go by
// only for those whose answer is there. A server whose answer is wrong counts as neither.
discovery_result probe_servers(postbox& box,
                               const std::vector<replay::internet::address::ip4>& addresses,
                               const client_options& options);

}  // namespace brindlemoss::analysis::community
