#pragma once

#include <sched.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <string>
#include <thread>
#include <utility>

namespace test_support {

// A thread that a test can see wait: instead of sleeping and hoping, ask whether it blocks. What
// it waits for must come to it before it is destroyed.
class watched_thread {
public:
    template <class F>
    explicit watched_thread(F work)
        : thread_([this, work = std::move(work)] {
              id_ = ::gettid();
              work();
              is_done_ = true;
          }) {}
    ~watched_thread() { thread_.join(); }
    watched_thread(const watched_thread&) = delete;
    watched_thread& operator=(const watched_thread&) = delete;

    // Returns when the thread sleeps in the system (true) or has done its work (false).
    bool blocks() const {
        constexpr int sure = 20;  // looks in a row, lest a lock held for an instant deceive us
        for (int looks = 0; looks < sure;) {
            if (is_done_) return false;
            looks = is_asleep() ? looks + 1 : 0;
            ::sched_yield();
        }
        return !is_done_;
    }

    // Waits for the end of the work.
    void finish() const {
        while (!is_done_) ::sched_yield();
    }

private:
    bool is_asleep() const {
        if (id_ == 0) return false;
        std::ifstream file("/proc/self/task/" + std::to_string(id_) + "/stat");
        std::string line;
        std::getline(file, line);
        const auto name_end = line.rfind(')');  // the state stands behind the thread's name
        return name_end != line.npos && line.compare(name_end, 3, ") S") == 0;
    }

    std::atomic<pid_t> id_{0};
    std::atomic<bool> is_done_{false};
    std::thread thread_;
};

}  // namespace test_support
