#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace brindlemoss::benchmarks {

struct corpus {
    std::vector<std::string> mails;
    std::size_t bytes = 0;
};

// All files below the folder that BRINDLEMOSS_CORPUS names, read into memory once; the example
// mails of the project where the variable is not set. Ends the program when there are none.
const corpus& loaded_corpus();

// What the calling thread has asked operator new for so far.
struct allocation_tally {
    std::size_t calls = 0;
    std::size_t bytes = 0;
};
allocation_tally allocated();

// `piece` over and over, until there are `units` of them or a few more.
std::u16string repeated(std::u16string_view piece, std::size_t units);

// `text` and behind it `piece` over and over, until there are `size` bytes or a few more.
std::string filled(std::string text, std::string_view piece, std::size_t size);

// The same with a number behind each piece, from 0 on, and a blank behind that.
std::string numbered(std::string text, std::string_view piece, std::size_t size);

// Memory stays with the process from one piece of work to the next. Otherwise the large alone would
// pay for pages fetched anew each time.
void keep_memory();

// Does its work on each mail of the corpus, and reports rates, "allocations_per_message" and
// "per_message" in seconds.
template <typename work>
void run_on_corpus(benchmark::State& state, work do_work) {
    const corpus& mails = loaded_corpus();
    const std::size_t before = allocated().calls;
    for (auto _ : state) {
        for (const std::string& mail : mails.mails) benchmark::DoNotOptimize(do_work(mail));
    }
    const double messages = static_cast<double>(state.iterations() * mails.mails.size());
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * mails.bytes));
    state.SetItemsProcessed(static_cast<std::int64_t>(messages));
    using benchmark::Counter;
    state.counters["per_message"] = Counter(messages, Counter::kIsRate | Counter::kInvert);
    state.counters["allocations_per_message"] =
        Counter(static_cast<double>(allocated().calls - before) / messages, Counter::kAvgThreads);
}

// A hostile mail of about so many bytes.
struct mail_shape {
    const char* name;
    std::string (*make)(std::size_t size);
};

// Does its work on the mail; the rate must stay level, however large it is. A first time, not
// counted, fetches the pages.
template <typename work>
void run_on_shape(benchmark::State& state, const mail_shape& shape, work do_work) {
    const std::string mail = shape.make(static_cast<std::size_t>(state.range(0)) << 20);
    benchmark::DoNotOptimize(do_work(mail));
    for (auto _ : state) benchmark::DoNotOptimize(do_work(mail));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * mail.size()));
}

}  // namespace brindlemoss::benchmarks
