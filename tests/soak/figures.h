#pragma once

#include <cstddef>
#include <string>
#include <vector>

// What the process holds, and whether that grows.
namespace soak {

struct figures {
    std::size_t resident = 0;  // bytes of memory that the system counts
    std::size_t held = 0;      // bytes that were allocated and not freed
    std::size_t handles = 0;
    std::size_t threads = 0;
};

// Of this process, now. The handle with which the handles are counted is one of them.
figures figures_now();

// Time on processors so far, in seconds.
double processor_seconds();

// How memory went: the median of the first quarter of the samples, and of the last. A median, and
// not the most, since what is held at a time depends on how many pictures are under way. What grows
// by a little with each call has grown by three quarters of the whole from one to the other.
struct growth {
    double first = 0;
    double last = 0;
    double allowance = 0;  // above `first`

    bool is_too_much() const { return last > first + allowance; }
};

// `fraction` and `bytes` together are the allowance: `fraction` of the first median.
growth growth_of(const std::vector<std::size_t>& samples, double fraction, double bytes);

}  // namespace soak
