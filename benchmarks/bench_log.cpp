// Lines of the log a second: into the file by one process and by two at once, through a component's
// log to the main log, and lines that nobody hears. The bare write is the floor. A line has 80
// bytes; the file rotates at 1 MB with two old files.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>

#include "foundation/log.h"
#include "platform/paths.h"

namespace {

using replay::log;

class scratch_home {
public:
    scratch_home() {
        std::string pattern = (std::filesystem::temp_directory_path() / "bench.XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
        path_ = pattern;
        replay::platform::paths::set_home(path_);
    }
    ~scratch_home() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    scratch_home(const scratch_home&) = delete;
    scratch_home& operator=(const scratch_home&) = delete;

    std::string base() const { return path_ + "/core"; }

private:
    std::string path_;
};

std::unique_ptr<log::file> file_listener(const scratch_home& home) {
    return std::make_unique<log::file>(home.base(), 1 << 20, 2);
}

void write_line(log& target) {
    target.writef(1, "Analysis:   %s is whitelisted (entry %i)", "sender@example.com", 1234);
}

void bare_write(benchmark::State& state) {
    const scratch_home home;
    const std::string line(80, 'x');
    const int file = ::open(home.base().c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    for (auto _ : state) {
        if (::write(file, line.data(), line.size()) < 0) state.SkipWithError("not written");
    }
    ::close(file);
    state.SetItemsProcessed(state.iterations());
}

void one_process(benchmark::State& state) {
    const scratch_home home;
    log main;
    main.add_listener(1, file_listener(home));
    for (auto _ : state) write_line(main);
    state.SetItemsProcessed(state.iterations());
}

void through_a_proxy(benchmark::State& state) {
    const scratch_home home;
    log main;
    main.add_listener(1, file_listener(home));
    log part;
    part.add_listener(0, std::make_unique<log::proxy>(main, "Part: "));
    for (auto _ : state) write_line(part);
    state.SetItemsProcessed(state.iterations());
}

void unheard_through_a_proxy(benchmark::State& state) {
    log main;
    main.add_listener(2, std::make_unique<log::console>());
    log part;
    part.add_listener(0, std::make_unique<log::proxy>(main, "Part: "));
    for (auto _ : state) write_line(part);
    state.SetItemsProcessed(state.iterations());
}

// A counter that a child process shares.
class shared_count {
public:
    shared_count() {
        void* const memory = ::mmap(nullptr, sizeof(std::atomic<std::int64_t>),
                                    PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED) throw std::bad_alloc();
        value = new (memory) std::atomic<std::int64_t>(0);
    }
    ~shared_count() { ::munmap(value, sizeof *value); }
    shared_count(const shared_count&) = delete;
    shared_count& operator=(const shared_count&) = delete;

    std::atomic<std::int64_t>* value;
};

[[noreturn]] void write_for_ever(const scratch_home& home, std::atomic<std::int64_t>& lines) {
    log main;
    main.add_listener(1, file_listener(home));
    for (;; ++lines) write_line(main);
}

// Items are the lines of this process; the counter has those of both.
void two_processes(benchmark::State& state) {
    const scratch_home home;
    const shared_count of_other;
    const pid_t other = ::fork();
    if (other == 0) write_for_ever(home, *of_other.value);
    while (*of_other.value == 0) ::usleep(100);

    log main;
    main.add_listener(1, file_listener(home));
    const std::int64_t before = *of_other.value;
    for (auto _ : state) write_line(main);
    const std::int64_t lines_of_other = *of_other.value - before;
    ::kill(other, SIGKILL);
    ::waitpid(other, nullptr, 0);
    state.SetItemsProcessed(state.iterations());
    state.counters["lines_of_both"] = benchmark::Counter(
        static_cast<double>(state.iterations() + lines_of_other), benchmark::Counter::kIsRate);
}

BENCHMARK(bare_write)->UseRealTime();
BENCHMARK(one_process)->UseRealTime();
BENCHMARK(two_processes)->UseRealTime();
BENCHMARK(through_a_proxy)->UseRealTime();
BENCHMARK(unheard_through_a_proxy)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
