#include "foundation/http_access.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <stdexcept>

#include "foundation/registry.h"
#include "platform/connection_state.h"
#include "platform/paths.h"
#include "support/temporary_folder.h"

namespace {

using replay::platform::assumed_connection_state;
using replay::platform::connection_state;
namespace registry = replay::registry2;

bool may_connect(connection_state state, std::optional<std::uint32_t> always_connected) {
    const test_support::temporary_folder folder;
    const replay::platform::paths::scoped_home home(folder.path("home"));
    const assumed_connection_state assumed(state);
    registry::close_all();
    bool may = true;
    {
        const registry::key& user = registry::at(registry::tree_key::user_root);
        if (always_connected) user.set_integer(u"Always Connected", *always_connected);
        try {
            replay::internet::http::require_connection();
        } catch (const std::runtime_error&) {
            may = false;
        }
        // Nothing was written back.
        const auto kept = user.get_raw(u"Always Connected");
        EXPECT_EQ(kept.has_value(), always_connected.has_value());
    }
    registry::close_all();
    return may;
}

TEST(http_access, offline_machine_is_tried_only_when_the_user_says_so) {
    constexpr connection_state offline{false, connection_state::offline};
    constexpr connection_state doubtful{true, connection_state::offline};
    EXPECT_TRUE(may_connect({}, 0));
    EXPECT_TRUE(may_connect({}, {}));
    for (const connection_state state : {offline, doubtful}) {
        EXPECT_FALSE(may_connect(state, 0));
        EXPECT_FALSE(may_connect(state, {}));
        EXPECT_TRUE(may_connect(state, 1));
    }
}

}  // namespace
