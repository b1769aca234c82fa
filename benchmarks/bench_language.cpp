// Telling the language of mail. Rates are of bytes of the wide text, two a unit.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "foundation/registry.h"
#include "message/part.h"
#include "services/language_identifier.h"
#include "services/language_manager.h"
#include "support.h"
#include "temporary_home.h"

namespace {

namespace registry = replay::registry2;
using brindlemoss::benchmarks::repeated;
using brindlemoss::language::manager;
using brindlemoss::services::language_manager;
using replay::internet::message2::part;

constexpr std::u16string_view paragraphs[] = {
    u"The allotment society meets on the first Monday of the month, and whoever has seeds to give "
    u"away should bring them along in a paper bag with the name of the plant and the year. ",
    u"Der Gartenverein trifft sich am ersten Montag des Monats, und wer Samen zu verschenken hat, "
    u"m\u00F6ge sie in einer Papiert\u00FCte mitbringen, auf der Pflanze und Jahr stehen. ",
    u"L'association des jardiniers se r\u00E9unit le premier lundi du mois, et ceux qui ont des "
    u"graines \u00E0 donner sont pri\u00E9s de les apporter dans un sachet en papier. ",
    u"\u0421\u0430\u0434\u043E\u0432\u043E\u0434\u044B \u0432\u0441\u0442\u0440\u0435\u0447\u0430"
    u"\u044E\u0442\u0441\u044F \u0432 \u043F\u0435\u0440\u0432\u044B\u0439 \u043F\u043E\u043D\u0435"
    u"\u0434\u0435\u043B\u044C\u043D\u0438\u043A \u043C\u0435\u0441\u044F\u0446\u0430, \u0438 "
    u"\u043A\u0430\u0436\u0434\u044B\u0439 \u043C\u043E\u0436\u0435\u0442 \u043F\u0440\u0438\u043D"
    u"\u0435\u0441\u0442\u0438 \u0441\u0435\u043C\u0435\u043D\u0430. ",
};

std::size_t units_of(const benchmark::State& state) {
    return static_cast<std::size_t>(state.range(0));
}

void identify(benchmark::State& state, const std::u16string& text) {
    manager identifier(u"", u"", u"");
    for (auto _ : state) benchmark::DoNotOptimize(identifier.identify(text));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(text.size() * sizeof(char16_t)));
}

void one_language(benchmark::State& state, std::u16string_view paragraph) {
    identify(state, repeated(paragraph, units_of(state)));
}

void mixed_languages(benchmark::State& state) {
    std::u16string all;
    for (const std::u16string_view each : paragraphs) all += each;
    identify(state, repeated(all, units_of(state)));
}

// The opening of the library, as the first message of a process with a list of languages pays it.
void first_text(benchmark::State& state) {
    for (auto _ : state) {
        manager identifier(u"", u"", u"");
        benchmark::DoNotOptimize(identifier.identify(paragraphs[0]));
    }
}

// What every message pays that comes through the gate.
void accept(benchmark::State& state, const registry::text_list& languages) {
    registry::at(registry::tree_key::user_language_recognition)
        .set_multi_text(u"Languages", languages);
    replay::log quiet;
    language_manager gate(quiet, [] { return std::make_unique<manager>(u"", u"", u""); });
    part message(
        "\nThe allotment society meets on the first Monday of the month, and whoever has seeds to "
        "give away should bring them along in a paper bag with the name of the plant.\n");
    int language = 0;
    for (auto _ : state) benchmark::DoNotOptimize(gate.accept(message, language));
}

void sizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->Arg(200)->Arg(2'000)->Arg(16'384);
}

BENCHMARK_CAPTURE(one_language, english, paragraphs[0])->Apply(sizes);
BENCHMARK_CAPTURE(one_language, german, paragraphs[1])->Apply(sizes);
BENCHMARK_CAPTURE(one_language, french, paragraphs[2])->Apply(sizes);
BENCHMARK_CAPTURE(one_language, russian, paragraphs[3])->Apply(sizes);
BENCHMARK(mixed_languages)->Apply(sizes);
BENCHMARK(first_text);
BENCHMARK_CAPTURE(accept, without_a_list, {});
BENCHMARK_CAPTURE(accept, with_a_list, {u"1049", u"1030"});

}  // namespace

int main(int argument_count, char** arguments) {
    return brindlemoss::benchmarks::run_in_temporary_home(argument_count, arguments);
}
