#include "community/discovery.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "community/client.h"
#include "foundation/translate.h"
#include "support/printable.h"
#include "support/scripted_peer.h"
#include "support/watched_thread.h"

namespace {

using namespace brindlemoss::analysis::community;
using namespace std::chrono_literals;
using replay::internet::address::host_not_found;
using replay::internet::address::ip4;
using replay::internet::address::ip4_address;
using namespace test_support;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto forever = std::chrono::hours(1);

// What the stopwatches of a client read here; stands still unless a test moves it.
std::atomic<std::int64_t> milliseconds_now{0};
std::atomic<int> times_read{0};  // by each start of a timer and by each response

std::chrono::steady_clock::time_point test_time() {
    const std::chrono::milliseconds now{milliseconds_now};
    ++times_read;  // not before: a test moves the time as soon as it sees this
    return std::chrono::steady_clock::time_point(now);
}

std::vector<ip4> two_homes_or_none(const std::string& host, std::uint16_t port) {
    if (host == "nowhere.example") throw host_not_found();
    if (host == "one.example") return {ip4(loopback, port)};
    return {ip4(ip4_address(0x7F000002), port), ip4(loopback, port)};
}

std::vector<std::string> probed(std::string_view hosts) {
    client_options options;
    options.look_up = two_homes_or_none;
    std::vector<std::string> texts;
    for (const ip4& each : addresses_to_probe(hosts, options)) texts.push_back(host_text(each));
    return texts;
}

TEST(addresses_to_probe, are_those_of_the_hosts_in_turn) {
    EXPECT_THAT(probed("pool.example"), ElementsAre("127.0.0.2:2409", "127.0.0.1:2409"));
    EXPECT_THAT(probed("  one.example:1  pool.example one.example:65535 "),
                ElementsAre("127.0.0.1:1", "127.0.0.2:2409", "127.0.0.1:2409", "127.0.0.1:65535"));
    EXPECT_THAT(probed("nowhere.example one.example"), ElementsAre("127.0.0.1:2409"));
}

TEST(addresses_to_probe, fall_back_to_the_fixed_table) {
    for (const std::string_view hosts :
         {"", "  ", "nowhere.example", "one.example:", "one.example:0", "one.example:65536",
          "one.example:-1", "one.example:1x", "one.example:+1"}) {
        SCOPED_TRACE(hosts);
        const auto addresses = probed(hosts);
        ASSERT_EQ(addresses.size(), 22u);
        EXPECT_EQ(addresses.front(), "192.0.2.11:2409");
        EXPECT_EQ(addresses.back(), "203.0.113.17:2409");
    }
}

TEST(fallback_servers, are_all_different_and_for_documentation) {
    for (std::size_t i = 0; i < fallback_servers.size(); ++i) {
        const std::uint32_t network = fallback_servers[i].number() >> 8;
        EXPECT_TRUE(network == 0xC00002 || network == 0xC63364 || network == 0xCB0071) << i;
        for (std::size_t j = 0; j < i; ++j) EXPECT_NE(fallback_servers[i], fallback_servers[j]);
    }
}

TEST(server, is_read_from_its_records) {
    community_stats stats;
    stats.response_time = 7;
    transaction probe(transaction::kind::awaits_response, stats, test_time);
    probe.address = ip4(loopback, 99);
    probe.response.parse("anything\tSRV-FQDN=a%C3%A4\tSRV-PROVIDER=p\tSRV-AGE=BA\tDB-AGE=C\n");
    const server read = read_server(probe);
    EXPECT_EQ(host_text(read), "127.0.0.1:99");
    EXPECT_EQ(read.name, u"a\u00E4");
    EXPECT_EQ(read.location, u"");
    EXPECT_EQ(read.provider, u"p");
    EXPECT_EQ(read.latency, 7u);
    EXPECT_EQ(read.server_age, 64u);
    EXPECT_EQ(read.database_serial, 0u);
    EXPECT_EQ(read.database_age, 2u);
    for (const char* const key : {"SRV-AGE", "DB-SERIAL", "DB-AGE"}) {
        probe.response.records[key] = "-";
        EXPECT_THROW(read_server(probe), replay::coding::translate::invalid_codeword);
        probe.response.records.erase(key);
    }
}

// Answers with its name and whatever else it is told to.
std::unique_ptr<scripted_peer> named_peer(const std::string& name, const std::string& more = {},
                                          bool held = false) {
    return std::make_unique<scripted_peer>([=](const std::string& request) -> replies {
        reply answer(response_to(request, "SRV-FQDN=" + name + more));
        answer.held = held;
        return {answer};
    });
}

std::unique_ptr<scripted_peer> silent_peer() {
    return std::make_unique<scripted_peer>([](const std::string&) { return replies{}; });
}

std::string hosts_of(const std::vector<std::unique_ptr<scripted_peer>>& peers) {
    std::string hosts;
    for (const auto& each : peers) hosts += each->host() + " ";
    return hosts;
}

std::vector<std::string> names_of(const server_list& servers) {
    std::vector<std::string> names;
    for (const auto& [latency, each] : servers) {
        names.push_back(printable(each.name) + " " + std::to_string(latency));
    }
    return names;
}

client_options stopped_time(std::chrono::milliseconds probe_wait) {
    client_options options;
    options.now = test_time;
    options.probe_wait = probe_wait;
    return options;
}

TEST(discovery, orders_servers_by_latency_and_equal_ones_as_they_were_asked) {
    std::vector<std::unique_ptr<scripted_peer>> peers;
    for (const char* const name : {"slow", "first", "second"}) {
        peers.push_back(named_peer(name, "", true));
    }
    client asking(ip4(), hosts_of(peers), 0, stopped_time(forever));
    EXPECT_THAT(asking.servers(), IsEmpty());
    const int reads = times_read;
    const auto await_reads = [&](int count) {
        while (times_read < reads + count) std::this_thread::yield();
    };
    discovery_result result;
    {
        const watched_thread pass([&] { result = asking.discover(); });
        await_reads(3);
        for (const auto& each : peers) each->requests(1);
        milliseconds_now += 15;
        peers[2]->release();
        peers[1]->release();
        await_reads(5);
        milliseconds_now += 25;
        peers[0]->release();
    }
    EXPECT_THAT(names_of(result.servers), ElementsAre("first 15", "second 15", "slow 40"));
    EXPECT_EQ(result.unreachable, 0u);
    EXPECT_EQ(names_of(asking.servers()), names_of(result.servers));
}

TEST(discovery, looks_only_once_for_who_has_not_answered_after_a_silent_server) {
    std::vector<std::unique_ptr<scripted_peer>> peers;
    peers.push_back(named_peer("one"));
    peers.push_back(silent_peer());
    peers.push_back(named_peer("three"));
    peers.push_back(named_peer("four", "", true));
    client asking(ip4(), hosts_of(peers), 0, stopped_time(500ms));
    const auto result = asking.discover();
    EXPECT_THAT(names_of(result.servers), ElementsAre("one 0", "three 0"));
    EXPECT_EQ(result.unreachable, 2u);
}

TEST(discovery, leaves_out_a_server_whose_records_are_wrong) {
    std::vector<std::unique_ptr<scripted_peer>> peers;
    peers.push_back(named_peer("serial", "\tDB-SERIAL=%2D"));
    peers.push_back(named_peer("age", "\tSRV-AGE=."));
    peers.push_back(named_peer("schema", "\tSCHEMA=9\tDB-SERIAL=BA"));
    client asking(ip4(), hosts_of(peers), 0, stopped_time(forever));
    const auto result = asking.discover();
    EXPECT_THAT(names_of(result.servers), ElementsAre("schema 0"));
    EXPECT_EQ(result.unreachable, 0u);
}

TEST(discovery, takes_the_first_of_two_answers_and_none_from_elsewhere) {
    scripted_peer peer([](const std::string& request) -> replies {
        reply elsewhere(response_to(request, "SRV-FQDN=elsewhere"));
        elsewhere.from_another_port = true;
        return {elsewhere,
                "R\tRID=zz\tSRV-FQDN=other\r\n",
                "R\tSRV-FQDN=none\r\n",
                response_to(request, "SRV-FQDN=%zz"),
                response_to(request, "SRV-FQDN=right"),
                response_to(request, "SRV-FQDN=late")};
    });
    client asking(ip4(), peer.host(), 0, stopped_time(forever));
    EXPECT_THAT(names_of(asking.discover().servers), ElementsAre("right 0"));
}

TEST(discovery, counts_servers_that_are_down) {
    std::vector<std::unique_ptr<scripted_peer>> peers;
    peers.push_back(named_peer("up"));
    peers.push_back(named_peer("down"));
    peers.back()->stop();
    client asking(ip4(), hosts_of(peers), 3600, stopped_time(500ms));
    EXPECT_THAT(names_of(asking.servers()), ElementsAre("up 0"));
    EXPECT_EQ(asking.discover().unreachable, 1u);
}

TEST(discovery, of_two_at_a_time_each_gets_its_own) {
    const auto peer = named_peer("a");
    client asking(ip4(), peer->host(), 3600, stopped_time(forever));
    const auto look = [&] {
        for (int i = 0; i < 20; ++i) {
            EXPECT_THAT(names_of(asking.discover().servers), ElementsAre("a 0"));
        }
    };
    const watched_thread one(look);
    const watched_thread other(look);
}

}  // namespace
