#pragma once

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <exception>
#include <functional>
#include <map>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace brindlemoss::cli {

// Does `work(i)` for each i below `count` on `jobs` threads, and hands the results to `deliver`
// one at a time and in order. No thread runs far ahead of what is delivered, so that few results
// wait. Stops early when `stop()` is true. An exception of `work` or `deliver` ends it and is
// rethrown here, when all threads have ended.
template <typename result>
class ordered_work {
public:
    ordered_work(std::function<result(std::size_t)> work, std::function<void(result)> deliver,
                 std::function<bool()> stop)
        : work_(std::move(work)), deliver_(std::move(deliver)), stop_(std::move(stop)) {}

    void run(std::size_t count, unsigned jobs) {
        count_ = count;
        std::vector<std::thread> helpers;
        for (unsigned i = 1; i < jobs && i < count; ++i) {
            helpers.emplace_back([this] { take_turns(); });
        }
        take_turns();
        for (std::thread& helper : helpers) helper.join();
        if (failure_) std::rethrow_exception(failure_);
    }

private:
    static constexpr std::size_t most_ahead = 256;

    void take_turns() {
        std::unique_lock lock(mutex_);
        while (next_ < count_ && !failure_ && !stop_()) {
            if (next_ >= delivered_ + most_ahead) {
                delivery_.wait(lock);
                continue;
            }
            const std::size_t index = next_++;
            lock.unlock();
            try {
                result done = work_(index);
                lock.lock();
                waiting_.emplace(index, std::move(done));
                deliver_in_order();
            } catch (...) {
                if (!lock.owns_lock()) lock.lock();
                failure_ = std::current_exception();
            }
            delivery_.notify_all();
        }
        delivery_.notify_all();
    }

    void deliver_in_order() {
        while (!waiting_.empty() && waiting_.begin()->first == delivered_) {
            result next = std::move(waiting_.begin()->second);
            waiting_.erase(waiting_.begin());
            ++delivered_;
            deliver_(std::move(next));
        }
    }

    std::function<result(std::size_t)> work_;
    std::function<void(result)> deliver_;
    std::function<bool()> stop_;
    std::size_t count_ = 0;

    std::mutex mutex_;
    std::condition_variable delivery_;
    std::size_t next_ = 0;  // guarded by mutex_, as all below
    std::size_t delivered_ = 0;
    std::map<std::size_t, result> waiting_;
    std::exception_ptr failure_;
};

}  // namespace brindlemoss::cli
