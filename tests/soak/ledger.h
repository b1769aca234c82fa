#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>

// What the workers were told is done, and what they did not expect. Any thread may write.
namespace soak {

class ledger {
public:
    std::atomic<std::uint64_t> calls{0};
    std::atomic<std::uint32_t> processed{0};  // messages rated for the first time
    std::atomic<std::uint32_t> blocked{0};    // those of them at or above the threshold
    std::atomic<std::uint32_t> asked{0};      // messages about which the community was asked
    std::atomic<std::uint32_t> spam_votes{0};
    std::atomic<std::uint32_t> good_votes{0};
    std::atomic<std::uint32_t> trust_steps{0};  // of one address that all workers share

    void expect(bool is_so, const std::string& what) {
        if (is_so) return;
        const std::lock_guard guard(lock_);
        ++unexpected_[what];
    }

    std::map<std::string, std::size_t> unexpected() const {
        const std::lock_guard guard(lock_);
        return unexpected_;
    }

private:
    mutable std::mutex lock_;
    std::map<std::string, std::size_t> unexpected_;  // how often each came to pass
};

}  // namespace soak
