#include "platform/clock.h"

#include <atomic>
#include <ctime>
#include <limits>

namespace replay::platform::clock {

namespace {

using ticks = std::chrono::system_clock::rep;

constexpr ticks running = std::numeric_limits<ticks>::min();

// Where the clock stands, or `running`.
constinit std::atomic<ticks> standing_at{running};

}  // namespace

time_point now() noexcept {
    const ticks stands = standing_at.load(std::memory_order_relaxed);
    if (stands == running) return std::chrono::system_clock::now();
    return time_point(time_point::duration(stands));
}

std::int64_t seconds_since_1970() noexcept {
    return std::chrono::floor<std::chrono::seconds>(now()).time_since_epoch().count();
}

broken_down_time local(time_point moment) noexcept {
    const std::time_t seconds =
        std::chrono::floor<std::chrono::seconds>(moment).time_since_epoch().count();
    std::tm parts{};
    // It fails on years that do not fit an int, which a time_point does not reach.
    ::localtime_r(&seconds, &parts);
    return {parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday,
            parts.tm_hour,        parts.tm_min,     parts.tm_sec};
}

processor_time::time_point processor_time::now() noexcept {
    std::timespec taken{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &taken);
    return time_point(std::chrono::seconds(taken.tv_sec) + std::chrono::nanoseconds(taken.tv_nsec));
}

standing::standing(time_point moment) noexcept {
    set(moment);
}

standing::~standing() {
    standing_at.store(running, std::memory_order_relaxed);
}

void standing::set(time_point moment) noexcept {
    standing_at.store(moment.time_since_epoch().count(), std::memory_order_relaxed);
}

void standing::advance(std::chrono::system_clock::duration step) noexcept {
    standing_at.fetch_add(step.count(), std::memory_order_relaxed);
}

}  // namespace replay::platform::clock
