// The sender lists as scoring asks them: match on lists of as many addresses and domains as the
// argument says, in a store of its own below TMPDIR (put that on the disk to measure).
//
// The stored lists stay as they are, but for first_read, which asks behind a change, and step,
// which makes one.

#include <benchmark/benchmark.h>

#include <string>

#include "foundation/registry.h"
#include "foundation/registry_values.h"
#include "rules/rules_sender_allowed.h"
#include "rules/rules_sender_trusted.h"
#include "temporary_home.h"

namespace {

using namespace brindlemoss::rules;
using namespace replay::registry2;

constexpr const char* stranger = "somebody.else@another-place.example.com";

std::u16string numbered(const char* before, std::int64_t number, const char* behind) {
    return widen(before + std::to_string(number) + behind);
}

// Domains are of many sizes, as the numbers in them and the words before are.
void fill(const key& list, std::int64_t count) {
    text_list addresses;
    text_list domains;
    for (std::int64_t i = 0; i < count; ++i) {
        addresses.push_back(u"A Correspondent\t" + numbered("sender", i, "@example.org") +
                            u"\tAdded due to Unblock");
        domains.push_back(std::u16string(static_cast<std::size_t>(i % 20), u'd') +
                          numbered("place", i, ".example.net") + u"\t");
    }
    list.set_multi_text(u"Addresses", addresses);
    list.set_multi_text(u"Domains", domains);
}

void fill_trust(std::int64_t count) {
    text_list entries;
    for (std::int64_t i = 0; i < count; ++i) {
        entries.push_back(u"A Correspondent\t" + numbered("sender", i, "@example.org") +
                          u"\t2\t1700000000");
    }
    at(tree_key::user_rules_trust).set_multi_text(u"Addresses", entries);
}

void match(benchmark::State& state, const std::string& address, bool check_address,
           bool check_domain) {
    fill(at(tree_key::user_rules_allow), state.range(0));
    auto& list = rules_sender_allowed::instance();
    // The first look-up in a list walks it, the second one makes it ready for more.
    for (int i = 0; i < 2; ++i) list.match(address, check_address, check_domain);
    for (auto _ : state) {
        benchmark::DoNotOptimize(list.match(address, check_address, check_domain));
    }
}

void match_address_hit(benchmark::State& state) {
    match(state, "Sender" + std::to_string(state.range(0) - 1) + "@Example.org", true, false);
}
void match_address_miss(benchmark::State& state) {
    match(state, stranger, true, false);
}
void match_domain_hit(benchmark::State& state) {
    match(state, "ann@place" + std::to_string(state.range(0) / 20 * 20 / 2) + ".example.net", false,
          true);
}
void match_domain_miss(benchmark::State& state) {
    match(state, stranger, false, true);
}
void first_read(benchmark::State& state) {
    const key& allowed = at(tree_key::user_rules_allow);
    fill(allowed, state.range(0));
    const text_list entries = allowed.get_multi_text(u"Addresses", {}, write_back::no);
    auto& list = rules_sender_allowed::instance();
    list.match(stranger, true, false);  // frees what the list before left
    for (auto _ : state) {
        state.PauseTiming();
        allowed.set_multi_text(u"Addresses", entries);
        state.ResumeTiming();
        benchmark::DoNotOptimize(list.match(stranger, true, false));
    }
}

// A sender who earns a step: the list is written anew.
void step(benchmark::State& state) {
    fill_trust(state.range(0));
    auto& trusted = rules_sender_trusted::instance();
    for (auto _ : state) trusted.increase_trust(u"A Correspondent", "sender5@example.org");
}

BENCHMARK(match_address_hit)->Arg(10)->Arg(1'000)->Arg(100'000);
BENCHMARK(match_address_miss)->Arg(10)->Arg(1'000)->Arg(100'000);
BENCHMARK(match_domain_hit)->Arg(10)->Arg(1'000)->Arg(100'000);
BENCHMARK(match_domain_miss)->Arg(10)->Arg(1'000)->Arg(100'000);
BENCHMARK(first_read)->Arg(10)->Arg(1'000)->Arg(100'000);
BENCHMARK(step)->Arg(10)->Arg(1'000)->Arg(100'000)->UseRealTime();

}  // namespace

int main(int argument_count, char** arguments) {
    return brindlemoss::benchmarks::run_in_temporary_home(argument_count, arguments);
}
