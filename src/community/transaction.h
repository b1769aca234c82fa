#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "community/datagram.h"
#include "community/seat.h"
#include "community/stopwatch.h"
#include "foundation/internet_address.h"

namespace brindlemoss::analysis::community {

// What an operation cost. Belongs to whoever called it; read it when the operation is over. Sums go
// on from what stands in it.
struct community_stats {
    std::uint32_t bytes_transmitted = 0;
    std::uint32_t bytes_received = 0;
    std::uint32_t packets_transmitted = 0;
    std::uint32_t packets_received = 0;
    std::uint32_t response_time = 0;  // of the last exchange, in milliseconds
};

// One request that is under way, and the response to it. While it stands in a postbox, the postbox
// guards it.
struct transaction {
    enum class kind { awaits_response, only_sent };

    transaction(kind made, community_stats& counted, time_source now)
        : is_only_sent(made == kind::only_sent),
          stats(&counted),
          timer(now),
          is_over(is_only_sent) {}

    const bool is_only_sent;  // nobody waits for a response, over from the beginning

    std::string id;                                     // its number, as on the wire
    std::vector<replay::internet::address::ip4> asked;  // whom the request went to
    community_stats* stats;
    stopwatch timer;

    replay::internet::address::ip4 address;  // whom the response came from
    datagram response;
    bool answered = false;  // the two are there
    std::string body;       // the lines of the response, until the wait for it is over

    bool is_over;                 // the response is in, or will not come any more
    const seat* place = nullptr;  // where somebody waits for that
    bool has_left = false;        // the caller's alone
};

}  // namespace brindlemoss::analysis::community
