#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

namespace brindlemoss::analysis::community {

// Where stopwatches read the time; a test may give another.
using time_source = std::chrono::steady_clock::time_point (*)();

// Measures from the last of its starts on. Not synchronised.
class stopwatch {
public:
    explicit stopwatch(time_source now) : now_(now) {}

    void restart() { starts_.push_back(now_()); }

    // Whole milliseconds since the newest start, 0 if there is none.
    std::uint64_t elapsed() const {
        if (starts_.empty()) return 0;
        const auto passed = now_() - starts_.back();
        return static_cast<std::uint64_t>(
            std::chrono::duration_cast<std::chrono::milliseconds>(passed).count());
    }

    // The same, and forgets that start: the one before it is now the newest.
    std::uint64_t finish() {
        const std::uint64_t lap = elapsed();
        if (!starts_.empty()) starts_.pop_back();
        return lap;
    }

private:
    time_source now_;
    std::vector<std::chrono::steady_clock::time_point> starts_;
};

}  // namespace brindlemoss::analysis::community
