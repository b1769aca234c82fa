#include "community/client.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "community/errors.h"
#include "foundation/translate.h"
#include "support/printable.h"
#include "support/scripted_peer.h"
#include "support/watched_thread.h"

namespace {

using namespace brindlemoss::analysis;
using namespace brindlemoss::analysis::community;
using namespace std::chrono_literals;
using replay::internet::address::ip4;
using replay::internet::address::ip4_address;
using namespace test_support;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto forever = std::chrono::hours(1);

std::chrono::steady_clock::time_point no_time() {
    return {};
}

// Latencies are 0, and a server has an hour to answer.
client_options patient() {
    client_options options;
    options.shortest_attempt = forever;
    options.probe_wait = forever;
    options.now = no_time;
    return options;
}

// Attempts end soon and time goes on.
client_options hasty(std::chrono::milliseconds attempt = 20ms) {
    client_options options;
    options.shortest_attempt = attempt;
    options.probe_wait = forever;
    return options;
}

constexpr std::string_view named = "SRV-FQDN=srv\tSRV-LOCATION=here";
constexpr std::string_view empty_match = "SCHEMA=1";

bool asks_for_servers(const std::string& request) {
    return request.starts_with("DISCOVER");
}

// Tells its name, and answers everything else by the script.
scripted_peer::script server_that(scripted_peer::script answers) {
    return [answers = std::move(answers)](const std::string& request) -> replies {
        if (asks_for_servers(request)) return {response_to(request, named)};
        return answers(request);
    };
}

replies no_answer(const std::string&) {
    return {};
}

replies right_answer(const std::string& request) {
    return {response_to(request, empty_match)};
}

replies held_answer(const std::string& request) {
    reply answer(right_answer(request)[0]);
    answer.held = true;
    return {answer};
}

std::vector<std::string> texts_of(const report& lines) {
    std::vector<std::string> texts;
    for (const report_line& each : lines) {
        texts.push_back(std::to_string(each.depth) + " " + printable(each.text));
    }
    return texts;
}

// One query, and what comes of it.
struct query {
    explicit query(client& asked, std::chrono::milliseconds budget = 5s) {
        push_signature(signatures, u"hsi", u"1");
        push_signature(signatures, u"tru", u"2");
        try {
            asked.match(signatures, lines, stats, budget);
        } catch (const std::exception& failure) {
            thrown = failure.what();
        }
    }

    signature_list signatures;
    report lines;
    community_stats stats;
    std::string thrown;
};

TEST(client, match_sends_the_signatures_and_applies_the_answer) {
    const std::string answer_body = "B\tJ\tB\tA\tC\tD\tE\r\n";
    scripted_peer peer(server_that([&](const std::string& request) -> replies {
        return {response_to(request, "SCHEMA=1\tDB-SERIAL=BA\tDB-AGE=P", answer_body)};
    }));
    client asking(ip4(), peer.host(), 3600, patient());
    const query one(asking);
    EXPECT_EQ(one.thrown, "");
    const std::string request = "MATCH\tRID=C\tSCHEMA=1\r\nhsi\t1\r\ntru\t2\r\n";
    EXPECT_THAT(peer.requests_of("MATCH"), ElementsAre(request));
    EXPECT_THAT(
        texts_of(one.lines),
        ElementsAre("0 ", "0 Executing Request:", "1 Server: srv [127.0.0.1]", "2 Latency: 0 msec",
                    "2 Location: here", "2 Database: Serial: 64, Last update: 15 seconds ago"));
    ASSERT_EQ(one.signatures.size(), 2u);
    EXPECT_TRUE(one.signatures.back().matched);
    EXPECT_EQ(one.signatures.back().id, 9u);
    EXPECT_EQ(one.signatures.back().reports, 2u);
    EXPECT_EQ(one.stats.packets_transmitted, 1u);
    EXPECT_EQ(one.stats.packets_received, 1u);
    EXPECT_EQ(one.stats.bytes_transmitted, request.size());
    // "RESPONSE\tRID=C\tSCHEMA=1\tDB-SERIAL=BA\tDB-AGE=P\r\n" and the body
    EXPECT_EQ(one.stats.bytes_received, 47 + answer_body.size());
}

TEST(client, numbers_of_the_database_are_shown_as_signed) {
    scripted_peer peer(server_that([](const std::string& request) -> replies {
        // 2^64 - 1 and 2^32 - 2
        return {response_to(request,
                            "SCHEMA=1\tDB-SERIAL=P%2F%2F%2F%2F%2F%2F%2F%2F%2F%2F"
                            "\tDB-AGE=D%2F%2F%2F%2F%2B")};
    }));
    client asking(ip4(), peer.host(), 3600, patient());
    EXPECT_EQ(texts_of(query(asking).lines).back(),
              "2 Database: Serial: -1, Last update: -2 seconds ago");
}

TEST(client, a_touch_goes_out_and_waits_for_nothing) {
    scripted_peer peer(server_that(no_answer));
    client asking(ip4(), peer.host(), 3600, patient());
    signature_list signatures;
    push_signature(signatures, u"hsi", u"1");
    signatures.back().matched = true;
    signatures.back().id = 3;
    report lines;
    community_stats stats;
    asking.touch(u"Spam", signatures, lines, stats);
    asking.touch(u"", {}, lines, stats);
    const std::string touch = "TOUCH\tCLASS=Spam\tRID=C\tSCHEMA=1\r\nD\r\n";
    const std::string empty_touch = "TOUCH\tRID=D\tSCHEMA=1\r\n";
    EXPECT_THAT(peer.requests_of("TOUCH", 2), ElementsAre(touch, empty_touch));
    EXPECT_EQ(stats.bytes_transmitted, touch.size() + empty_touch.size());
    EXPECT_EQ(stats.packets_transmitted, 2u);
    EXPECT_EQ(stats.packets_received, 0u);
    lines.resize(5);
    EXPECT_THAT(texts_of(lines),
                ElementsAre("0 ", "0 Executing Request:", "1 Server: srv [127.0.0.1]",
                            "2 Latency: 0 msec", "2 Location: here"));
}

// Of this process.
std::ptrdiff_t sockets_and_threads() {
    const auto entries = [](const char* folder) {
        return std::distance(std::filesystem::directory_iterator(folder), {});
    };
    return entries("/proc/self/fd") + entries("/proc/self/task");
}

TEST(client, without_a_look_at_the_servers_fails_at_once) {
    scripted_peer peer(server_that(right_answer));
    const std::ptrdiff_t before = sockets_and_threads();
    client asking(ip4(), peer.host(), 0, patient());
    const query one(asking, forever);
    EXPECT_EQ(sockets_and_threads(), before) << "nothing is made that is not needed";
    EXPECT_EQ(one.thrown, "community_client.discovery_pending[]");
    EXPECT_THAT(
        texts_of(one.lines),
        ElementsAre("0 ", "0 Executing Request:", "1 Operation failed. Discovery not started."));
    EXPECT_THAT(peer.requests(), IsEmpty());
    asking.discover();
    EXPECT_EQ(query(asking).thrown, "");
}

TEST(client, during_the_first_look_waits_as_long_as_the_budget_lasts) {
    scripted_peer peer([](const std::string& request) -> replies {
        reply answer(response_to(request, asks_for_servers(request) ? named : empty_match));
        answer.held = asks_for_servers(request);
        return {answer};
    });
    client asking(ip4(), peer.host(), 0, patient());
    const watched_thread looking([&] { asking.discover(); });
    peer.requests(1);
    const query hurried(asking, 0ms);
    EXPECT_EQ(hurried.thrown, "community_client.discovery_pending[]");
    EXPECT_EQ(texts_of(hurried.lines).back(), "1 Operation failed. Discovery not completed.");
    const watched_thread patiently([&] { EXPECT_EQ(query(asking, forever).thrown, ""); });
    EXPECT_TRUE(patiently.blocks());
    peer.release();
}

TEST(client, with_no_server_found_has_them_looked_for_again) {
    std::atomic<int> looks = 0;
    scripted_peer peer([&](const std::string& request) -> replies {
        if (asks_for_servers(request) && ++looks == 1) return {};
        return {response_to(request, asks_for_servers(request) ? named : empty_match)};
    });
    client_options options = patient();
    options.probe_wait = 100ms;
    client asking(ip4(), peer.host(), 3600, options);
    const query early(asking);
    EXPECT_EQ(early.thrown, "community_client.discovery_pending[]");
    EXPECT_EQ(texts_of(early.lines).back(),
              "1 Operation failed. Discovery found no reachable servers.");
    while (!query(asking).thrown.empty()) std::this_thread::yield();
    EXPECT_EQ(asking.servers().size(), 1u);
}

TEST(client, asks_the_next_server_when_one_is_silent) {
    scripted_peer silent(server_that(no_answer));
    scripted_peer right(server_that(right_answer));
    client_options options = hasty(300ms);
    options.now = no_time;  // both have latency 0, so the silent one comes first
    client asking(ip4(), silent.host() + " " + right.host(), 3600, options);
    const query one(asking);
    EXPECT_EQ(one.thrown, "");
    EXPECT_THAT(texts_of(one.lines),
                ElementsAre("0 ", "0 Executing Request:", "1 Server: srv [127.0.0.1]",
                            "2 Exception: internet.transport.operation_timed_out[]",
                            "1 Server: srv [127.0.0.1]", "2 Latency: 0 msec", "2 Location: here",
                            "2 Database: Serial: 0, Last update: 0 seconds ago"));
    EXPECT_EQ(one.stats.packets_transmitted, 2u);
    EXPECT_EQ(one.stats.packets_received, 1u);
    EXPECT_EQ(silent.requests_of("MATCH"), right.requests_of("MATCH"));
    silent.requests_of("DISCOVER", 2);  // the time-out has the servers looked for again
}

// Moves on by a step at each look.
std::atomic<std::int64_t> step_of_time{0};
std::atomic<std::int64_t> running_milliseconds{0};

std::chrono::steady_clock::time_point running_time() {
    return std::chrono::steady_clock::time_point(
        std::chrono::milliseconds(running_milliseconds += step_of_time));
}

TEST(client, goes_round_the_servers_until_the_budget_is_exceeded) {
    scripted_peer one(server_that(no_answer));
    scripted_peer two(server_that(no_answer));
    client_options options = hasty(1ms);
    options.now = running_time;
    client asking(ip4(), one.host() + " " + two.host(), 0, options);
    asking.discover();
    step_of_time = 250;  // two looks an attempt: its own start, and the time that all have taken
    const query spent(asking, 1500ms);
    EXPECT_EQ(spent.thrown, "community_client.timed_out[]");
    EXPECT_EQ(spent.stats.packets_transmitted, 4u);
    EXPECT_EQ(query(asking, 1499ms).stats.packets_transmitted, 3u);
    EXPECT_EQ(query(asking, 0ms).stats.packets_transmitted, 1u);
    step_of_time = 0;
    EXPECT_EQ(one.requests_of("MATCH", 5).size(), 5u);
    EXPECT_EQ(two.requests_of("MATCH", 3).size(), 3u);
    ASSERT_EQ(spent.lines.size(), 10u);
    EXPECT_EQ(spent.signatures.size(), 2u);
}

TEST(client, a_server_has_four_times_its_latency_to_answer) {
    const client_options options;
    for (const auto& [latency, limit] : {std::pair{0u, 500ms},
                                         {100u, 500ms},
                                         {125u, 500ms},
                                         {126u, 504ms},
                                         {200u, 800ms},
                                         {3000u, 12000ms}}) {
        server asked;
        asked.latency = latency;
        EXPECT_EQ(time_to_answer(asked, options), limit) << latency;
    }
}

TEST(client, a_request_over_the_size_of_a_datagram_is_not_tried_twice) {
    scripted_peer peer(server_that(right_answer));
    client asking(ip4(), peer.host(), 3600, patient());
    signature_list signatures;
    push_signature(signatures, u"k", std::u16string(65'507 - 22 - 4, u'x'));
    report lines;
    community_stats stats;
    asking.match(signatures, lines, stats, 5s);
    EXPECT_EQ(stats.bytes_transmitted, 65'507u);  // fits exactly

    signatures.front().digest += u'x';
    lines.clear();
    EXPECT_THROW(asking.match(signatures, lines, stats, 5s), too_large);
    EXPECT_EQ(stats.packets_transmitted, 1u);
    EXPECT_THAT(texts_of(lines),
                ElementsAre("0 ", "0 Executing Request:", "1 Server: srv [127.0.0.1]",
                            "1 Operation failed. Buffer exceeds datagram capacity."));
}

TEST(client, reads_an_answer_as_large_as_a_datagram) {
    scripted_peer peer(server_that([](const std::string& request) -> replies {
        std::string answer = response_to(request, empty_match);
        answer.resize(65'507 - 19, '\n');
        return {answer + "A\tB\tA\tA\tA\tA\tA    \r\n"};
    }));
    client asking(ip4(), peer.host(), 3600, patient());
    const query one(asking);
    EXPECT_EQ(one.thrown, "translate.invalid_codeword[Invalid Codeword 0x20]");
    EXPECT_EQ(one.stats.bytes_received, 65'507u);
}

TEST(client, a_wrong_answer_is_told_and_changes_no_marks) {
    scripted_peer peer(server_that([](const std::string& request) -> replies {
        return {response_to(request, empty_match, "A\tB\tA\tA\tA\tA\tA\nC\tB\tA\tA\tA\tA\tA\n")};
    }));
    client asking(ip4(), peer.host(), 3600, patient());
    const query one(asking);
    EXPECT_EQ(one.thrown, "community_client.malformed_response[invalid record]");
    EXPECT_EQ(one.signatures.size(), 2u);
    EXPECT_FALSE(one.signatures.front().matched);
}

TEST(client, passes_over_what_answers_no_question_of_its_own) {
    scripted_peer peer(server_that([](const std::string& request) -> replies {
        reply elsewhere(response_to(request, "SCHEMA=9"));
        elsewhere.from_another_port = true;
        return {elsewhere,
                "",
                "\r\n",
                std::string(65'507, '\t'),
                "R\tRID=B\tSCHEMA=9\r\n",
                "R\tSCHEMA=9\r\n",
                response_to(request, "SCHEMA=9\tX=%zz"),
                "R\tRID=C\tSCHEMA=9",
                right_answer(request)[0]};
    }));
    client asking(ip4(), peer.host(), 3600, patient());
    const query one(asking);
    EXPECT_EQ(one.thrown, "");
    EXPECT_EQ(one.stats.packets_received, 1u);
}

TEST(client, takes_an_answer_to_an_earlier_attempt) {
    scripted_peer peer(server_that(held_answer));
    client asking(ip4(), peer.host(), 3600, hasty());
    const watched_thread caller([&] {
        const query one(asking, forever);
        EXPECT_EQ(one.thrown, "");
        EXPECT_GE(one.stats.packets_transmitted, 2u);
        EXPECT_EQ(one.stats.packets_received, 1u);
    });
    peer.requests_of("MATCH", 2);
    peer.release();
}

TEST(client, an_answer_after_the_end_is_dropped) {
    scripted_peer peer(server_that(held_answer));
    client asking(ip4(), peer.host(), 3600, hasty(1ms));
    EXPECT_EQ(query(asking, 0ms).thrown, "community_client.timed_out[]");
    peer.release();
    EXPECT_EQ(query(asking, 0ms).thrown, "community_client.timed_out[]");
}

TEST(client, a_server_that_dies_in_mid_query_is_left_for_the_next) {
    scripted_peer dying(server_that(no_answer));
    scripted_peer right(server_that(right_answer));
    client_options options = hasty(100ms);
    options.now = no_time;
    client asking(ip4(), dying.host() + " " + right.host(), 3600, options);
    const watched_thread caller([&] { EXPECT_EQ(query(asking).thrown, ""); });
    dying.requests_of("MATCH", 1);
    dying.stop();
    caller.finish();
    // From now on the system tells that nobody is there.
    for (int i = 0; i < 3; ++i) EXPECT_EQ(query(asking).thrown, "");
}

TEST(client, survives_loss_doubling_and_reordering) {
    std::size_t count = 0;
    replies late;  // goes after the next
    scripted_peer peer([&](const std::string& request) -> replies {
        const reply answer(response_to(request, asks_for_servers(request) ? named : empty_match));
        switch (count++ % 10) {
            case 3:
            case 5:
            case 9: return {};
            case 0:
            case 7: return {answer, answer};
            case 6: late = {answer}; return {};
            case 8: return {answer, late.front()};
            default: return {answer};
        }
    });
    client asking(ip4(), peer.host(), 0, hasty());
    asking.discover();
    for (int i = 0; i < 10; ++i) EXPECT_EQ(query(asking, forever).thrown, "") << i;
}

TEST(client, callers_do_not_disturb_each_other) {
    scripted_peer peer(server_that([](const std::string& request) -> replies {
        // Tells each caller the digest that it asked for.
        datagram read;
        read.parse(request);
        if (read.lines.empty()) return {};
        const std::string line = "A\tB\tA\tA\tA\tA\tA\t" + read.lines[0] + "\r\n";
        return {response_to(request, empty_match, line), response_to(request, empty_match, line)};
    }));
    client asking(ip4(), peer.host(), 3600, patient());
    std::vector<std::unique_ptr<watched_thread>> callers;
    for (char16_t name = u'a'; name < u'a' + 16; ++name) {
        callers.push_back(std::make_unique<watched_thread>([&asking, name] {
            for (int i = 0; i < 50; ++i) {
                signature_list signatures;
                push_signature(signatures, u"kind", std::u16string(1, name));
                report lines;
                community_stats stats;
                asking.match(signatures, lines, stats, 5s);
                ASSERT_TRUE(signatures.front().matched);
                ASSERT_EQ(signatures.front().digest, std::u16string(1, name));
                asking.touch(u"Spam", signatures, lines, stats);
                ASSERT_EQ(stats.packets_transmitted, 2u);
            }
        }));
    }
    for (int i = 0; i < 5; ++i) asking.discover();
}

TEST(client, comes_and_goes_any_number_of_times_under_load) {
    scripted_peer peer(server_that(right_answer));
    for (int i = 0; i < 200; ++i) {
        const auto asking = std::make_shared<client>(ip4(), peer.host(), 3600, patient());
        const auto ask = [asking] { EXPECT_EQ(query(*asking).thrown, ""); };
        const watched_thread one(ask);
        const watched_thread other(ask);
        const watched_thread looking([asking] { asking->discover(); });
    }
}

TEST(client, does_not_wait_for_silent_servers_when_it_is_destroyed) {
    std::atomic<int> looks = 0;
    scripted_peer peer([&](const std::string& request) -> replies {
        if (!asks_for_servers(request) || ++looks > 1) return {};
        return {response_to(request, named)};
    });
    client asking(ip4(), peer.host(), 3600, hasty(1ms));
    EXPECT_EQ(query(asking, 0ms).thrown, "community_client.timed_out[]");
    peer.requests_of("DISCOVER", 2);  // the look that the time-out has asked for waits an hour
}

TEST(client, is_bound_to_the_local_address_when_one_is_given) {
    scripted_peer peer(server_that(right_answer));
    client asking(ip4(ip4_address(0x7F000003), 0), peer.host(), 3600, patient());
    EXPECT_EQ(query(asking).thrown, "");
    EXPECT_EQ(peer.last_asker().host(), ip4_address(0x7F000003));
    EXPECT_THROW(client(peer.address(), peer.host(), 3600, patient()),
                 replay::internet::transport::address_in_use);
}

}  // namespace
