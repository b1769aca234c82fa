#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

#include "analysis/record.h"
#include "community/discovery.h"
#include "community/messages.h"
#include "community/postbox.h"
#include "community/server.h"
#include "community/transaction.h"
#include "foundation/sync.h"
#include "message/part.h"

namespace brindlemoss::analysis::community {

// How long one attempt waits for this server.
std::chrono::milliseconds time_to_answer(const server& asked, const client_options& options);

// Talks to the servers of the community: asks what is known of the signatures of a message, and
// tells verdicts and votes.
//
// Callers that wait receive the responses, for each other too, and a thread of its own does while
// nobody waits; another looks from time to time which servers there are. Before the first look at
// them there is neither a socket nor a thread. Any number of threads may call; none may be in a
// call when the client is destroyed, which ends both threads and waits for them, at most as long as
// the look-up of a name takes.
//
// Each operation goes to the fastest server. It adds what it cost to `stats` and tells in `lines`
// what it did; both are the caller's and are complete when it returns or throws. Beside what is
// said there, all throw discovery_pending when no server is known, and too_large when the request
// does not fit a datagram.
class client {
public:
    // `local` is bound unless it is the default address. `hosts` are the names of the servers as
    // addresses_to_probe() takes them. With `refresh`, in seconds, not 0 the constructor waits for
    // a first look at the servers, which then repeats by itself; else there is none until
    // discover() is called. Throws what the transport throws.
    client(const replay::internet::address::ip4& local, std::string hosts, std::uint32_t refresh,
           client_options options = {});
    ~client();
    client(const client&) = delete;
    client& operator=(const client&) = delete;

    // Asks about the signatures, and applies the response to the list as read_match_response()
    // does; when it throws, the list is as it was. A server has four times its latency to answer,
    // then the next one is asked, round and round until the budget is spent: then throws timed_out.
    // That is looked at after each attempt and the pause that follows it. Throws
    // malformed_response and replay::coding::translate::invalid_codeword for what no server should
    // answer.
    void match(signature_list& signatures, report& lines, community_stats& stats,
               std::chrono::milliseconds budget);

    // These go out once, and whether they arrive is never known. Throw timed_out when the system
    // would not send them.
    void touch(std::u16string_view class_text, const signature_list& signatures, report& lines,
               community_stats& stats);
    void report_message(const replay::internet::message2::part& message, community_stats& stats,
                        const credentials& voter);
    void revoke_message(const replay::internet::message2::part& message, community_stats& stats,
                        const credentials& voter);

    // Looks in the calling thread which servers answer, which takes client_options::probe_wait at
    // most and the look-up of the names. The operations use what it found from then on. The first
    // one throws what the transport throws.
    discovery_result discover();

    // As the last look found them.
    server_list servers();

private:
    using shared_servers = std::shared_ptr<const server_list>;

    void open();
    void run_receiver();
    void run_discovery();
    void stop();

    void send_only(datagram request, report& lines, community_stats& stats);
    void execute(transaction& exchange, report& lines, const datagram& request,
                 std::chrono::milliseconds budget);
    shared_servers usable_servers(report& lines, std::chrono::milliseconds budget);
    void attempt(transaction& exchange, report& lines, std::string_view bytes, const server& asked,
                 std::chrono::milliseconds limit);
    shared_servers current_servers();

    const client_options options_;
    const replay::internet::address::ip4 local_;
    const std::string hosts_;
    const std::chrono::seconds refresh_;
    postbox postbox_;

    replay::turnstile turnstile_;
    replay::manual_reset_event ready_{replay::event_state::clear};  // the receiver is there
    replay::manual_reset_event discovery_requested_{replay::event_state::clear};
    // Set by the first look and never cleared.
    replay::manual_reset_event discovery_started_{replay::event_state::clear};
    replay::manual_reset_event discovery_completed_{replay::event_state::clear};

    replay::mutex lock_;  // guards servers_; never held across a wait
    shared_servers servers_ = std::make_shared<const server_list>();

    replay::mutex opening_;  // guards the making of the socket and of the receiver
    std::thread receiver_;
    std::thread discovery_;
};

}  // namespace brindlemoss::analysis::community
