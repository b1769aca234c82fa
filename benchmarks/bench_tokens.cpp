// The words of a text, from the decoded text to the signatures: the mails of BRINDLEMOSS_CORPUS,
// with the time of each stage added to those before it, and the worst shapes. Sizes are those of
// the text in bytes, two a unit, or numbers of words; the rate must stay level from the smallest to
// the largest.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "analysis/plugins/signatures.h"
#include "analysis/plugins/token_signatures.h"
#include "analysis/plugins/tokens.h"
#include "foundation/exception.h"
#include "message/html_reader.h"
#include "message/part.h"
#include "platform/character_class.h"
#include "support.h"

namespace {

using namespace brindlemoss::analysis;
using brindlemoss::benchmarks::loaded_corpus;
using namespace brindlemoss::analysis::plugins::text_analysis;
using replay::internet::message2::part;

// The visible text of each mail of the corpus.
const std::vector<std::u16string>& mail_texts() {
    static const std::vector<std::u16string> texts = [] {
        std::vector<std::u16string> read;
        for (const std::string& mail : loaded_corpus().mails) {
            try {
                part root(mail);
                part* const shown = plugins::displayable_part(root);
                if (shown == nullptr) continue;
                replay::html::convert_to_text html;
                if (shown->content_type == "text/html") replay::html::parse(shown->text(), html);
                read.push_back(shown->content_type == "text/html" ? html.result : shown->text());
            } catch (const replay::exception&) {
                // Counts as empty in an analysis too.
            }
        }
        return read;
    }();
    return texts;
}

// As many of these as make a text of that size.
std::u16string ordinary_text(std::size_t units) {
    std::u16string text;
    while (text.size() < units) {
        for (const std::u16string& mail : mail_texts()) {
            text += mail;
            if (text.size() >= units) break;
        }
    }
    text.resize(units);
    return text;
}

void append_number(std::u16string& text, std::uint64_t number) {
    constexpr std::u16string_view letters = u"abcdefghjkmnopqrsuvwxyz";
    do text += letters[number % letters.size()];
    while ((number /= letters.size()) != 0);
}

// Words that fold to different sets of letters: one of some 16,000 units, and one more per digit.
void append_different_word(std::u16string& text, std::uint32_t number) {
    constexpr std::uint32_t ideographs = 16384;
    text += static_cast<char16_t>(0x4E00 + number % ideographs);
    text += static_cast<char16_t>(0xAC00 + number / ideographs);
    text += u' ';
}

enum class shape { all_different, all_equal, each_twice, each_nine_times, each_nine_times_in_turn };

std::u16string words_of_shape(shape kind, std::uint32_t words) {
    std::u16string text;
    text.reserve(std::size_t{words} * 3);
    for (std::uint32_t i = 0; i < words; ++i) {
        switch (kind) {
            case shape::all_different: append_different_word(text, i); break;
            case shape::all_equal: append_different_word(text, 0); break;
            case shape::each_twice: append_different_word(text, i / 2); break;
            case shape::each_nine_times: append_different_word(text, i / 9); break;
            case shape::each_nine_times_in_turn:
                append_different_word(text, i % (words / 9 + 1));
                break;
        }
    }
    return text;
}

void report_bytes(benchmark::State& state, std::size_t units) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(units * sizeof(char16_t)));
}

std::size_t units_of(const benchmark::State& state) {
    return static_cast<std::size_t>(state.range(0)) / sizeof(char16_t);
}

// What is done of the work on a text.
enum class stage { copy, normalise, tokenise, check, fold, blocks, curves, structures };

std::size_t analyse(const part& root, const std::u16string& decoded, stage last) {
    std::u16string text(decoded);
    if (last == stage::copy) return text.size();
    normalise(text);
    if (last == stage::normalise) return text.size();
    token_list tokens(text);
    if (last == stage::tokenise) return tokens.size();
    test_list tests;
    check_address_customisation(root, tokens, tests);
    check_permutated_tokens(tokens, tests);
    if (last == stage::check) return tests.size();
    fold(tokens);
    if (last == stage::fold) return tokens.size();
    signature_list signatures;
    push_block_signatures(tokens, signatures);
    if (last == stage::blocks) return signatures.size();
    push_length_curve_signatures(tokens, signatures);
    if (last == stage::curves) return signatures.size();
    push_structure_signatures(tokens, signatures);
    return signatures.size();
}

void analyse(benchmark::State& state, const part& root, const std::u16string& text) {
    for (auto _ : state) benchmark::DoNotOptimize(analyse(root, text, stage::structures));
    report_bytes(state, text.size());
}

// Each stage with those before it.
void mails(benchmark::State& state, stage last) {
    part root;
    root.add_header("To", "\"Ana Miro\" <ana.miro@example.com>, jim@example.com");
    std::size_t units = 0;
    for (const std::u16string& text : mail_texts()) units += text.size();
    for (auto _ : state) {
        for (const std::u16string& text : mail_texts()) {
            benchmark::DoNotOptimize(analyse(root, text, last));
        }
    }
    report_bytes(state, units);
    state.counters["mail"] = benchmark::Counter(
        static_cast<double>(state.iterations()) * static_cast<double>(mail_texts().size()),
        benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void ordinary(benchmark::State& state) {
    analyse(state, part{}, ordinary_text(units_of(state)));
}

void words(benchmark::State& state, shape kind) {
    analyse(state, part{}, words_of_shape(kind, static_cast<std::uint32_t>(state.range(0))));
}

void repeated(benchmark::State& state, std::u16string_view piece) {
    std::u16string text;
    while (text.size() < units_of(state)) text += piece;
    analyse(state, part{}, text);
}

// One word of all letters there are.
void one_word(benchmark::State& state) {
    const auto& characters = replay::platform::characters();
    std::u16string text;
    for (char16_t unit = 1; text.size() < units_of(state); ++unit) {
        if (!characters.is_space(unit) && !characters.is_control(unit)) text += unit;
    }
    analyse(state, part{}, text);
}

// As many addresses as words, up to what a header may hold; none of them is there exactly once.
void addresses(benchmark::State& state) {
    std::string to;
    std::u16string text;
    for (std::int64_t i = 0; i < state.range(0); ++i) {
        std::u16string word;
        append_number(word, static_cast<std::uint64_t>(i) + 10'000'000);
        text.append(word).append(u" ").append(word).append(u" ");
        to.append(word.begin(), word.end()).append("@example.com, ");
    }
    part root;
    root.add_header("To", to);
    analyse(state, root, text);
}

constexpr std::int64_t megabyte = 1 << 20;

void sizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->RangeMultiplier(4)->Range(megabyte, 16 * megabyte)->Unit(benchmark::kMillisecond);
}

void numbers_of_words(benchmark::internal::Benchmark* benchmark) {
    benchmark->Arg(312'500)->Arg(1'250'000)->Arg(5'000'000)->Unit(benchmark::kMillisecond);
}

#define MAILS(last) BENCHMARK_CAPTURE(mails, last, stage::last)->Unit(benchmark::kMillisecond)

MAILS(copy);
MAILS(normalise);
MAILS(tokenise);
MAILS(check);
MAILS(fold);
MAILS(blocks);
MAILS(curves);
MAILS(structures);

BENCHMARK(ordinary)->Apply(sizes);
BENCHMARK_CAPTURE(words, all_different, shape::all_different)->Apply(numbers_of_words);
BENCHMARK_CAPTURE(words, all_equal, shape::all_equal)->Apply(numbers_of_words);
BENCHMARK_CAPTURE(words, each_twice, shape::each_twice)->Apply(numbers_of_words);
BENCHMARK_CAPTURE(words, each_nine_times, shape::each_nine_times)->Apply(numbers_of_words);
BENCHMARK_CAPTURE(words, in_turn, shape::each_nine_times_in_turn)->Apply(numbers_of_words);
BENCHMARK_CAPTURE(repeated, punctuation_alone, u", ")->Apply(sizes);
BENCHMARK_CAPTURE(repeated, punctuation_within, u"a.")->Apply(sizes);
BENCHMARK_CAPTURE(repeated, blanks, u" ")->Apply(sizes);
BENCHMARK(one_word)->Apply(sizes);
BENCHMARK(addresses)->Arg(6'250)->Arg(25'000)->Arg(100'000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
