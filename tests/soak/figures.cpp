#include "soak/figures.h"

#include <malloc.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

// Of the sanitizers, where the program is linked with one.
extern "C" [[gnu::weak]] std::size_t __sanitizer_get_current_allocated_bytes();

namespace soak {

namespace {

// A number of /proc/self/status.
std::size_t status_number(const std::string& name) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(name + ":")) return std::stoul(line.substr(name.size() + 1));
    }
    return 0;
}

std::size_t held_bytes() {
    if (__sanitizer_get_current_allocated_bytes != nullptr) {
        return __sanitizer_get_current_allocated_bytes();
    }
    const struct mallinfo2 all = ::mallinfo2();
    return all.uordblks + all.hblkhd;
}

double median(std::vector<std::size_t> samples) {
    if (samples.empty()) return 0;
    const auto middle = samples.begin() + static_cast<std::ptrdiff_t>(samples.size() / 2);
    std::nth_element(samples.begin(), middle, samples.end());
    return static_cast<double>(*middle);
}

double seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

}  // namespace

figures figures_now() {
    figures now;
    now.resident = status_number("VmRSS") << 10;
    now.held = held_bytes();
    now.handles = static_cast<std::size_t>(
        std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
    now.threads = status_number("Threads");
    return now;
}

double processor_seconds() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

growth growth_of(const std::vector<std::size_t>& samples, double fraction, double bytes) {
    const auto quarter = static_cast<std::ptrdiff_t>(samples.size() / 4);
    growth found;
    found.first = median({samples.begin(), samples.begin() + quarter});
    found.last = median({samples.end() - quarter, samples.end()});
    found.allowance = found.first * fraction + bytes;
    return found;
}

}  // namespace soak
