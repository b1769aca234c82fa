#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "foundation/internet_address.h"

namespace brindlemoss::analysis::community {

// A server that has answered, and what it says of itself; what it does not say is empty or 0.
struct server : replay::internet::address::ip4 {
    std::u16string name;
    std::u16string location;
    std::u16string provider;
    std::uint64_t latency = 0;  // round trip as measured here, in milliseconds
    std::uint64_t server_age = 0;
    std::uint64_t database_serial = 0;
    std::uint64_t database_age = 0;  // seconds since its last update
};

// By latency, the fastest first; of two alike the one that was asked first.
using server_list = std::multimap<std::uint64_t, server>;

}  // namespace brindlemoss::analysis::community
