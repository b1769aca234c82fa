// Reading messages: a corpus held in memory is parsed, all parts are visited and all bodies decoded
// out of their transfer codings. GMime does the same work on the same bytes in the same program.
// Two floors stand beside them: finding the line ends, and a std::string a line.
//
// The worst shapes show whether time grows with size: the rate must stay level from 1 to 64 MB.

#include <benchmark/benchmark.h>
#include <gmime/gmime.h>

#include <string>
#include <vector>

#include "message/lines.h"
#include "message/part.h"
#include "message_shapes.h"
#include "support.h"

namespace {

using namespace brindlemoss::benchmarks;
using replay::internet::message2::line_reader;
using replay::internet::message2::part;

std::size_t body_bytes(const part& item) {
    std::size_t bytes = item.body.size();
    for (const part& child : item.children) bytes += body_bytes(child);
    return bytes;
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

void add_shapes() {
    for (const mail_shape& shape : message_shapes()) {
        const std::string name = std::string("worst_shape/") + shape.name;
        benchmark::RegisterBenchmark(name.c_str(),
                                     [&shape](benchmark::State& state) {
                                         run_on_shape(state, shape, [](const std::string& mail) {
                                             return part(mail).children.size();
                                         });
                                     })
            ->Arg(1)
            ->Arg(4)
            ->Arg(16)
            ->Arg(64)
            ->Unit(benchmark::kMillisecond);
    }
}

}  // namespace

int main(int argument_count, char** arguments) {
    keep_memory();
    g_mime_init();
    add_shapes();
    benchmark::Initialize(&argument_count, arguments);
    if (benchmark::ReportUnrecognizedArguments(argument_count, arguments)) return 2;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    g_mime_shutdown();
    return 0;
}
