#pragma once

#include <sys/mman.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <new>
#include <stdexcept>

namespace kill_rounds {

enum class deed : std::uint8_t {
    score_stranger,  // passes the analysis and earns its sender a step of trust
    score_denied,
    score_allowed,  // earns the recipient a step
    report,
    revoke,
    allow,
    disallow,
    deny,
    undeny,
    allow_domain,
    disallow_domain,
    trust,
    add_to_counter,
    write_text,
    count,
};

// One call of the library. Subjects are the senders that a worker has for itself, so that only it
// changes what is kept of them; strangers and counters belong to all.
struct operation {
    deed what = deed::count;
    std::uint8_t subject = 0;
    std::uint32_t number = 0;
};

// What one worker has begun and what has returned, in memory that outlives it: an operation is
// acknowledged once it is counted in `returned`.
struct ledger {
    static constexpr std::uint32_t room = 1 << 13;

    std::atomic<std::uint32_t> begun{0};
    std::atomic<std::uint32_t> returned{0};
    std::array<operation, room> operations;
};
static_assert(std::atomic<std::uint32_t>::is_always_lock_free, "processes share it");

inline constexpr unsigned most_workers = 4;
using ledgers = std::array<ledger, most_workers>;

// For this process and those that it forks; stays as long as they do.
inline ledgers& shared_ledgers() {
    void* const room =
        ::mmap(nullptr, sizeof(ledgers), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (room == MAP_FAILED) throw std::runtime_error("no shared memory");
    return *new (room) ledgers;
}

}  // namespace kill_rounds
