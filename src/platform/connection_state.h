#pragma once

#include <cstdint>

namespace replay::platform {

// What the system says of the machine's way to a network.
struct connection_state {
    static constexpr std::uint32_t offline = 0x20;

    bool connected = true;
    std::uint32_t flags = 0;  // `offline` when it is not connected
};

// Connected when an interface is up that has an address other than a loopback one; also when the
// interfaces cannot be listed. Any thread may ask at any time.
connection_state current_connection_state() noexcept;

// While it lives, the whole process is told the state that it was given. One at a time.
class assumed_connection_state {
public:
    explicit assumed_connection_state(connection_state state) noexcept;
    ~assumed_connection_state();
    assumed_connection_state(const assumed_connection_state&) = delete;
    assumed_connection_state& operator=(const assumed_connection_state&) = delete;
};

}  // namespace replay::platform
