// Finding the URLs of a text and reducing their signatures: ordinary text and links, and the worst
// shapes. Sizes are those of the text in bytes, two a unit. The rate must stay level from 1 to
// 16 MB. Searching the text for a unit that it does not hold is the floor.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "analysis/plugins/urls.h"
#include "support.h"

namespace {

using brindlemoss::analysis::push_signature;
using brindlemoss::analysis::signature_list;
using brindlemoss::analysis::plugins::text_analysis::analyse_links;
using brindlemoss::analysis::plugins::text_analysis::most_url_decodings;
using brindlemoss::analysis::plugins::text_analysis::reduce_url_signatures;
using brindlemoss::analysis::plugins::text_analysis::scan_text;
using brindlemoss::benchmarks::repeated;

std::size_t units_of(const benchmark::State& state) {
    return static_cast<std::size_t>(state.range(0)) / sizeof(char16_t);
}

std::u16string decimal(std::size_t number) {
    const std::string digits = std::to_string(number);
    return {digits.begin(), digits.end()};
}

void report_bytes(benchmark::State& state, std::size_t units) {
    state.SetBytesProcessed(
        static_cast<std::int64_t>(state.iterations() * units * sizeof(char16_t)));
}

constexpr std::u16string_view ordinary =
    u"as we wrote last week, the new list is out: see http://www.example.com/garden/spring/list "
    u"or ask at (www.example.org/ask) before the end of the month. each order comes with a small "
    u"packet of seed, as it did last year, and with the usual letter of advice. ";

void search_only(benchmark::State& state) {
    const std::u16string text = repeated(ordinary, units_of(state));
    for (auto _ : state) benchmark::DoNotOptimize(text.find(u'\u4E2D'));
    report_bytes(state, text.size());
}

void ordinary_text(benchmark::State& state) {
    const std::u16string text = repeated(ordinary, units_of(state));
    for (auto _ : state) {
        signature_list signatures;
        scan_text(text, signatures);
        reduce_url_signatures(signatures);
        benchmark::DoNotOptimize(signatures.size());
    }
    report_bytes(state, text.size());
}

void analyse(benchmark::State& state, const std::vector<std::u16string>& links) {
    replay::internet::message2::part root;
    std::size_t units = 0;
    for (const std::u16string& link : links) units += link.size();
    std::size_t count = 0;
    for (auto _ : state) {
        signature_list signatures;
        analyse_links(root, links, signatures);
        reduce_url_signatures(signatures);
        count = signatures.size();
    }
    report_bytes(state, units);
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * links.size()));
    state.counters["signatures"] = static_cast<double>(count);
}

void one_link(benchmark::State& state, std::u16string_view beginning, std::u16string_view piece,
              std::u16string_view ending) {
    std::u16string url(beginning);
    url += repeated(piece, units_of(state));
    analyse(state, {url += ending});
}

void ordinary_links(benchmark::State& state) {
    std::vector<std::u16string> links;
    for (std::size_t i = 0; i < units_of(state) / 60; ++i) {
        links.push_back(u"http://www.example.com/read/article" + decimal(i % 100) +
                        u"?issue=42&from=letter");
        links.push_back(u"http://img.example.com/teaser" + decimal(i % 100) + u".gif");
    }
    analyse(state, links);
}

void escaped_links(benchmark::State& state) {
    std::vector<std::u16string> links;
    for (std::size_t i = 0; i < units_of(state) / 90; ++i) {
        links.push_back(u"http://r.example.com/go?to=http%3a%2f%2fwww.example.org%2farticle%2f" +
                        decimal(i) + u"%3fissue%3d42");
    }
    analyse(state, links);
}

// As many as are decoded, then as much to decode as there is room for.
void decoded_each_time(benchmark::State& state, std::u16string_view beginning,
                       std::u16string_view piece) {
    std::u16string url = repeated(u"www.a.com/", 10 * (most_url_decodings + 1));
    url += beginning;
    analyse(state, {url += repeated(piece, units_of(state))});
}

void each_the_beginning_of_the_next(benchmark::State& state) {
    std::vector<std::u16string> links;
    std::u16string url = u"http://www.example.com/";
    for (std::size_t i = 0; i < 200'000; ++i) {
        links.push_back(url.substr(0, 24 + i % 64));
        if (i < 64) url += u"a/b"[i % 3];
    }
    analyse(state, links);
}

// Addresses stand in the digest in full length, so that each begins with all those before it.
void addresses_each_the_beginning_of_the_next(benchmark::State& state) {
    std::vector<std::u16string> links;
    std::u16string url = u"http://1.2.3.";
    for (std::size_t units = 0; units < units_of(state); units += url.size()) {
        links.push_back(url += u'4');
    }
    analyse(state, links);
}

enum class order { upward, downward };

// Signatures alone, each digest the beginning of the next or of the one before.
void reduction(benchmark::State& state, order direction) {
    signature_list made;
    std::u16string digest;
    for (std::size_t units = 0; units < units_of(state); units += digest.size()) {
        push_signature(made, u"tru", digest += u'a');
    }
    if (direction == order::downward) made.reverse();
    for (auto _ : state) {
        state.PauseTiming();
        signature_list signatures = made;
        state.ResumeTiming();
        reduce_url_signatures(signatures);
        benchmark::DoNotOptimize(signatures.size());
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * made.size()));
}

void sizes(benchmark::internal::Benchmark* bench) {
    bench->Arg(1 << 20)->Arg(1 << 24)->Unit(benchmark::kMillisecond);
}

void sizes_from_mail_on(benchmark::internal::Benchmark* bench) {
    bench->Arg(1 << 13);
    sizes(bench);
}

BENCHMARK(search_only)->Apply(sizes_from_mail_on);
BENCHMARK(ordinary_text)->Apply(sizes_from_mail_on);
BENCHMARK(ordinary_links)->Apply(sizes_from_mail_on);
BENCHMARK(escaped_links)->Apply(sizes_from_mail_on);

#define SHAPE(name, beginning, piece, ending) \
    BENCHMARK_CAPTURE(one_link, name, beginning, piece, ending)->Apply(sizes)

SHAPE(only_schemes, u"", u"http:", u"");
SHAPE(schemes_with_slashes, u"", u"http://", u"a.com");
SHAPE(nested_in_one_host, u"", u"www.", u"com/a/b");
SHAPE(nested_hosts, u"", u"http://www.a.com/", u"");
SHAPE(nested_queries, u"", u"http://a.com/?u=", u"");
SHAPE(nested_users, u"?", u"www.@?", u"/1.2.3.4/a");
SHAPE(nested_ports, u"", u"http://a.com:80/", u"");
SHAPE(one_long_host, u"http://", u"a.", u"com");
SHAPE(only_dots, u"www.a.com/www", u".", u"com");
SHAPE(only_slashes, u"www.a.com/www", u"/", u"com");
SHAPE(one_long_address, u"http://1.2.3.", u"4", u"");
SHAPE(control_units, u"www.a.com/", u"\u0001", u"b");
SHAPE(bad_escapes, u"www.a.com/", u"%g", u"");
SHAPE(escapes, u"www.a.com/", u"%41", u"");
SHAPE(escapes_of_bytes, u"www.a.com/", u"%c3", u"");
BENCHMARK_CAPTURE(decoded_each_time, one_sign, u"%", u"25")->Apply(sizes);
BENCHMARK_CAPTURE(decoded_each_time, few_good, u"", u"%g%252525252525252525252525")->Apply(sizes);
BENCHMARK_CAPTURE(decoded_each_time, signs, u"", u"%")->Apply(sizes);
BENCHMARK(each_the_beginning_of_the_next)->Unit(benchmark::kMillisecond);
BENCHMARK(addresses_each_the_beginning_of_the_next)->Apply(sizes);
BENCHMARK_CAPTURE(reduction, upward, order::upward)->Apply(sizes);
BENCHMARK_CAPTURE(reduction, downward, order::downward)->Apply(sizes);

}  // namespace

BENCHMARK_MAIN();
