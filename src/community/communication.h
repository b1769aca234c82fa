#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>

#include "community/client.h"
#include "community/discovery.h"
#include "community/feedback.h"
#include "message/part.h"

namespace brindlemoss::spam {

// The program's one line to the community: a client and the queue of the user's votes, as the
// machine's settings want them. Any thread may call.
class communication {
public:
    // The one of the process, made on first use. While the settings name servers this waits for the
    // first look at them, 3 s where one is silent, and so do all that ask meanwhile. Throws what
    // the constructor throws.
    //
    // Keep what you get no longer than an operation takes, and ask for it no second time meanwhile:
    // shutdown() waits for all who hold it.
    static std::shared_ptr<communication> instance();

    // Ends the one of the process, if there is one: returns when its threads are gone. The next
    // instance() makes another.
    static void shutdown();

    // Whether the machine is known to have no network; never while the user's "Always Connected" is
    // not 0. Throws registry2::generic.
    static bool offline();

    // Throws what the transport and the registry throw.
    explicit communication(analysis::community::client_options options = {});

    // How long one query may take.
    std::chrono::milliseconds timeout() const { return timeout_; }

    analysis::community::client& client() { return client_; }

    // Whether a server answers within 3 s.
    bool ping() { return round_trip().has_value(); }

    // How long its answer took, in milliseconds.
    std::optional<std::uint32_t> round_trip();

    // Looks in the calling thread which servers answer. Throws what the transport throws.
    analysis::community::discovery_result reset() { return client_.discover(); }

    // The user's votes. These wait for nothing; feedback tells what becomes of them.
    void enqueue_report(const replay::internet::message2::part& message);
    void enqueue_revoke(const replay::internet::message2::part& message);
    spam::feedback& feedback() { return feedback_; }

private:
    const std::chrono::milliseconds timeout_;
    analysis::community::client client_;
    spam::feedback feedback_;
};

}  // namespace brindlemoss::spam
