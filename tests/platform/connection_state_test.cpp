#include "platform/connection_state.h"

#include <gtest/gtest.h>

#include "foundation/network_environment.h"
#include "foundation/stream_socket.h"

namespace {

using replay::platform::assumed_connection_state;
using replay::platform::connection_state;
using replay::platform::current_connection_state;

// The two questions differ where the call and the flag contradict each other.
TEST(connection_state, each_layer_reads_it_in_its_way) {
    constexpr std::uint32_t other_flags = 0x40 | 0x10 | 0x01;
    struct row {
        connection_state state;
        bool environment_offline;
        bool socket_offline;
    };
    const row rows[] = {
        {{true, 0}, false, false},
        {{true, connection_state::offline}, false, true},
        {{true, other_flags}, false, false},
        {{false, 0}, false, true},
        {{false, connection_state::offline | other_flags}, true, true},
        {{false, other_flags}, false, true},
    };
    for (const row& each : rows) {
        SCOPED_TRACE(testing::Message() << each.state.connected << ' ' << each.state.flags);
        const assumed_connection_state assumed(each.state);
        EXPECT_EQ(replay::internet::environment::offline(), each.environment_offline);
        EXPECT_EQ(replay::internet::socket::offline(), each.socket_offline);
    }
}

TEST(connection_state, true_state_has_the_flag_or_a_connection) {
    { const assumed_connection_state assumed({false, 0}); }
    const connection_state state = current_connection_state();
    EXPECT_EQ(state.flags, state.connected ? 0u : 0x20u);
}

}  // namespace
