#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "community/communication.h"
#include "foundation/registry.h"
#include "support/scripted_peer.h"
#include "support/stored_lists.h"

namespace test_support {

// A server of the community that answers searches, and whatever else by `others`.
inline scripted_peer::script community_server(scripted_peer::script others) {
    return [others = std::move(others)](const std::string& request) -> replies {
        if (!request.starts_with("DISCOVER")) return others(request);
        return {response_to(request, "SRV-FQDN=one%2Eexample\tSRV-LOCATION=Oslo\tDB-SERIAL=BA")};
    };
}

// One that knows nothing of any signature.
inline replies nothing_known(const std::string& request) {
    if (!request.starts_with("MATCH")) return {};
    return {response_to(request, "SCHEMA=1\tDB-SERIAL=BA\tDB-AGE=B")};
}

// A store of its own whose settings name no server until the test does. The communication of the
// process ends with it.
class community_home : protected stored_lists {
public:
    community_home() { brindlemoss::spam::communication::shutdown(); }  // one of another home
    ~community_home() { brindlemoss::spam::communication::shutdown(); }

    static void use(std::string_view hosts, std::uint32_t refresh = 3600) {
        const auto& community = replay::registry2::at(key::machine_community);
        community.set_bytes_text(u"Server", hosts);
        community.set_integer(u"Refresh", refresh);
    }

    static std::uint32_t counter(key group, std::u16string_view name) {
        return replay::registry2::at(group).get_integer(name, 0, replay::registry2::write_back::no);
    }
};

}  // namespace test_support
