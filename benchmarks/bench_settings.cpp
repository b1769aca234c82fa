// Look-ups in a settings document of 1 MB: a value at its end, one that is not there, and through
// the account's four names, in a document like those of the server, in one without tags and in one
// of nothing but tags. Bytes are those of the text as it is kept, two for each unit, scanned in one
// look-up.

#include <benchmark/benchmark.h>

#include <cstddef>
#include <string>
#include <string_view>

#include "account/settings_document.h"
#include "support.h"

namespace {

using brindlemoss::account::settings_document;
using brindlemoss::benchmarks::allocated;

constexpr std::size_t units = std::size_t{1} << 19;
constexpr std::u16string_view end = u"<Last><Of><All>value</All></Of></Last>";

std::u16string document_of(std::u16string_view piece) {
    return brindlemoss::benchmarks::repeated(piece, units).append(end);
}

const std::u16string& usual_text() {
    static const std::u16string text = document_of(
        u"<Parameters><MailTag>Sent by way of the example</MailTag><Command></Command>"
        u"<Text>A line &amp; another, of the length that such lines have</Text></Parameters>");
    return text;
}

const std::u16string& plain_text() {
    static const std::u16string text = document_of(u"A line of text without any tags. ");
    return text;
}

const std::u16string& dense_text() {
    static const std::u16string text = document_of(u"<a>");
    return text;
}

void look_up(benchmark::State& state, const std::u16string& text, std::u16string_view name,
             std::u16string_view value) {
    const settings_document document(text);
    const std::size_t before = allocated().bytes;
    for (auto _ : state) {
        if (document.setting(name) != value) state.SkipWithError("another value");
    }
    state.counters["bytes_allocated"] = benchmark::Counter(
        static_cast<double>(allocated().bytes - before), benchmark::Counter::kAvgIterations);
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(2 * text.size()));
}

BENCHMARK_CAPTURE(look_up, usual_at_end, usual_text(), u"Last.Of.All", u"value");
BENCHMARK_CAPTURE(look_up, usual_absent, usual_text(), u"BrindlemossLogin.Login.Access", u"");
BENCHMARK_CAPTURE(look_up, plain_at_end, plain_text(), u"Last.Of.All", u"value");
BENCHMARK_CAPTURE(look_up, dense_at_end, dense_text(), u"Last.Of.All", u"value");
BENCHMARK_CAPTURE(look_up, dense_absent, dense_text(), u"a.b", u"");

}  // namespace

BENCHMARK_MAIN();
