// The whole local rating of a corpus held in memory, and each of its stages, and that of hostile
// mails, whose rate must stay level from 1 to 16 MB.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include "analysis/analysis_engine.h"
#include "analysis/analysis_run.h"
#include "local_rating.h"
#include "message/part.h"
#include "support.h"

namespace {

using namespace brindlemoss;
using namespace brindlemoss::benchmarks;
using replay::internet::message2::part;

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
    run_on_corpus(state, rate_locally);
}
BENCHMARK(corpus_score)->Unit(benchmark::kMillisecond);

// Each thread rates the whole corpus; rates are those of all together, by the clock.
void corpus_score_at_once(benchmark::State& state) {
    run_on_corpus(state, rate_locally);
}
BENCHMARK(corpus_score_at_once)->Unit(benchmark::kMillisecond)->UseRealTime()->ThreadRange(1, 2);

// The slowest mails: the seconds below which 50, 99 and 99.9 in a hundred are rated.
void corpus_score_percentiles(benchmark::State& state) {
    const corpus& mails = loaded_corpus();
    std::vector<double> seconds;
    for (auto _ : state) {
        for (const std::string& mail : mails.mails) {
            const auto begin = std::chrono::steady_clock::now();
            benchmark::DoNotOptimize(rate_locally(mail));
            const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
            seconds.push_back(taken.count());
        }
    }
    std::sort(seconds.begin(), seconds.end());
    const auto at = [&](double share) {
        return seconds[static_cast<std::size_t>(share * double(seconds.size() - 1))];
    };
    state.counters["p50"] = at(0.5);
    state.counters["p99"] = at(0.99);
    state.counters["p999"] = at(0.999);
}
BENCHMARK(corpus_score_percentiles)->Unit(benchmark::kMillisecond)->Iterations(1);

const std::string html_head = "Content-Type: text/html\n\n<html><body>";

std::string different_links(std::size_t size) {
    std::string text = html_head;
    text.reserve(size + 100);
    for (std::size_t i = 0; text.size() < size; ++i) {
        text += "<a href=http://a" + std::to_string(i) + ".example.com/>";
    }
    return text;
}

// Links each of which begins as the one before, and goes on.
std::string growing_links(std::size_t size) {
    std::string text = html_head;
    const std::string tail = "a/ba/ba/ba/ba/ba/ba/ba/ba/ba/ba/ba/ba/ba/ba/ba/ba/ba/ba/ba/ba/b";
    text.reserve(size + 200);
    for (std::size_t i = 0; text.size() < size; ++i) {
        text += "<a href=http://www.example.com/" + tail.substr(0, i % tail.size()) + ">";
    }
    return text;
}

const mail_shape shapes[] = {
    {"only_tag_openers", [](std::size_t size) { return filled(html_head, "<", size); }},
    {"only_ampersands", [](std::size_t size) { return filled(html_head, "&", size); }},
    {"attributes", [](std::size_t size) { return filled(html_head + "<a", " b=c", size); }},
    {"one_entity_name", [](std::size_t size) { return filled(html_head + "&", "x", size); }},
    {"different_words", [](std::size_t size) { return numbered("A: b\n\n", "w", size); }},
    {"equal_words", [](std::size_t size) { return filled("A: b\n\n", "w ", size); }},
    {"different_links", different_links},
    {"links_in_links",
     [](std::size_t size) { return filled(html_head + "<a href=", "http:", size) + ">"; }},
    {"growing_links", growing_links},
    {"escapes_of_escapes",
     [](std::size_t size) {
         return filled(html_head + "<a href=http://a.example.com/", "%2525", size) + ">";
     }},
    {"addresses",
     [](std::size_t size) { return numbered("To: ", "a@b.example,", size) + "\n\nx y"; }},
    {"received",
     [](std::size_t size) { return filled("A: b\n", "Received: x [10.0.0.1]\n", size); }},
};

void add_shapes() {
    for (const mail_shape& shape : shapes) {
        const std::string name = std::string("worst_shape/") + shape.name;
        benchmark::RegisterBenchmark(
            name.c_str(),
            [&shape](benchmark::State& state) { run_on_shape(state, shape, rate_locally); })
            ->Arg(1)
            ->Arg(4)
            ->Arg(16)
            ->Unit(benchmark::kMillisecond);
    }
}

}  // namespace

int main(int argument_count, char** arguments) {
    keep_memory();
    add_shapes();
    benchmark::Initialize(&argument_count, arguments);
    if (benchmark::ReportUnrecognizedArguments(argument_count, arguments)) return 2;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
