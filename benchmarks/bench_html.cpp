// Reading HTML: an ordinary newsletter, made here, and the worst shapes. Sizes are those of the
// text in bytes, two a unit. The rate must stay level from 1 to 16 MB. Copying the same bytes is
// the floor.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "message/html_reader.h"
#include "platform/character_class.h"
#include "support.h"

namespace {

using brindlemoss::benchmarks::repeated;
using replay::html::convert_to_text;
using replay::html::parse;

std::size_t units_of(const benchmark::State& state) {
    return static_cast<std::size_t>(state.range(0)) / sizeof(char16_t);
}

std::u16string newsletter(std::size_t units) {
    constexpr std::u16string_view article =
        u"<table border=\"0\" cellpadding=\"4\" width=\"600\" align=\"center\">\r\n"
        u"<tr><td bgcolor=\"#FFFFFF\" style=\"font-family: Verdana, sans-serif\">"
        u"<a href=\"http://news.example.com/read?issue=42&amp;article=7\"><img border=0 "
        u"src='http://img.example.com/teaser.gif' alt='Garden'></a><br>\r\n"
        u"<font size=2 color=#333333><b>Spring is here &ndash; and so are the slugs</b></font>"
        u"<p>Each year the same question comes up in our letters: what helps, and what only "
        u"helps the shop? We asked Ana Miro, who has grown salad for thirty years, and &quot;"
        u"patience&quot; was her first word.&nbsp; The second can be found in this issue.</p>\r\n"
        u"<p>Gr\u00FC\u00DFe aus dem Garten, \u041F\u0440\u0438\u0432\u0435\u0442 &copy; 2009</p>"
        u"</td></tr>\r\n</table>\r\n<!-- next article -->\r\n";
    return u"<html><head><title>Newsletter</title><style>td { color: black }</style></head>\r\n"
           u"<body bgcolor=\"#EEEEEE\">" +
           repeated(article, units) + u"</body></html>\r\n";
}

void report(benchmark::State& state, std::u16string_view html) {
    const auto bytes = static_cast<std::int64_t>(html.size() * sizeof(char16_t));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * bytes);
}

void run(benchmark::State& state, std::u16string_view html) {
    for (auto _ : state) {
        convert_to_text converter;
        converter.result.reserve(html.size());
        parse(html, converter);
        benchmark::DoNotOptimize(converter.result.data());
    }
    report(state, html);
}

void copy_only(benchmark::State& state) {
    const std::u16string html = newsletter(units_of(state));
    for (auto _ : state) {
        std::u16string copy(html);
        benchmark::DoNotOptimize(copy.data());
    }
    report(state, html);
}

void newsletter_to_text(benchmark::State& state) {
    run(state, newsletter(units_of(state)));
}

void one_shape_repeated(benchmark::State& state, std::u16string_view beginning,
                        std::u16string_view piece, std::u16string_view ending) {
    std::u16string html(beginning);
    html += repeated(piece, units_of(state));
    run(state, html += ending);
}

enum class name_order { upward, downward };

// Entities that nothing stands for, all different.
void unknown_entities(benchmark::State& state, name_order order) {
    std::u16string html = u"<body>";
    const std::size_t units = units_of(state);
    for (std::uint32_t number = 0; html.size() < units; ++number) {
        const std::uint32_t name = order == name_order::upward ? number : 0xFFFFFF - number;
        html += u'&';
        for (int shift = 20; shift >= 0; shift -= 4) {
            html += static_cast<char16_t>(u'a' + (name >> shift & 15));
        }
        html += u';';
    }
    run(state, html);
}

void lower_case(benchmark::State& state) {
    std::u16string text = newsletter(units_of(state));
    const auto& characters = replay::platform::characters();
    for (auto _ : state) {
        characters.make_lower(text.data(), text.size());
        benchmark::DoNotOptimize(text.data());
        benchmark::ClobberMemory();
    }
    report(state, text);
}

constexpr std::int64_t megabyte = 1 << 20;

void sizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->RangeMultiplier(4)->Range(megabyte, 16 * megabyte)->Unit(benchmark::kMillisecond);
}

// The size of the text of a mail, where what a call costs in itself would show.
void sizes_from_mail_on(benchmark::internal::Benchmark* benchmark) {
    benchmark->Arg(10'000);
    sizes(benchmark);
}

BENCHMARK(copy_only)->Apply(sizes_from_mail_on);
BENCHMARK(newsletter_to_text)->Apply(sizes_from_mail_on);
BENCHMARK(lower_case)->Apply(sizes_from_mail_on);

#define SHAPE(name, beginning, piece, ending) \
    BENCHMARK_CAPTURE(one_shape_repeated, name, beginning, piece, ending)->Apply(sizes)

SHAPE(only_less_than, u"", u"<", u"");
SHAPE(only_ampersand, u"", u"&", u"");
SHAPE(plain_text, u"<body>", u"word ", u"");
SHAPE(attributes_with_value, u"<a", u" bc='d'", u">");
SHAPE(attributes_without_value, u"<a", u" b", u">");
SHAPE(attributes_never_ended, u"<a", u" b=", u"");
SHAPE(one_entity_name, u"<body>&", u"x", u";");
SHAPE(one_hexadecimal_number, u"<body>&#x", u"1", u";");
SHAPE(one_tag_name, u"<", u"X", u">");
SHAPE(one_quoted_value, u"<a b='", u"x", u"'>");
SHAPE(one_value_of_escapes, u"<a b='", u"\\'", u"'>");
SHAPE(quotes_never_ended, u"", u"<a b='c><d e=\"", u"");
SHAPE(empty_tags, u"<body>", u"<>", u"");
SHAPE(empty_entities, u"<body>", u"&;", u"");
SHAPE(decimal_numbers, u"<body>", u"&#65;", u"");
BENCHMARK_CAPTURE(unknown_entities, upward, name_order::upward)->Apply(sizes);
BENCHMARK_CAPTURE(unknown_entities, downward, name_order::downward)->Apply(sizes);

}  // namespace

int main(int argc, char** argv) {
    // Memory stays with the process between rounds. Otherwise the large sizes alone would pay for
    // pages fetched anew each time, and no shape that is copied once would look linear.
    mallopt(M_MMAP_THRESHOLD, 1 << 30);
    mallopt(M_TRIM_THRESHOLD, -1);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
