#pragma once

#include <chrono>
#include <cstddef>
#include <exception>
#include <mutex>
#include <thread>

#include "community/client.h"
#include "community/messages.h"
#include "foundation/asynchronous_queue.h"
#include "foundation/sync.h"
#include "message/part.h"

namespace brindlemoss::spam {

// A vote of the user on its way to the community.
struct feedback_type {
    analysis::community::vote kind = analysis::community::vote::report;
    replay::internet::message2::part message;
};

// What became of the votes so far.
struct feedback_tally {
    std::size_t sent = 0;    // nobody knows whether they arrived
    std::size_t failed = 0;  // gone
    std::exception_ptr last_failure;
};

// Takes votes and sends them one after the other, in a thread of its own, in the order in which
// they came, signed with the account that the user has at that time. A vote that cannot be sent is
// told in the log and lost. Any thread may call.
class feedback {
public:
    // The client must outlive the object.
    explicit feedback(analysis::community::client& client) : client_(client) {}

    // Ends the thread, which carries the vote in work through, and waits for that. Votes that still
    // wait are lost, and the log tells how many.
    ~feedback();
    feedback(const feedback&) = delete;
    feedback& operator=(const feedback&) = delete;

    // Keeps a copy of the message and waits for nothing but, the first time, the start of the
    // thread. Throws std::system_error when that fails.
    void enqueue(analysis::community::vote kind, const replay::internet::message2::part& message);

    // Waits until each vote is sent or has failed. False when the time went by first.
    bool wait_until_done(std::chrono::milliseconds timeout);

    feedback_tally tally() const;

private:
    void start();
    void run();
    void carry_out(const feedback_type& voted);
    void send_and_count(const feedback_type& voted);
    void send(const feedback_type& voted, analysis::community::community_stats& stats);
    void note_failure();

    analysis::community::client& client_;
    replay::turnstile turnstile_;
    replay::container::asynchronous_queue<feedback_type> queue_;

    mutable std::mutex tally_lock_;
    feedback_tally tally_;  // guarded by tally_lock_

    std::once_flag started_;
    std::thread thread_;
};

}  // namespace brindlemoss::spam
