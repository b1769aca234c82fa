#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "community/datagram.h"
#include "community/stopwatch.h"
#include "foundation/internet_address.h"
#include "foundation/sync.h"

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
// guards all but `completed`.
struct transaction {
    enum class kind { awaits_response, only_sent };

    transaction(kind made, community_stats& counted, time_source now)
        : is_only_sent(made == kind::only_sent), stats(&counted), timer(now) {
        if (is_only_sent) completed.set();
    }

    const bool is_only_sent;  // nobody waits for a response, completed from the beginning

    std::string id;                                     // its number, as on the wire
    std::vector<replay::internet::address::ip4> asked;  // whom the request went to
    community_stats* stats;
    stopwatch timer;

    replay::internet::address::ip4 address;  // whom the response came from
    datagram response;
    bool answered = false;  // the two are there

    // Set when the response is in, or will not come any more.
    replay::manual_reset_event completed{replay::event_state::clear};
};

}  // namespace brindlemoss::analysis::community
