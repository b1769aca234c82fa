#include "foundation/network_environment.h"

#include <utility>

#include "platform/connection_state.h"

namespace replay::internet {

environment::generic::generic(std::string message) : exception(std::move(message)) {
    append_domain("internet.environment");
}

environment::subsystem_not_ready::subsystem_not_ready(std::string message)
    : generic(std::move(message)) {
    append_domain("subsystem_not_ready");
}

environment::subsystem_failed::subsystem_failed(std::string message) : generic(std::move(message)) {
    append_domain("subsystem_failed");
}

environment::version_not_supported::version_not_supported(std::string message)
    : generic(std::move(message)) {
    append_domain("version_not_supported");
}

bool environment::offline() noexcept {
    const platform::connection_state state = platform::current_connection_state();
    return !state.connected && (state.flags & platform::connection_state::offline) != 0;
}

}  // namespace replay::internet
