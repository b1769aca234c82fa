// Round trips between callers and a responder on loopback: those of match(), and beside them bare
// ones of the same bytes, each caller sending and receiving on a socket of its own. Times are those
// of one round trip, the percentiles in seconds; items are what all callers together make in a
// second. And the queue of votes.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "community/client.h"
#include "community/datagram.h"
#include "community/feedback.h"
#include "foundation/transport.h"
#include "temporary_home.h"

namespace {

using namespace brindlemoss::analysis;
using namespace brindlemoss::analysis::community;
using replay::internet::address::ip4;
using replay::internet::address::ip4_address;
using replay::internet::transport::udp::buffer;
using replay::internet::transport::udp::raw;
using clock = std::chrono::steady_clock;

constexpr ip4_address loopback{0x7F000001};
constexpr int signatures_of_a_message = 10;
constexpr std::string_view number_key = "RID=";

// Names all signatures of a request, so that the list of a caller stays as long as it is.
std::string response_body() {
    std::string body;
    for (std::uint64_t i = 0; i < signatures_of_a_message; ++i) {
        body += encode_numeral(i) + '\t' + encode_numeral(1'000'000 + i) + "\tB\tA\tD\tA\tBA\r\n";
    }
    return body;
}

// Answers every datagram that carries a number, as fast as one thread can.
class responder {
public:
    responder() {
        socket_.open(ip4());
        socket_.bind(ip4(loopback, 0));
        address_ = socket_.local_address();
        thread_ = std::thread([this] { run(); });
    }
    ~responder() {
        socket_.close();
        thread_.join();
    }

    const ip4& address() const { return address_; }

private:
    void run() {
        buffer request(socket_.maximum_message_size());
        const std::string rest = "\tSCHEMA=1\r\n" + response_body();
        std::string response;
        try {
            while (true) {
                ip4 from;
                socket_.receive(from, request);
                const std::string_view text = request.text();
                if (text.starts_with("REPORT")) continue;  // a vote waits for nothing
                const std::size_t begin = text.find(number_key);
                const std::size_t end = text.find_first_of("\t\r", begin);
                response.assign("MATCH\t").append(text.substr(begin, end - begin)).append(rest);
                socket_.send(from, response);
            }
        } catch (const replay::internet::transport::generic&) {
            // Closed.
        }
    }

    raw socket_;
    ip4 address_;
    std::thread thread_;
};

signature_list signatures() {
    signature_list made;
    for (char16_t i = 0; i < signatures_of_a_message; ++i) {
        push_signature(
            made, u"hsi",
            u"kAFQmDzST7DWlj99KOFcg" + std::u16string(1, static_cast<char16_t>(u'A' + i)));
    }
    return made;
}

// Does its work once and is called again and again; one for each caller.
using round_trip = std::function<void()>;

void measure(benchmark::State& state, const std::function<round_trip()>& make) {
    const auto callers = static_cast<std::size_t>(state.range(0));
    constexpr std::size_t trips = 20'000;
    std::vector<double> times;
    for (auto _ : state) {
        std::vector<round_trip> calls;
        for (std::size_t i = 0; i < callers; ++i) calls.push_back(make());
        std::vector<std::vector<double>> of_callers(callers);
        std::atomic<bool> go = false;
        std::vector<std::thread> threads;
        for (std::size_t i = 0; i < callers; ++i) {
            threads.emplace_back([&, i] {
                go.wait(false);
                for (std::size_t trip = 0; trip < trips / callers; ++trip) {
                    const auto begin = clock::now();
                    calls[i]();
                    of_callers[i].push_back(
                        std::chrono::duration<double>(clock::now() - begin).count());
                }
            });
        }
        const auto begin = clock::now();
        go = true;
        go.notify_all();
        for (std::thread& each : threads) each.join();
        state.SetIterationTime(std::chrono::duration<double>(clock::now() - begin).count());
        for (const auto& each : of_callers) times.insert(times.end(), each.begin(), each.end());
    }
    std::sort(times.begin(), times.end());
    state.SetItemsProcessed(static_cast<std::int64_t>(times.size()));
    state.counters["p50"] = times[times.size() / 2];
    state.counters["p99"] = times[times.size() * 99 / 100];
}

std::string host_text(const responder& answering) {
    return "127.0.0.1:" + std::to_string(answering.address().port());
}

void match(benchmark::State& state) {
    responder answering;
    client asking(ip4(), host_text(answering), 3600);
    measure(state, [&]() -> round_trip {
        return [&, list = signatures()]() mutable {
            report lines;
            community_stats stats;
            asking.match(list, lines, stats, std::chrono::seconds(5));
        };
    });
}

void bare(benchmark::State& state) {
    responder answering;
    datagram request;
    request.command = "MATCH";
    request.records = {{"RID", "BAAA"}, {"SCHEMA", "1"}};
    for (const auto& each : signatures()) {
        request.lines.push_back("hsi\t" + std::string(each.digest.begin(), each.digest.end()));
    }
    std::string bytes;
    request.serialize(bytes);
    measure(state, [&]() -> round_trip {
        auto socket = std::make_shared<raw>();
        socket->open(ip4());
        auto response = std::make_shared<buffer>(socket->maximum_message_size());
        return [&, socket, response] {
            ip4 from;
            socket->send(answering.address(), bytes);
            socket->receive(from, *response);
        };
    });
}

// Votes of 2 KB go out through the queue; "bytes_left" is what is held more when it is empty again.
void votes(benchmark::State& state) {
    responder answering;
    client asking(ip4(), host_text(answering), 3600);
    brindlemoss::spam::feedback queue(asking);
    const replay::internet::message2::part message("Subject: a\n\n" + std::string(2000, 'x') +
                                                   "\n");
    const auto send = [&](std::int64_t count) {
        for (std::int64_t i = 0; i < count; ++i) queue.enqueue(vote::report, message);
        if (!queue.wait_until_done(std::chrono::minutes(1))) state.SkipWithError("still waiting");
    };
    send(100);
    const std::size_t before = ::mallinfo2().uordblks;
    for (auto _ : state) send(state.range(0));
    const std::size_t after = ::mallinfo2().uordblks;
    state.counters["bytes_left"] = static_cast<double>(after) - static_cast<double>(before);
    state.SetItemsProcessed(state.iterations() * state.range(0));
    if (queue.tally().failed != 0) state.SkipWithError("a vote was lost");
}

// The two in turn for each number of callers, so that other work on the machine meets both alike.
void add_pairs() {
    const auto add = [](const char* name, void (*work)(benchmark::State&), int callers) {
        benchmark::RegisterBenchmark(name, work)
            ->Arg(callers)
            ->UseManualTime()
            ->Unit(benchmark::kMillisecond);
    };
    for (const int callers : {1, 2, 16, 64}) {
        add("bare", bare, callers);
        add("match", match, callers);
    }
}

BENCHMARK(votes)->Arg(10'000)->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argument_count, char** arguments) {
    add_pairs();
    return brindlemoss::benchmarks::run_in_temporary_home(argument_count, arguments);
}
