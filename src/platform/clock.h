#pragma once

#include <chrono>
#include <cstdint>

// The time of day. All of the program asks here, so that a test can set it; for deadlines use
// std::chrono::steady_clock, for what work may cost processor_time. Every function may be called
// from any thread.
namespace replay::platform::clock {

using time_point = std::chrono::system_clock::time_point;

time_point now() noexcept;

// Whole seconds since the beginning of 1970, UTC.
std::int64_t seconds_since_1970() noexcept;

// A moment as the user's calendar and wall clock show it.
struct broken_down_time {
    int year;    // 2024
    int month;   // 1 to 12
    int day;     // 1 to 31
    int hour;    // 0 to 23
    int minute;  // 0 to 59
    int second;  // 0 to 60
};

broken_down_time local(time_point moment) noexcept;
inline broken_down_time local_now() noexcept {
    return local(now());
}

// The processor time that the calling thread has taken: the cost of its work, the same on a machine
// that is busy with other things.
struct processor_time {
    using duration = std::chrono::nanoseconds;
    using rep = duration::rep;
    using period = duration::period;
    using time_point = std::chrono::time_point<processor_time>;
    static constexpr bool is_steady = true;

    static time_point now() noexcept;
};

// While it lives, the clock of the whole process stands at the moment it was given. One at a time.
class standing {
public:
    explicit standing(time_point moment) noexcept;
    ~standing();
    standing(const standing&) = delete;
    standing& operator=(const standing&) = delete;

    void set(time_point moment) noexcept;
    void advance(std::chrono::system_clock::duration step) noexcept;
};

}  // namespace replay::platform::clock
