#include "platform/crash_handler.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <climits>
#include <cstddef>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "platform/clock.h"
#include "platform/crash_dump.h"
#include "platform/loaded_modules.h"

namespace replay::platform::crash_handler {

namespace {

constexpr int signals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT};

// All that the handler needs, made ready while the process is well.
struct preparation {
    std::string file;
    std::vector<loaded_module> modules;
};

constinit std::atomic<const preparation*> prepared{nullptr};
static_assert(std::atomic<const preparation*>::is_always_lock_free);

constinit std::atomic_flag is_dumping = ATOMIC_FLAG_INIT;

void write_dump(const crash& what) noexcept {
    const preparation* const ready = prepared.load();
    const int descriptor =
        ::open(ready->file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (descriptor < 0) return;
    write_crash_dump(descriptor, what, ready->modules);
    ::close(descriptor);
}

// The signal comes again, with all that is known of it, as soon as the handler returns.
void die_in_the_usual_way(int signal, siginfo_t& info) noexcept {
    struct sigaction usual {};
    usual.sa_handler = SIG_DFL;
    ::sigaction(signal, &usual, nullptr);
    const auto thread = ::syscall(SYS_gettid);
    if (::syscall(SYS_rt_tgsigqueueinfo, ::getpid(), thread, signal, &info) != 0) ::raise(signal);
}

// Runs with all signals blocked: a fault in here ends the process.
void on_crash(int signal, siginfo_t* info, void* context) {
    if (is_dumping.test_and_set()) {
        // Another thread crashed first and is about to end the process.
        for (;;) ::pause();
    }
    write_dump({signal, *info, *static_cast<const ucontext_t*>(context)});
    die_in_the_usual_way(signal, *info);
}

bool is_ours(const struct sigaction& action) {
    return (action.sa_flags & SA_SIGINFO) != 0 && action.sa_sigaction == &on_crash;
}

bool is_default(const struct sigaction& action) {
    return (action.sa_flags & SA_SIGINFO) == 0 && action.sa_handler == SIG_DFL;
}

// Whether the signal leads to the handler afterwards.
bool take(int signal, armed_by who) {
    struct sigaction present {};
    if (::sigaction(signal, nullptr, &present) != 0) return false;
    if (is_ours(present)) return true;
    if (who == armed_by::library && !is_default(present)) return false;

    struct sigaction wanted {};
    wanted.sa_sigaction = &on_crash;
    wanted.sa_flags = SA_SIGINFO | SA_ONSTACK;
    ::sigfillset(&wanted.sa_mask);
    return ::sigaction(signal, &wanted, nullptr) == 0;
}

// A thread keeps the stack that somebody else gave it, if the handler fits.
void give_handler_stack() {
    constexpr std::size_t wanted_size = std::size_t{128} << 10;
    constexpr std::size_t least_size = std::size_t{24} << 10;
    stack_t present{};
    if (::sigaltstack(nullptr, &present) != 0) return;
    if ((present.ss_flags & SS_DISABLE) == 0 && present.ss_size >= least_size) return;

    // Never given back: the thread may need it until it ends, which nobody tells.
    void* const memory = ::mmap(nullptr, wanted_size, PROT_READ | PROT_WRITE,
                                MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0);
    if (memory == MAP_FAILED) return;
    stack_t fresh{};
    fresh.ss_sp = memory;
    fresh.ss_size = wanted_size;
    if (::sigaltstack(&fresh, nullptr) != 0) ::munmap(memory, wanted_size);
}

// Keeps the preparation before the present one too: a crash may be reading it at this moment.
void publish(std::unique_ptr<const preparation> fresh) {
    using generations = std::array<std::unique_ptr<const preparation>, 2>;
    static generations& kept = *new generations;
    kept[1] = std::move(kept[0]);
    kept[0] = std::move(fresh);
    prepared.store(kept[0].get());
}

}  // namespace

bool arm(std::string_view stem, armed_by who) noexcept try {
    static std::mutex& arming = *new std::mutex;
    const std::lock_guard lock(arming);

    auto fresh = std::make_unique<preparation>();
    fresh->file.append(stem).append(".");
    fresh->file.append(std::to_string(clock::seconds_since_1970())).append(".dmp");
    if (fresh->file.size() >= PATH_MAX) return false;
    fresh->modules = loaded_modules();

    publish(std::move(fresh));
    give_handler_stack();
    bool is_armed = false;
    for (const int signal : signals) is_armed = take(signal, who) || is_armed;
    return is_armed;
} catch (const std::exception&) {
    return false;
}

}  // namespace replay::platform::crash_handler
