#include "community/communication.h"

#include <gtest/gtest.h>
#include <malloc.h>
#include <sched.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "community/errors.h"
#include "foundation/log.h"
#include "foundation/module.h"
#include "foundation/network_environment.h"
#include "foundation/registry.h"
#include "support/community_home.h"
#include "support/heard_log.h"
#include "support/watched_thread.h"

namespace {

using namespace test_support;
using brindlemoss::spam::communication;
using replay::internet::message2::part;
using replay::registry2::at;
using replay::registry2::tree_key;
using replay::registry2::write_back;
using std::chrono::seconds;
using texts = std::vector<std::string>;

replay::log& communication_log() {
    return brindlemoss::module::instance().log_of(brindlemoss::subsystem::communication);
}

class communication_test : public testing::Test, protected community_home {
protected:
    static void set_account(std::uint32_t identity, std::string_view password) {
        at(tree_key::user_account).set_integer(u"Identity", identity);
        at(tree_key::user_account).set_bytes_text(u"Password", password);
    }

    const part mail_{"Subject: a\n\nhello\n\n\xE4 two\n"};
    const std::string body_ =
        "Subject: a\r\nContent-Type: text/plain; charset=\"iso-8859-1\"\r\n\r\n"
        "hello\r\n\r\n\xE4 two\r\n\r\n\r\n";
    const std::string no_server_ = "3 Feedback: community_client.discovery_pending[]";
    const std::string stopped_ = "0 Feedback thread stopped";
    heard_log<brindlemoss::subsystem::communication> heard_;
};

TEST_F(communication_test, the_time_for_a_query_is_a_setting_that_is_laid_down_when_missing) {
    const auto& settings = at(tree_key::machine_community);
    settings.set_integer(u"Timeout", 1234);
    EXPECT_EQ(communication().timeout().count(), 1234);
    settings.delete_value(u"Timeout");
    EXPECT_EQ(communication().timeout().count(), 5000);
    EXPECT_EQ(settings.get_integer(u"Timeout", 0, write_back::no), 5000u);
}

TEST_F(communication_test, is_never_offline_while_it_is_to_count_as_connected) {
    EXPECT_FALSE(communication::offline());
    const auto& root = at(tree_key::user_root);
    EXPECT_EQ(root.get_integer(u"Always Connected", 7, write_back::no), 1u);
    root.set_integer(u"Always Connected", 2);
    EXPECT_FALSE(communication::offline());
    root.set_integer(u"Always Connected", 0);
    EXPECT_EQ(communication::offline(), replay::internet::environment::offline());
}

TEST_F(communication_test, searches_for_servers_by_itself_or_when_it_is_told_to) {
    scripted_peer peer(community_server(nothing_known));
    use(peer.host(), 0);
    communication on_demand;
    EXPECT_FALSE(on_demand.ping());
    EXPECT_EQ(on_demand.reset().servers.size(), 1u);
    EXPECT_TRUE(on_demand.ping());
    EXPECT_EQ(peer.requests(), (texts{"DISCOVER\tRID=C\tSCHEMA=1\r\n",  // 1 was the first ping
                                      "MATCH\tRID=D\tSCHEMA=1\r\n"}));

    use(peer.host(), 3600);
    EXPECT_TRUE(communication().ping());
}

TEST_F(communication_test, a_ping_answered_wrongly_fails) {
    const scripted_peer peer(community_server(
        [](const std::string& request) { return replies{response_to(request, "SCHEMA=2")}; }));
    use(peer.host());
    EXPECT_FALSE(communication().ping());
}

TEST_F(communication_test, votes_go_out_in_order_signed_with_the_account_of_the_time) {
    scripted_peer peer(community_server(nothing_known));
    use(peer.host());
    communication running;
    running.enqueue_report(mail_);
    // The digests are of the lines without their ends, the first with the password before them.
    EXPECT_EQ(peer.requests_of("REPORT-MSG", 1).at(0),
              "REPORT-MSG\tAUTH-ACCOUNT=A\tAUTH-DIGEST=cNtshaBn2XuPPe9n42xi%2Fw\tAUTH-PRODUCT=B"
              "\tMSG-DIGEST=cNtshaBn2XuPPe9n42xi%2Fw\tRID=C\tSCHEMA=1\r\n" +
                  body_);
    ASSERT_TRUE(running.feedback().wait_until_done(seconds(60)));
    set_account(64, "5f4dcc3b5aa765d61d8327deb882cf99");
    running.enqueue_revoke(mail_);
    running.enqueue_report(part());
    running.enqueue_revoke(part());
    EXPECT_EQ(peer.requests_of("REVOKE-MSG", 2).at(0),
              "REVOKE-MSG\tAUTH-ACCOUNT=BA\tAUTH-DIGEST=MD2CMwnH47yaE9WdJCb2dg\tAUTH-PRODUCT=B"
              "\tMSG-DIGEST=cNtshaBn2XuPPe9n42xi%2Fw\tRID=D\tSCHEMA=1\r\n" +
                  body_);
    ASSERT_TRUE(running.feedback().wait_until_done(seconds(60)));

    std::size_t bytes = 0;
    std::string order;
    for (const std::string& each : peer.requests()) {
        if (each.starts_with("DISCOVER")) continue;
        bytes += each.size();
        order += each.substr(0, 3) + " ";
    }
    EXPECT_EQ(order, "REP REV REP REV ");
    EXPECT_EQ(counter(tree_key::user_statistics_communication, u"Bytes Transmitted"), bytes);
    EXPECT_EQ(counter(tree_key::user_statistics_communication, u"Bytes Received"), 0u);
    const auto tally = running.feedback().tally();
    EXPECT_EQ(tally.sent, 4u);
    EXPECT_EQ(tally.failed, 0u);
    EXPECT_EQ(heard_.take(), texts{});
}

TEST_F(communication_test, a_vote_that_cannot_be_sent_is_told_and_the_next_one_goes_out) {
    scripted_peer peer(community_server(nothing_known));
    use(peer.host());
    {
        communication running;
        running.enqueue_report(part("\n" + std::string(70'000, 'x') + "\n"));
        running.enqueue_revoke(mail_);
        peer.requests_of("REVOKE-MSG", 1);
        ASSERT_TRUE(running.feedback().wait_until_done(seconds(60)));
        EXPECT_EQ(heard_.take(), texts{"3 Feedback: community_client.too_large[]"});
        const auto tally = running.feedback().tally();
        EXPECT_EQ(tally.sent, 1u);
        EXPECT_EQ(tally.failed, 1u);
        EXPECT_THROW(std::rethrow_exception(tally.last_failure),
                     brindlemoss::analysis::community::too_large);
    }
    EXPECT_EQ(heard_.take(), texts{stopped_});
    EXPECT_EQ(peer.requests_of("REPORT-MSG").size(), 0u);
}

// While the test holds the log, the thread stands where it tells of the first vote's failure.
TEST_F(communication_test, votes_that_still_wait_at_the_end_are_counted_and_lost) {
    auto running = std::make_unique<communication>();
    {
        replay::scope holding(communication_log());
        for (int vote = 0; vote < 4; ++vote) running->enqueue_report(mail_);
        while (running->feedback().tally().failed == 0) ::sched_yield();
        EXPECT_FALSE(running->feedback().wait_until_done(seconds(0)));
        const watched_thread ending([&] { running.reset(); });
        EXPECT_TRUE(ending.blocks());
        holding.release();
    }
    EXPECT_EQ(heard_.take(),
              (texts{no_server_, "1 Discarded 3 items from Feedback Queue", stopped_}));
}

TEST_F(communication_test, one_for_the_process_until_it_is_shut_down) {
    communication::shutdown();
    const std::weak_ptr<communication> first = communication::instance();
    EXPECT_EQ(communication::instance(), first.lock());
    communication::shutdown();
    EXPECT_TRUE(first.expired());
    EXPECT_EQ(heard_.take(), texts{stopped_});
    EXPECT_FALSE(communication::instance()->ping());
}

TEST_F(communication_test, shutdown_waits_for_those_who_use_it) {
    auto held = communication::instance();
    const watched_thread ending([] { communication::shutdown(); });
    EXPECT_TRUE(ending.blocks());
    EXPECT_FALSE(held->ping());
    held.reset();
    ending.finish();
    EXPECT_EQ(heard_.take(), texts{stopped_});
}

TEST_F(communication_test, ends_and_begins_anew_under_load) {
    const scripted_peer peer(community_server(nothing_known));
    use(peer.host());
    std::atomic<bool> enough = false;
    std::atomic<int> answered = 0;
    std::vector<std::thread> users;
    for (int user = 0; user < 4; ++user) {
        users.emplace_back([&] {
            while (!enough) {
                const auto held = communication::instance();
                held->enqueue_revoke(mail_);
                if (held->ping()) ++answered;
            }
        });
    }
    for (int round = 0; round < 30; ++round) {
        for (const int before = answered; answered == before;) ::sched_yield();
        communication::shutdown();
    }
    enough = true;
    for (std::thread& user : users) user.join();
}

TEST_F(communication_test, ten_thousand_votes_leave_no_memory_behind) {
    loopback_socket server;
    std::thread answering([&] {
        server.receive_all([&](const ip4& from, const std::string& request) {
            if (request.starts_with("DISCOVER")) server.send(from, response_to(request, ""));
        });
    });
    use(host_text(server.address()));
    {
        communication running;
        const part message("Subject: a\n\n" + std::string(2000, 'x') + "\n");
        const auto vote = [&](std::size_t count) {
            for (std::size_t done = 0; done < count; ++done) running.enqueue_report(message);
            ASSERT_TRUE(running.feedback().wait_until_done(seconds(60)));
        };
        vote(10);
        const std::size_t before = ::mallinfo2().uordblks;  // 0 where a sanitizer stands in
        vote(10'000);
        EXPECT_EQ(running.feedback().tally().sent, 10'010u);
        EXPECT_LT(::mallinfo2().uordblks, before + 100'000);
    }
    server.close();
    answering.join();
}

}  // namespace
