#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "analysis/filter_engine.h"
#include "analysis/stored_services.h"
#include "foundation/translate.h"
#include "message/character_set.h"
#include "support/community_home.h"
#include "support/recording_services.h"

namespace {

using namespace brindlemoss::analysis;
using namespace test_support;
using replay::registry2::at;
using replay::registry2::tree_key;
using std::string;
using testing::ElementsAre;
using texts = std::vector<string>;

// Passes the local tests with a rating of 0, and has one signature, of kind "tbd".
const string mail = "From: Ann <ann@example.org>\nSubject: hi\n\nSee you at the station at noon.\n";

string utf8(std::u16string_view wide) {
    return replay::unicode::from_wide(wide, replay::unicode::utf8);
}

// The events from the question to the community on, less the log.
texts community_events(const recording_services& services) {
    texts events(std::find(services.events.begin(), services.events.end(), "match"),
                 services.events.end());
    std::erase_if(events, [](const string& event) { return event.starts_with("log 0"); });
    return events;
}

TEST(community_steps, what_the_community_costs_and_does_is_counted_whatever_becomes_of_it) {
    const string trust = "trust Ann <ann@example.org>";
    const texts timeouts = {"match",
                            "count Communication\\Protocol/Timeouts",
                            "touch HAM",
                            "count Communication/Bytes Transmitted by 100",
                            "count Communication/Bytes Received by 20",
                            trust,
                            "log 1 Analysis:   Overall rating is 0/50"};
    texts errors = timeouts;
    errors[1] = "count Communication\\Protocol/Errors";
    texts queries = timeouts;
    queries[1] = "count Communication\\Protocol/Queries";
    queries.insert(queries.begin() + 2, "count Communication\\Protocol/Response Time by 17");
    const texts fault = {
        "match", "log 2 Exception 'translate.invalid_codeword[Invalid Codeword 0x21]' in score()"};
    const struct {
        const char* name;
        std::function<void()> outcome;
        decision settled_by;
        texts events;
    } rows[] = {
        {"answered", [] {}, decision::analysed, queries},
        {"timed_out", [] { throw community::timed_out(); }, decision::analysed, timeouts},
        {"malformed", [] { throw community::malformed_response("x"); }, decision::analysed, errors},
        {"generic", [] { throw community::generic(); }, decision::analysed, errors},
        {"of another kind", [] { throw replay::coding::translate::invalid_codeword('!'); },
         decision::error, fault},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        recording_services services;
        services.on_match = [&](auto&, community::community_stats& stats) {
            stats.bytes_transmitted = 90;
            stats.bytes_received = 20;
            stats.response_time = 17;
            row.outcome();
        };
        services.on_touch = [](auto&, community::community_stats& stats) {
            stats.bytes_transmitted += 10;
            throw community::timed_out();
        };
        part message(mail);
        const verdict reached = filter_engine(services).score(message, occasion::first);
        EXPECT_EQ(reached.settled_by, row.settled_by);
        EXPECT_EQ(reached.rating, 0);
        EXPECT_EQ(community_events(services), row.events);
    }
}

TEST(community_steps, the_verdict_follows_from_what_was_matched_and_is_then_told) {
    recording_services services;
    services.on_match = [](auto& run, auto&) {
        run.signatures.front().matched = true;
        run.signatures.front().state = 4;
        push_line(run.report, 0, u"asked");
    };
    services.on_touch = [](auto& run, auto&) { push_line(run.report, 0, u"told"); };
    part message(mail);
    const verdict reached = filter_engine(services).score(message, occasion::again);
    EXPECT_EQ(reached.rating, 100);
    EXPECT_THAT(community_events(services), testing::Contains("touch SPAM/TEXT"));
    const auto place_of = [&](std::u16string_view text) {
        return std::distance(reached.report.begin(),
                             std::find_if(reached.report.begin(), reached.report.end(),
                                          [&](const auto& line) { return line.text == text; }));
    };
    EXPECT_LT(place_of(u"asked"), place_of(u"Matched Signatures:"));
    EXPECT_LT(place_of(u"Test Results:"), place_of(u"told"));
    EXPECT_EQ(place_of(u"told") + 2, static_cast<std::ptrdiff_t>(reached.report.size()));
}

// The engine on a real store, with a real server on loopback.
class community_services : public testing::Test, protected community_home {
protected:
    static std::uint32_t protocol(std::u16string_view name) {
        return counter(tree_key::user_statistics_protocol, name);
    }
    static std::uint32_t transferred(std::u16string_view name) {
        return counter(tree_key::user_statistics_communication, name);
    }

    verdict score() {
        part message(mail);
        return filter_engine(services_).score(message, occasion::first);
    }

    // The lines that the community's part of a report begins with, without the latency.
    static texts community_lines(const verdict& reached) {
        texts lines;
        auto line =
            std::find_if(reached.report.begin(), reached.report.end(),
                         [](const auto& each) { return each.text == u"Executing Request:"; });
        for (; line != reached.report.end() && !line->text.empty(); ++line) {
            const string text = utf8(line->text);
            lines.push_back(std::to_string(line->depth) + " " +
                            (text.starts_with("Latency: ") ? "Latency" : text));
        }
        return lines;
    }

    replay::log log_;
    stored_services services_{log_};
};

TEST_F(community_services, others_votes_make_the_rating_and_the_verdict_goes_back) {
    string answer;
    scripted_peer peer(community_server([&](const string& request) -> replies {
        if (!request.starts_with("MATCH")) return {};
        // 0, id 300, 1, state 0, 3 reports, 1 revoke, 10 matches
        answer =
            response_to(request, "SCHEMA=1\tDB-SERIAL=BA\tDB-AGE=B", "A\tEs\tB\tA\tD\tB\tK\r\n");
        return {answer};
    }));
    use(peer.host());
    const verdict reached = score();
    EXPECT_EQ(reached.rating, 75);
    EXPECT_EQ(utf8(reached.class_name), "SPAM/TEXT");
    ASSERT_EQ(reached.signatures.size(), 1u);
    EXPECT_EQ(reached.signatures.front().id, 300u);
    EXPECT_EQ(reached.signatures.front().matches, 10u);

    const texts requests = peer.requests(3);
    const string digest = utf8(reached.signatures.front().digest);
    EXPECT_EQ(requests, (texts{"DISCOVER\tRID=B\tSCHEMA=1\r\n",
                               "MATCH\tRID=C\tSCHEMA=1\r\ntbd\t" + digest + "\r\n",
                               "TOUCH\tCLASS=SPAM%2FTEXT\tRID=D\tSCHEMA=1\r\nEs\r\n"}));
    EXPECT_EQ(protocol(u"Queries"), 1u);
    EXPECT_EQ(protocol(u"Timeouts"), 0u);
    EXPECT_EQ(protocol(u"Errors"), 0u);
    EXPECT_EQ(transferred(u"Bytes Transmitted"), requests[1].size() + requests[2].size());
    EXPECT_EQ(transferred(u"Bytes Received"), answer.size());
    EXPECT_THAT(
        community_lines(reached),
        ElementsAre("0 Executing Request:", "1 Server: one.example [127.0.0.1]", "2 Latency",
                    "2 Location: Oslo", "2 Database: Serial: 64, Last update: 1 seconds ago"));
}

TEST_F(community_services, nobody_is_asked_while_no_server_is_named) {
    const verdict reached = score();
    EXPECT_EQ(reached.settled_by, decision::analysed);
    EXPECT_EQ(protocol(u"Errors"), 1u);
    EXPECT_EQ(transferred(u"Bytes Transmitted"), 0u);
    EXPECT_THAT(community_lines(reached),
                ElementsAre("0 Executing Request:", "1 Operation failed. Discovery not started."));
}

}  // namespace
