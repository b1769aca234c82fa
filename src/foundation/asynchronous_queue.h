#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <string>
#include <utility>

#include "foundation/exception.h"
#include "foundation/sync.h"

namespace replay::container {

// Hands items from any number of threads to any number of threads, in the order of pushing and
// without a limit on their number. The queue is its own lock; who calls pop() must not hold it. All
// threads must have left the queue before it is destroyed.
template <class T>
class asynchronous_queue : public mutex {
public:
    class generic : public exception {
    public:
        explicit generic(std::string message = {}) : exception(std::move(message)) {
            append_domain("generic");
        }
    };

    // The queue gives nothing any more.
    class closed : public generic {
    public:
        explicit closed(std::string message = {}) : generic(std::move(message)) {
            this->append_domain("closed");
        }
    };

    // Appends a copy, made under the lock. Never waits for room.
    void push(const T& item) {
        const scope guard(*this);
        items_.push_back(item);
        announce();
    }
    void push(T&& item) {
        const scope guard(*this);
        items_.push_back(std::move(item));
        announce();
    }

    // Waits for an item and moves it into `item`. Throws `closed` once the queue is closed, even
    // when items are left. When the assignment throws, the item stays in the queue.
    void pop(T& item) {
        scope guard(*this);
        while (items_.empty() && !is_closed_) {
            release();
            signal_.wait();
            acquire();
        }
        if (is_closed_) {
            signal_.set();  // wakes the next one that waits
            throw closed();
        }
        wake_next_at_exit wake{*this};
        item = std::move(items_.front());
        items_.pop_front();
    }

    void close() {
        const scope guard(*this);
        is_closed_ = true;
        signal_.set();
        settled_.set();
    }

    // For those that pop: tells that one item is dealt with, once for each. Only
    // wait_until_settled() asks for it.
    void settle() {
        const scope guard(*this);
        if (--unsettled_ == 0) settled_.set();
    }

    // Waits until the queue is empty and every item that was taken is dealt with, at most for that
    // long. False when the time went by, or the queue was closed with items unsettled.
    bool wait_until_settled(std::chrono::milliseconds timeout) {
        if (!settled_.wait(timeout)) return false;
        const scope guard(*this);
        return unsettled_ == 0 || !is_closed_;
    }

    // The number of items not taken yet.
    std::size_t size() {
        const scope guard(*this);
        return items_.size();
    }

private:
    void announce() {
        ++unsettled_;
        if (!is_closed_) settled_.clear();
        signal_.set();
    }

    // The event frees one waiter at a time, so each passes it on while there are items.
    struct wake_next_at_exit {
        asynchronous_queue& queue;
        ~wake_next_at_exit() {
            if (!queue.items_.empty()) queue.signal_.set();
        }
    };

    auto_reset_event signal_{event_state::clear};
    manual_reset_event settled_{event_state::set};

    // Guarded by the lock:
    bool is_closed_ = false;
    std::size_t unsettled_ = 0;  // pushed and not dealt with
    std::deque<T> items_;
};

}  // namespace replay::container
