#include "community/communication.h"

#include <exception>
#include <string>

#include "foundation/network_environment.h"
#include "foundation/registry.h"
#include "foundation/sync.h"

namespace brindlemoss::spam {

namespace community = analysis::community;
namespace registry = replay::registry2;
using registry::setting_of;
using registry::tree_key;
using registry::write_back;
using replay::internet::message2::part;
using std::chrono::milliseconds;

namespace {

// A default goes into the machine's tree; but many users may not write there, and can do without.
template <typename read>
auto with_write_back(read&& get) {
    try {
        return get(write_back::yes);
    } catch (const registry::value_error&) {
        return get(write_back::no);
    }
}

std::uint32_t integer(const registry::setting& row) {
    return with_write_back([&](write_back mode) { return registry::get_integer(row, mode); });
}

std::string text(const registry::setting& row) {
    return with_write_back([&](write_back mode) { return registry::get_utf8(row, mode); });
}

constexpr const registry::setting& timeout_setting =
    setting_of(tree_key::machine_community, u"Timeout");
constexpr const registry::setting& server_setting =
    setting_of(tree_key::machine_community, u"Server");
constexpr const registry::setting& refresh_setting =
    setting_of(tree_key::machine_community, u"Refresh");

// The object of the process. It is destroyed by whoever lets it go last; `is_gone` tells when.
struct running {
    replay::mutex lock;  // guards the rest
    std::shared_ptr<communication> object;
    std::shared_ptr<replay::manual_reset_event> is_gone;
};

// Never destroyed: threads of a host may call until the very end.
running& process_wide() {
    static running& only = *new running;
    return only;
}

}  // namespace

std::shared_ptr<communication> communication::instance() {
    running& only = process_wide();
    const replay::scope guard(only.lock);
    if (only.object) return only.object;
    only.is_gone = std::make_shared<replay::manual_reset_event>(replay::event_state::clear);
    only.object = {new communication, [is_gone = only.is_gone](communication* last) {
                       delete last;
                       is_gone->set();
                   }};
    return only.object;
}

void communication::shutdown() {
    running& only = process_wide();
    const replay::scope guard(only.lock);
    if (!only.object) return;
    only.object.reset();
    only.is_gone->wait();
}

bool communication::offline() {
    constexpr const registry::setting& always_connected =
        setting_of(tree_key::user_root, u"Always Connected");
    if (registry::get_integer(always_connected, write_back::yes) != 0) return false;
    return replay::internet::environment::offline();
}

communication::communication(community::client_options options)
    : timeout_(integer(timeout_setting)),
      client_({}, text(server_setting), integer(refresh_setting), options),
      feedback_(client_) {}

std::optional<std::uint32_t> communication::round_trip() try {
    constexpr milliseconds patience(3000);
    analysis::signature_list no_signatures;
    analysis::report nobody_reads;
    community::community_stats stats;
    client_.match(no_signatures, nobody_reads, stats, patience);
    return stats.response_time;
} catch (const std::exception&) {
    return std::nullopt;
}

void communication::enqueue_report(const part& message) {
    feedback_.enqueue(community::vote::report, message);
}

void communication::enqueue_revoke(const part& message) {
    feedback_.enqueue(community::vote::revoke, message);
}

}  // namespace brindlemoss::spam
