// The store and the log as scoring uses them, in a folder of their own below TMPDIR (put that on
// the disk to measure: the figures do not hold for memory file systems), and the rating of a mail
// without either, which they are compared with.
//
// score_traffic is what one message costs: three lists, of as many addresses as the argument says,
// the threshold and four counters; score_traffic_and_log has the six lines of a message with it.

#include <benchmark/benchmark.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <new>
#include <string>

#include "foundation/counters.h"
#include "foundation/log.h"
#include "foundation/registry.h"
#include "local_rating.h"
#include "platform/paths.h"
#include "support.h"
#include "temporary_home.h"

namespace {

namespace counters = replay::counters;
using namespace replay::registry2;
using replay::log;

void local_rating(benchmark::State& state) {
    brindlemoss::benchmarks::run_on_corpus(state, brindlemoss::benchmarks::rate_locally);
}
BENCHMARK(local_rating)->UseRealTime();

void read_integer(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            get_integer(setting_of(tree_key::user_thresholds, u"Filter"), write_back::yes));
    }
}
BENCHMARK(read_integer)->UseRealTime();

void write_integer(benchmark::State& state) {
    std::uint32_t value = 0;
    for (auto _ : state) at(tree_key::user_thresholds).set_integer(u"Bench", ++value);
}
BENCHMARK(write_integer)->UseRealTime();

void add_to_counter(benchmark::State& state) {
    for (auto _ : state) counters::add("Filter", "Processed", 1);
}
BENCHMARK(add_to_counter)->UseRealTime();

text_list addresses(std::int64_t count) {
    text_list lines;
    for (std::int64_t i = 0; i < count; ++i) {
        std::u16string line = u"A Correspondent\tsender";
        for (const char digit : std::to_string(i)) line += static_cast<char16_t>(digit);
        line += u"@example.org\tAdded due to Unblock";
        lines.push_back(line);
    }
    return lines;
}

constexpr tree_key lists[] = {tree_key::user_rules_allow, tree_key::user_rules_deny,
                              tree_key::user_rules_trust};

void fill_lists(std::int64_t count) {
    for (const tree_key list : lists) at(list).set_multi_text(u"Addresses", addresses(count));
}

void use_store() {
    for (const tree_key list : lists) {
        benchmark::DoNotOptimize(at(list).shared_multi_text(u"Addresses"));
    }
    benchmark::DoNotOptimize(
        get_integer(setting_of(tree_key::user_thresholds, u"Filter"), write_back::yes));
    counters::add("Filter", "Processed", 1);
    counters::add("Filter", "Blocked", 1);
    counters::add("Communication", "Bytes Transmitted", 300);
    counters::add("Communication", "Bytes Received", 200);
}

void score_traffic(benchmark::State& state) {
    fill_lists(state.range(0));
    use_store();  // reads the lists
    for (auto _ : state) use_store();
}
BENCHMARK(score_traffic)->Arg(10)->Arg(1'000)->Arg(100'000)->UseRealTime();

// The log of a subsystem, whose lines go on to the file of the program.
class program_log {
public:
    program_log() {
        main_.add_listener(1, std::make_unique<log::file>(base(), 1 << 20, 2));
        subsystem_.add_listener(0, std::make_unique<log::proxy>(main_, ""));
    }

    void write(const char* line) { subsystem_.write(1, line); }

private:
    static std::string base() { return replay::platform::paths::home() + "/bench"; }

    log main_;
    log subsystem_;
};

constexpr const char* lines_of_a_message[] = {
    "Processing Message (Classify) --------------------------------------------------------------",
    "Message-ID: <pickup-904@mail.example.net>",
    "Date:       Thu, 4 Sep 2025 12:30:25 +0200",
    "Sender:     Ivo Hartman <ivo@example.net>",
    "Subject:    can you pick it up?",
    "Analysis:   Overall rating is 0/50",
};

void score_traffic_and_log(benchmark::State& state) {
    fill_lists(state.range(0));
    use_store();  // reads the lists
    program_log log;
    for (auto _ : state) {
        use_store();
        for (const char* const line : lines_of_a_message) log.write(line);
    }
}
BENCHMARK(score_traffic_and_log)->Arg(1'000)->UseRealTime();

void log_lines(benchmark::State& state) {
    program_log log;
    for (auto _ : state) log.write(lines_of_a_message[1]);
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(log_lines)->UseRealTime();

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

[[noreturn]] void write_for_ever(std::atomic<std::int64_t>& lines) {
    program_log log;
    for (;; ++lines) log.write(lines_of_a_message[1]);
}

void log_lines_of_two_processes(benchmark::State& state) {
    const shared_count of_other;
    const pid_t other = ::fork();
    if (other == 0) write_for_ever(*of_other.value);
    while (*of_other.value == 0) ::usleep(100);

    program_log log;
    const std::int64_t before = *of_other.value;
    for (auto _ : state) log.write(lines_of_a_message[1]);
    const std::int64_t lines_of_other = *of_other.value - before;
    ::kill(other, SIGKILL);
    ::waitpid(other, nullptr, 0);
    state.SetItemsProcessed(state.iterations() + lines_of_other);
}
BENCHMARK(log_lines_of_two_processes)->UseRealTime();

}  // namespace

int main(int argument_count, char** arguments) {
    return brindlemoss::benchmarks::run_in_temporary_home(argument_count, arguments);
}
