#include "community/feedback.h"

#include <cstdint>
#include <string>

#include "foundation/counters.h"
#include "foundation/log.h"
#include "foundation/module.h"
#include "foundation/registry.h"

namespace brindlemoss::spam {

namespace community = analysis::community;
namespace registry = replay::registry2;
using queue = replay::container::asynchronous_queue<feedback_type>;
using registry::tree_key;
using replay::internet::message2::part;

namespace {

constexpr std::int32_t progress = 0;
constexpr std::int32_t notable = 1;
constexpr std::int32_t failures = 3;

constexpr std::uint32_t product_number = 1;

// A line that cannot be written is no reason to end the thread.
void log(std::int32_t level, const std::string& line) noexcept try {
    module::instance().log_of(subsystem::communication).write(level, line);
} catch (...) {
}

// Read for each vote: a login between two of them counts from the second on.
community::credentials current_account() {
    constexpr auto leave_it_missing = registry::write_back::no;
    const registry::key& account = registry::at(tree_key::user_account);
    return {product_number, account.get_integer(u"Identity", 0, leave_it_missing),
            account.get_bytes_text(u"Password", {}, leave_it_missing)};
}

}  // namespace

feedback::~feedback() {
    turnstile_.request_stop();
    queue_.close();
    turnstile_.request_stop();
    turnstile_.idle.wait();
    if (thread_.joinable()) thread_.join();
    if (const std::size_t left = queue_.size(); left != 0) {
        log(notable, "Discarded " + std::to_string(left) + " items from Feedback Queue");
    }
    log(progress, "Feedback thread stopped");
}

void feedback::start() {
    thread_ = std::thread(&feedback::run, this);
    turnstile_.busy.wait();
}

void feedback::enqueue(community::vote kind, const part& message) {
    std::call_once(started_, &feedback::start, this);
    queue_.push(feedback_type{kind, message});
}

bool feedback::wait_until_done(std::chrono::milliseconds timeout) {
    return queue_.wait_until_settled(timeout);
}

feedback_tally feedback::tally() const {
    const std::lock_guard guard(tally_lock_);
    return tally_;
}

void feedback::run() {
    const replay::scope inside(turnstile_);
    while (!turnstile_.stopping()) {
        try {
            feedback_type voted;
            queue_.pop(voted);
            carry_out(voted);
            queue_.settle();
        } catch (const queue::closed&) {
            return;
        } catch (const std::exception& failure) {
            log(failures, std::string("Feedback: ") + failure.what());
        }
    }
}

void feedback::carry_out(const feedback_type& voted) {
    try {
        send_and_count(voted);
    } catch (const std::exception& failure) {
        log(failures, std::string("Feedback: ") + failure.what());
    }
}

void feedback::send_and_count(const feedback_type& voted) {
    community::community_stats stats;
    send(voted, stats);
    replay::counters::add("Communication", "Bytes Transmitted", stats.bytes_transmitted);
    replay::counters::add("Communication", "Bytes Received", stats.bytes_received);
}

void feedback::send(const feedback_type& voted, community::community_stats& stats) try {
    const community::credentials voter = current_account();
    if (voted.kind == community::vote::report) {
        client_.report_message(voted.message, stats, voter);
    } else {
        client_.revoke_message(voted.message, stats, voter);
    }
    const std::lock_guard guard(tally_lock_);
    ++tally_.sent;
} catch (...) {
    note_failure();
    throw;
}

void feedback::note_failure() {
    const std::lock_guard guard(tally_lock_);
    ++tally_.failed;
    tally_.last_failure = std::current_exception();
}

}  // namespace brindlemoss::spam
