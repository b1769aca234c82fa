#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <utility>

namespace brindlemoss::analysis::community {

// Where a thread waits until another calls it. Shared: who calls may still be at it when the one
// called, and its thread, are long gone.
class seat {
public:
    enum class call { none, wait_is_over, receive };

    // That of this thread.
    static const std::shared_ptr<seat>& mine() {
        thread_local const auto only = std::make_shared<seat>();
        return only;
    }

    // What it is called for; none when nobody has called by then.
    call sit_until(std::chrono::steady_clock::time_point end) {
        std::unique_lock guard(lock_);
        called_.wait_until(guard, end, [this] { return call_ != call::none; });
        return std::exchange(call_, call::none);
    }

    call sit() {
        std::unique_lock guard(lock_);
        called_.wait(guard, [this] { return call_ != call::none; });
        return std::exchange(call_, call::none);
    }

    void make(call made) {
        {
            const std::lock_guard guard(lock_);
            call_ = made;
        }
        // Not under the lock, on which the one called would wait again as soon as it wakes.
        called_.notify_one();
    }

private:
    std::mutex lock_;
    std::condition_variable called_;
    call call_ = call::none;  // guarded by lock_
};

using shared_seat = std::shared_ptr<seat>;

}  // namespace brindlemoss::analysis::community
