// Reading messages: a corpus held in memory is parsed, all parts are visited and all bodies decoded
// out of their transfer codings. GMime does the same work on the same bytes in the same program.
// Two floors stand beside them: finding the line ends, and a std::string a line.
//
// The worst shapes show whether time grows with size: the rate must stay level from 1 to 64 MB.

#include <benchmark/benchmark.h>
#include <gmime/gmime.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "message/lines.h"
#include "message/part.h"
#include "support.h"

namespace {

using brindlemoss::benchmarks::allocation_count;
using brindlemoss::benchmarks::corpus;
using brindlemoss::benchmarks::loaded_corpus;
using replay::internet::message2::line_reader;
using replay::internet::message2::part;

std::size_t body_bytes(const part& item) {
    std::size_t bytes = item.body.size();
    for (const part& child : item.children) bytes += body_bytes(child);
    return bytes;
}

template <typename work>
void run_on_corpus(benchmark::State& state, work do_work) {
    const corpus& mails = loaded_corpus();
    const std::size_t before = allocation_count();
    for (auto _ : state) {
        for (const std::string& mail : mails.mails) benchmark::DoNotOptimize(do_work(mail));
    }
    const double messages = static_cast<double>(state.iterations() * mails.mails.size());
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * mails.bytes));
    state.SetItemsProcessed(static_cast<std::int64_t>(messages));
    state.counters["allocations_per_message"] =
        static_cast<double>(allocation_count() - before) / messages;
}

void corpus_line_scan(benchmark::State& state) {
    run_on_corpus(state, [](const std::string& mail) {
        std::size_t count = 0;
        for (line_reader lines(mail, true); !lines.done(); ++count) lines.next();
        return count;
    });
}
BENCHMARK(corpus_line_scan);

void corpus_string_a_line(benchmark::State& state) {
    run_on_corpus(state, [](const std::string& mail) {
        std::vector<std::string> all;
        for (line_reader lines(mail, true); !lines.done();) all.emplace_back(lines.next());
        return all.size();
    });
}
BENCHMARK(corpus_string_a_line);

void corpus_parse(benchmark::State& state) {
    run_on_corpus(state, [](const std::string& mail) { return body_bytes(part(mail)); });
}
BENCHMARK(corpus_parse);

void decode_gmime_part(GMimeObject*, GMimeObject* item, gpointer total) {
    if (!GMIME_IS_PART(item)) return;
    GMimeDataWrapper* content = g_mime_part_get_content(GMIME_PART(item));
    if (content == nullptr) return;
    GMimeStream* memory = g_mime_stream_mem_new();
    g_mime_data_wrapper_write_to_stream(content, memory);
    *static_cast<std::size_t*>(total) +=
        g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(memory))->len;
    g_object_unref(memory);
}

std::size_t parse_with_gmime(const std::string& mail) {
    GMimeStream* stream = g_mime_stream_mem_new_with_buffer(mail.data(), mail.size());
    GMimeParser* parser = g_mime_parser_new_with_stream(stream);
    GMimeMessage* message = g_mime_parser_construct_message(parser, nullptr);
    std::size_t total = 0;
    if (message != nullptr) {
        g_mime_message_foreach(message, decode_gmime_part, &total);
        g_object_unref(message);
    }
    g_object_unref(parser);
    g_object_unref(stream);
    return total;
}

// GMime allocates with malloc, which the count does not see.
void corpus_parse_gmime(benchmark::State& state) {
    run_on_corpus(state, parse_with_gmime);
}
BENCHMARK(corpus_parse_gmime);

std::string filled(std::string text, std::string_view with, std::size_t size) {
    text.reserve(size + with.size());
    while (text.size() < size) text += with;
    return text;
}

std::string nested_multiparts(std::size_t size) {
    std::string text;
    std::string boundary = "b";
    for (int depth = 0; depth < 63; ++depth) {
        text +=
            "Content-Type: multipart/mixed; boundary=\"" + boundary + "\"\n\n--" + boundary + "\n";
        boundary += 'b';
    }
    return filled(text + "\n", "--" + std::string(70, 'b') + "\n", size);
}

std::string distinct_headers(std::size_t size) {
    std::string text;
    for (std::size_t i = 0; text.size() < size; ++i) text += "X" + std::to_string(i) + ": v\n";
    return text;
}

struct shape {
    const char* name;
    std::string (*make)(std::size_t size);
};

const shape shapes[] = {
    {"one_long_line",
     [](std::size_t size) { return std::string("A: b\n\n") + std::string(size, 'x'); }},
    {"one_long_header", [](std::size_t size) { return "A: " + std::string(size, 'x'); }},
    {"only_line_ends", [](std::size_t size) { return std::string(size, '\n'); }},
    {"only_carriage_returns", [](std::size_t size) { return std::string(size, '\r'); }},
    {"nested_multiparts", nested_multiparts},
    {"header_lines", distinct_headers},
    {"folded_header", [](std::size_t size) { return filled("A: b\n", " c\n", size); }},
    {"folded_content_type",
     [](std::size_t size) { return filled("Content-Type: text/plain\n", " ;a=b\n", size); }},
    {"begin_lines", [](std::size_t size) { return filled("A: b\n\n", "begin 644 x\n", size); }},
    {"empty_parts",
     [](std::size_t size) { return filled("Content-Type: a/b; boundary=b\n\n", "--b\n", size); }},
};

void worst_shape(benchmark::State& state) {
    const shape& chosen = shapes[state.range(0)];
    const std::string mail = chosen.make(static_cast<std::size_t>(state.range(1)) << 20);
    state.SetLabel(chosen.name);
    for (auto _ : state) {
        part message(mail);
        benchmark::DoNotOptimize(message.children.size());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * mail.size()));
}
BENCHMARK(worst_shape)
    ->ArgsProduct({benchmark::CreateDenseRange(0, std::size(shapes) - 1, 1), {1, 2, 4, 16, 64}})
    ->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argument_count, char** arguments) {
    g_mime_init();
    benchmark::Initialize(&argument_count, arguments);
    if (benchmark::ReportUnrecognizedArguments(argument_count, arguments)) return 2;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    g_mime_shutdown();
    return 0;
}
