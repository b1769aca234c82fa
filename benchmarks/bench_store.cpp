// The store as scoring uses it: values and counters of the user's tree in a file of its own, below
// TMPDIR (put that on the disk to measure). The figures do not hold for memory file systems.
//
// score_traffic is what one message costs: three lists, of as many addresses as the argument says,
// the threshold and four counters. In score_traffic_beside_writer another process adds to counters
// all the time; the lists stay as they are.

#include <benchmark/benchmark.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

#include "foundation/counters.h"
#include "foundation/registry.h"
#include "temporary_home.h"

namespace {

namespace counters = replay::counters;
using namespace replay::registry2;

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

void nothing(benchmark::State& state) {
    for (auto _ : state) benchmark::ClobberMemory();
}
BENCHMARK(nothing);

void read_integer(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            get_integer(setting_of(tree_key::user_thresholds, u"Filter"), write_back::yes));
    }
}
BENCHMARK(read_integer);

void write_integer(benchmark::State& state) {
    std::uint32_t value = 0;
    for (auto _ : state) at(tree_key::user_thresholds).set_integer(u"Bench", ++value);
}
BENCHMARK(write_integer)->UseRealTime();

void add_to_counter(benchmark::State& state) {
    for (auto _ : state) counters::add("Filter", "Processed", 1);
}
BENCHMARK(add_to_counter)->UseRealTime()->ThreadRange(1, 2);

void list_unchanged(benchmark::State& state) {
    const key& allowed = at(tree_key::user_rules_allow);
    allowed.set_multi_text(u"Addresses", addresses(state.range(0)));
    for (auto _ : state) benchmark::DoNotOptimize(allowed.shared_multi_text(u"Addresses"));
}
BENCHMARK(list_unchanged)->Arg(10)->Arg(1'000)->Arg(100'000);

void list_read_anew(benchmark::State& state) {
    const key& allowed = at(tree_key::user_rules_allow);
    allowed.set_multi_text(u"Addresses", addresses(state.range(0)));
    for (auto _ : state) {
        benchmark::DoNotOptimize(allowed.get_multi_text(u"Addresses", {}, write_back::no));
    }
}
BENCHMARK(list_read_anew)->Arg(10)->Arg(1'000)->Arg(100'000);

void list_written(benchmark::State& state) {
    const text_list lines = addresses(state.range(0));
    for (auto _ : state) at(tree_key::user_rules_allow).set_multi_text(u"Addresses", lines);
}
BENCHMARK(list_written)->Arg(10)->Arg(1'000)->Arg(100'000)->UseRealTime();

void fill_lists(std::int64_t count) {
    for (const tree_key list :
         {tree_key::user_rules_allow, tree_key::user_rules_deny, tree_key::user_rules_trust}) {
        at(list).set_multi_text(u"Addresses", addresses(count));
    }
}

void one_score() {
    for (const tree_key list :
         {tree_key::user_rules_allow, tree_key::user_rules_deny, tree_key::user_rules_trust}) {
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
    for (auto _ : state) one_score();
}
BENCHMARK(score_traffic)->Arg(10)->Arg(1'000)->Arg(100'000)->UseRealTime();

void score_traffic_beside_writer(benchmark::State& state) {
    fill_lists(state.range(0));
    const pid_t child = ::fork();
    if (child == 0) {
        for (;;) {
            counters::add("User", "Blocked", 1);
            ::usleep(1000);
        }
    }
    for (auto _ : state) one_score();
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
}
BENCHMARK(score_traffic_beside_writer)->Arg(1'000)->UseRealTime();

void open_and_close(benchmark::State& state) {
    fill_lists(state.range(0));
    for (auto _ : state) {
        close_all();
        benchmark::DoNotOptimize(&at(tree_key::user_root));
    }
}
BENCHMARK(open_and_close)->Arg(10)->Arg(1'000)->Arg(100'000)->UseRealTime();

}  // namespace

int main(int argument_count, char** arguments) {
    return brindlemoss::benchmarks::run_in_temporary_home(argument_count, arguments);
}
