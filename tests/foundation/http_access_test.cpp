#include "foundation/http_access.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>

#include "foundation/registry.h"
#include "platform/connection_state.h"
#include "platform/paths.h"
#include "support/temporary_folder.h"

namespace {

using replay::platform::assumed_connection_state;
using replay::platform::connection_state;
namespace registry = replay::registry2;

class http_access : public testing::Test {
protected:
    http_access() { registry::close_all(); }
    ~http_access() override { registry::close_all(); }

    static bool may_connect(connection_state state) {
        const assumed_connection_state assumed(state);
        try {
            replay::internet::http::require_connection();
            return true;
        } catch (const std::runtime_error&) {
            return false;
        }
    }

    const test_support::temporary_folder folder_;
    const replay::platform::paths::scoped_home home_{folder_.path("home")};
};

TEST_F(http_access, offline_machine_is_tried_only_when_the_user_says_so) {
    const registry::key& user = registry::at(registry::tree_key::user_root);
    constexpr connection_state offline{false, connection_state::offline};
    constexpr connection_state doubtful{true, connection_state::offline};
    EXPECT_TRUE(may_connect({}));
    EXPECT_FALSE(may_connect(offline));
    EXPECT_FALSE(may_connect(doubtful));
    EXPECT_FALSE(user.get_raw(u"Always Connected")) << "nothing is written back";
    for (const std::uint32_t always_connected : {0u, 1u}) {
        user.set_integer(u"Always Connected", always_connected);
        EXPECT_TRUE(may_connect({}));
        EXPECT_EQ(may_connect(offline), always_connected == 1);
        EXPECT_EQ(may_connect(doubtful), always_connected == 1);
    }
}

}  // namespace
