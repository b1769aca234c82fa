#include "community/postbox.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "foundation/translate.h"

namespace brindlemoss::analysis::community {

using replay::internet::address::ip4;
using std::chrono::milliseconds;
using clock = std::chrono::steady_clock;
namespace transport = replay::internet::transport;

namespace {

constexpr std::string_view number_key = "RID";

// Added to the time of the clock, longer waits would pass its end.
constexpr milliseconds longest_wait = std::chrono::hours(24 * 365);

// A wait of the system that ends by itself every so often costs nothing, while to tell it the time
// of each wait would be a call more.
constexpr milliseconds look_at_time(100);

// While callers come again and again they receive for themselves; for longer than this nothing
// that has arrived stays unread.
constexpr milliseconds lull(50);

bool has_asked(const transaction& asking, const ip4& address) {
    return std::find(asking.asked.begin(), asking.asked.end(), address) != asking.asked.end();
}

}  // namespace

void postbox::open(const ip4& local) {
    socket_.open(local);
    if (local.not_equal(ip4())) socket_.bind(local);
    socket_.set_receive_timeout(static_cast<std::uint32_t>(look_at_time.count()));
    buffer_.emplace(socket_.maximum_message_size());
}

void postbox::enter(transaction& entered, datagram& request) {
    // Made first: nothing may fail once the table knows the transaction.
    std::string& number = request.records[std::string(number_key)];
    const std::lock_guard guard(lock_);
    entered.id = encode_numeral(++last_number_);
    number = entered.id;
    if (is_closed_) {
        entered.is_over = true;
    } else {
        pending_.emplace(entered.id, &entered);
    }
}

void postbox::leave(transaction& left) {
    if (std::exchange(left.has_left, true)) return;
    const std::lock_guard guard(lock_);
    pending_.erase(left.id);
}

void postbox::send(transaction& sender, const ip4& to, std::string_view bytes, timer_start start) {
    {
        const std::lock_guard guard(lock_);
        if (!has_asked(sender, to)) sender.asked.push_back(to);
        if (start == timer_start::before) sender.timer.restart();
    }
    socket_.send(to, bytes);
    sender.stats->bytes_transmitted += static_cast<std::uint32_t>(bytes.size());
    ++sender.stats->packets_transmitted;
    if (start == timer_start::before) return;
    const std::lock_guard guard(lock_);
    sender.timer.restart();
}

bool postbox::wait(transaction& waiting, milliseconds timeout) {
    if (!attend(waiting.is_over, waiting.place, timeout)) return false;
    if (waiting.is_only_sent) return true;
    waiting.has_left = true;  // taken out by who delivered the response
    // Read here and not where it was received: that would keep the others waiting.
    waiting.response.parse_lines(std::exchange(waiting.body, {}));
    return true;
}

bool postbox::pause(milliseconds timeout) {
    const seat* nobody_calls = nullptr;
    return attend(is_closed_, nobody_calls, timeout);
}

bool postbox::attend(const bool& is_over, const seat*& place, milliseconds timeout) {
    hold guard(lock_);
    if (timeout.count() <= 0) return is_over;
    const time_point end = clock::now() + std::min(timeout, longest_wait);
    bool receives = false;
    while (!is_over && clock::now() < end) {
        if (!is_received_) receives = is_received_ = true;
        if (receives) {
            receive_one(guard, end);
            continue;
        }
        const seat::call made = sit(guard, place, end);
        if (made == seat::call::wait_is_over) return true;
        receives = made == seat::call::receive;
    }
    const bool in_time = is_over;
    if (receives) hand_on(guard);
    return in_time;
}

// Gives the lock back when the wait is over: the response then belongs to the caller alone.
seat::call postbox::sit(hold& guard, const seat*& place, time_point end) {
    const shared_seat& mine = seat::mine();
    waiting_.push_back(mine);
    place = mine.get();
    guard.unlock();
    seat::call made = mine->sit_until(end);
    if (made == seat::call::none) {
        guard.lock();
        if (take_out(mine.get()) == nullptr) {
            guard.unlock();
            made = mine->sit();  // who has taken it out is about to call
        }
    }
    if (made == seat::call::receive) guard.lock();
    place = nullptr;
    return made;
}

// Whoever takes a seat out of those that wait has to call it, once.
shared_seat postbox::take_out(const seat* wanted) {
    const auto found = std::find_if(waiting_.begin(), waiting_.end(),
                                    [&](const shared_seat& each) { return each.get() == wanted; });
    if (found == waiting_.end()) return nullptr;
    shared_seat taken = std::move(*found);
    waiting_.erase(found);
    return taken;
}

void postbox::receive_unattended() {
    hold guard(lock_);
    std::uint64_t seen = times_left_;
    while (!is_closed_) {
        if (is_received_ || std::exchange(seen, times_left_) != times_left_) {
            closed_.wait_for(guard, lull, [this] { return is_closed_; });
            continue;
        }
        is_received_ = true;
        // Until there is somebody who will soon be back and then receive.
        do {
            receive_one(guard, time_point::max());
        } while (!is_closed_ && answered_ == nullptr && waiting_.empty());
        hand_on(guard);
        guard.lock();
    }
}

void postbox::receive_one(hold& guard, time_point end) {
    guard.unlock();
    if (answered_) std::exchange(answered_, nullptr)->make(seat::call::wait_is_over);
    arrival arrived;
    const bool is_read = read_datagram(arrived, end);
    guard.lock();
    if (is_read) answered_ = deliver(arrived);
    // The system tells by an error what became of earlier datagrams; a run of errors is of another
    // kind and must not take all of a processor.
    if (errors_in_a_row_ <= 100) return;
    closed_.wait_for(guard, milliseconds(10), [this] { return is_closed_; });
}

// Whether there is a datagram now.
bool postbox::read_datagram(arrival& arrived, time_point end) try {
    const auto left = std::chrono::ceil<milliseconds>(end - clock::now());
    const bool looks_at_time = left >= look_at_time && left <= longest_wait;
    if (!looks_at_time && !socket_.wait(left)) return false;
    socket_.receive(arrived.from, *buffer_);
    errors_in_a_row_ = 0;
    arrived.body = arrived.head.parse_head(buffer_->text());
    return true;
} catch (const transport::udp::raw::operation_timed_out&) {
    return false;
} catch (const replay::coding::translate::invalid_codeword&) {
    return false;
} catch (const std::exception&) {
    ++errors_in_a_row_;
    return false;
}

// Gives the seat where somebody waits for this response, if there is one.
shared_seat postbox::deliver(arrival& arrived) {
    const std::string* number = arrived.head.find(number_key);
    if (number == nullptr) return nullptr;
    const auto found = pending_.find(*number);
    if (found == pending_.end() || !has_asked(*found->second, arrived.from)) return nullptr;
    transaction& answered = *found->second;
    answered.stats->response_time = static_cast<std::uint32_t>(answered.timer.finish());
    answered.stats->bytes_received += static_cast<std::uint32_t>(buffer_->size());
    ++answered.stats->packets_received;
    answered.address = arrived.from;
    answered.response = std::move(arrived.head);
    answered.body = std::move(arrived.body);
    answered.answered = true;
    if (answered.is_only_sent) return nullptr;
    pending_.erase(found);
    answered.is_over = true;
    return take_out(answered.place);
}

// Gives the lock back too.
void postbox::hand_on(hold& guard) {
    const shared_seat answered = std::exchange(answered_, nullptr);
    shared_seat next;
    if (waiting_.empty()) {
        is_received_ = false;
        ++times_left_;
    } else {
        // The newest has the longest to wait, so that the receiving seldom changes hands.
        next = std::move(waiting_.back());
        waiting_.pop_back();
    }
    guard.unlock();
    if (next) next->make(seat::call::receive);
    if (answered) answered->make(seat::call::wait_is_over);
}

void postbox::close() {
    if (buffer_) socket_.close();
    const std::lock_guard guard(lock_);
    is_closed_ = true;
    for (const auto& [number, waiting] : pending_) waiting->is_over = true;
    pending_.clear();
    closed_.notify_all();
    for (const shared_seat& each : std::exchange(waiting_, {})) {
        each->make(seat::call::wait_is_over);
    }
}

}  // namespace brindlemoss::analysis::community
