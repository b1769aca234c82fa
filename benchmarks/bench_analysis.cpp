// The whole local rating of a corpus held in memory, and each of its stages. bogofilter in bulk
// mode is the yardstick: scripts/corpus-rate runs both on the same mails.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "analysis/analysis_engine.h"
#include "analysis/filter_engine.h"
#include "message/part.h"
#include "support.h"

namespace {

using namespace brindlemoss;
using benchmarks::corpus;
using benchmarks::loaded_corpus;
using replay::internet::message2::part;

// Rates by itself: no store, no log.
const analysis::filter_engine& local_engine() {
    static analysis::filter_services nobody;
    static const analysis::filter_engine engine(nobody);
    return engine;
}

std::uint16_t rate(const std::string& mail) {
    part message(mail);
    return local_engine().score(message, analysis::occasion::first).rating;
}

template <typename work>
void run_on_corpus(benchmark::State& state, work do_work) {
    const corpus& mails = loaded_corpus();
    const std::size_t before = benchmarks::allocation_count();
    for (auto _ : state) {
        for (const std::string& mail : mails.mails) benchmark::DoNotOptimize(do_work(mail));
    }
    const double messages = static_cast<double>(state.iterations() * mails.mails.size());
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * mails.bytes));
    state.SetItemsProcessed(static_cast<std::int64_t>(messages));
    state.counters["allocations_per_message"] =
        static_cast<double>(benchmarks::allocation_count() - before) / messages;
}

void corpus_parse(benchmark::State& state) {
    run_on_corpus(state, [](const std::string& mail) { return part(mail).body.size(); });
}
BENCHMARK(corpus_parse)->Unit(benchmark::kMillisecond);

void corpus_parse_and_generate(benchmark::State& state) {
    run_on_corpus(state, [](const std::string& mail) {
        try {
            part message(mail);
            analysis::analysis_run run(message);
            analysis::analysis_engine().generate(run);
            return run.signatures.size();
        } catch (const std::exception&) {
            return std::size_t{0};
        }
    });
}
BENCHMARK(corpus_parse_and_generate)->Unit(benchmark::kMillisecond);

void corpus_score(benchmark::State& state) {
    run_on_corpus(state, rate);
}
BENCHMARK(corpus_score)->Unit(benchmark::kMillisecond);

// The slowest mails: the time below which 50, 99 and 99.9 in a hundred are rated.
void corpus_score_percentiles(benchmark::State& state) {
    const corpus& mails = loaded_corpus();
    std::vector<double> microseconds;
    for (auto _ : state) {
        for (const std::string& mail : mails.mails) {
            const auto begin = std::chrono::steady_clock::now();
            benchmark::DoNotOptimize(rate(mail));
            const std::chrono::duration<double, std::micro> taken =
                std::chrono::steady_clock::now() - begin;
            microseconds.push_back(taken.count());
        }
    }
    std::sort(microseconds.begin(), microseconds.end());
    const auto at = [&](double share) {
        return microseconds[static_cast<std::size_t>(share * double(microseconds.size() - 1))];
    };
    state.counters["p50_us"] = at(0.5);
    state.counters["p99_us"] = at(0.99);
    state.counters["p999_us"] = at(0.999);
}
BENCHMARK(corpus_score_percentiles)->Unit(benchmark::kMillisecond)->Iterations(5);

std::string filled(std::string text, std::string_view with, std::size_t size) {
    text.reserve(size + with.size());
    while (text.size() < size) text += with;
    return text;
}

std::string numbered(std::string text, std::string_view before, std::size_t size) {
    for (std::size_t i = 0; text.size() < size; ++i) {
        text.append(before).append(std::to_string(i)).append(" ");
    }
    return text;
}

const std::string html_head = "Content-Type: text/html\n\n<html><body>";

struct shape {
    const char* name;
    std::string (*make)(std::size_t size);
};

const shape shapes[] = {
    {"only_tag_openers", [](std::size_t size) { return filled(html_head, "<", size); }},
    {"only_ampersands", [](std::size_t size) { return filled(html_head, "&", size); }},
    {"attributes", [](std::size_t size) { return filled(html_head + "<a", " b=c", size); }},
    {"one_entity_name", [](std::size_t size) { return filled(html_head + "&", "x", size); }},
    {"different_words", [](std::size_t size) { return numbered("A: b\n\n", "w", size); }},
    {"equal_words", [](std::size_t size) { return filled("A: b\n\n", "w ", size); }},
    {"links",
     [](std::size_t size) { return numbered(html_head, "<a href=http://a.example.com/>", size); }},
    {"links_in_links",
     [](std::size_t size) { return filled(html_head + "<a href=", "http:", size) + ">"; }},
    {"addresses",
     [](std::size_t size) { return numbered("To: ", "a@b.example,", size) + "\n\nx y"; }},
    {"received",
     [](std::size_t size) { return filled("A: b\n", "Received: x [10.0.0.1]\n", size); }},
};

void worst_shape(benchmark::State& state) {
    const shape& chosen = shapes[state.range(0)];
    const std::string mail = chosen.make(static_cast<std::size_t>(state.range(1)) << 20);
    state.SetLabel(chosen.name);
    for (auto _ : state) benchmark::DoNotOptimize(rate(mail));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * mail.size()));
}
BENCHMARK(worst_shape)
    ->ArgsProduct({benchmark::CreateDenseRange(0, std::size(shapes) - 1, 1), {1, 4, 16}})
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
