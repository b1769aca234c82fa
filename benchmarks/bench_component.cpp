// What the faces cost: one rating through each of them against the plain call of the engine, with
// the stores and the log of a temporary home. --benchmark_enable_random_interleaving=true with
// --benchmark_repetitions compares them fairly on a busy machine.

#include <brindlemoss.h>
#include <brindlemoss/component.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "analysis/filter_engine.h"
#include "message/part.h"
#include "temporary_home.h"

namespace {

using namespace brindlemoss;

// A mail of different words, as bytes and one byte a unit.
struct sample {
    explicit sample(std::size_t size)
        : bytes("From: Ann <ann@example.org>\nTo: Bo <bo@example.net>\nSubject: the plan\n\n") {
        for (std::uint32_t word = 1; bytes.size() < size; ++word) {
            for (std::uint32_t rest = word * 2654435761u; rest > 1000; rest /= 26) {
                bytes += static_cast<char>('a' + rest % 26);
            }
            bytes += word % 12 == 0 ? '\n' : ' ';
        }
        units.assign(bytes.begin(), bytes.end());
    }

    std::string bytes;
    std::u16string units;
};

// The mail is judged again, so that no call changes what the next one finds.
template <typename rate_type>
void run(benchmark::State& state, rate_type rate) {
    component::load();
    const sample mail(static_cast<std::size_t>(state.range(0)) << 10);
    for (auto _ : state) benchmark::DoNotOptimize(rate(mail));
}

void plain(benchmark::State& state) {
    run(state, [](const sample& mail) {
        replay::internet::message2::part message(mail.bytes);
        return analysis::filter_engine::instance().score(message, analysis::occasion::again).rating;
    });
}

void cpp_interface(benchmark::State& state) {
    const auto filter = component::create<component::IFilter>();
    run(state, [&](const sample& mail) {
        std::int32_t rating = 0;
        filter->Score(mail.units, component::no, rating);
        return rating;
    });
}

void cpp_by_name(benchmark::State& state) {
    const auto filter = component::create_object("Brindlemoss.Filter");
    run(state, [&](const sample& mail) {
        const component::argument arguments[] = {mail.units, false};
        std::vector<component::value> results;
        filter->invoke("Score", arguments, results);
        return std::get<std::int32_t>(results.front());
    });
}

void c_by_name(benchmark::State& state) {
    brindlemoss_object* filter = nullptr;
    brindlemoss_create("Brindlemoss.Filter", &filter);
    run(state, [&](const sample& mail) {
        const brindlemoss_value arguments[] = {
            {BRINDLEMOSS_TEXT, 0, mail.units.data(), mail.units.size()},
            {BRINDLEMOSS_TRUTH, 0, nullptr, 0},
        };
        brindlemoss_value* results = nullptr;
        brindlemoss_invoke(filter, "Score", arguments, 2, &results, nullptr);
        const std::int32_t rating = results->number;
        brindlemoss_free_results(results);
        return rating;
    });
    brindlemoss_release(filter);
}

void c_score(benchmark::State& state) {
    run(state, [](const sample& mail) {
        std::int32_t rating = 0;
        brindlemoss_score(mail.bytes.data(), mail.bytes.size(), false, &rating);
        return rating;
    });
}

BENCHMARK(plain)->Arg(2)->Arg(50)->Unit(benchmark::kMicrosecond);
BENCHMARK(cpp_interface)->Arg(2)->Arg(50)->Unit(benchmark::kMicrosecond);
BENCHMARK(cpp_by_name)->Arg(2)->Arg(50)->Unit(benchmark::kMicrosecond);
BENCHMARK(c_by_name)->Arg(2)->Arg(50)->Unit(benchmark::kMicrosecond);
BENCHMARK(c_score)->Arg(2)->Arg(50)->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argument_count, char** arguments) {
    return benchmarks::run_in_temporary_home(argument_count, arguments);
}
