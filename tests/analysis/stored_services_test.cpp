#include "analysis/stored_services.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "analysis/filter_engine.h"
#include "platform/clock.h"
#include "support/community_home.h"

namespace {

using namespace brindlemoss::analysis;
using replay::registry2::text_list;
using replay::registry2::tree_key;
using std::string;
using testing::ElementsAre;
using testing::IsEmpty;
namespace clock = replay::platform::clock;

constexpr auto allow = tree_key::user_rules_allow;
constexpr auto deny = tree_key::user_rules_deny;
constexpr auto trust = tree_key::user_rules_trust;

// The engine on a real store.
class stored_services_test : public testing::Test, protected test_support::community_home {
protected:
    verdict score(const string& raw, occasion when = occasion::first) const {
        part message(raw);
        return engine_.score(message, when);
    }
    static text_list trusted() { return get(trust, u"Addresses"); }

    const string from_ann_ = "From: Ann <Ann@Example.org>\nTo: Bob <bob@x>\n\nSee you at noon.\n";
    clock::standing clock_{clock::time_point(std::chrono::seconds(1'700'000'000))};
    replay::log log_;
    stored_services services_{log_};
    const filter_engine engine_{services_};
};

TEST_F(stored_services_test, the_word_on_an_address_beats_that_on_a_domain_and_allowed_denied) {
    constexpr unsigned allowed_address = 1;
    constexpr unsigned denied_address = 2;
    constexpr unsigned allowed_domain = 4;
    constexpr unsigned denied_domain = 8;
    constexpr unsigned is_trusted = 16;
    const struct {
        unsigned list;
        decision settled_by;
        int rating;
    } order[] = {
        {allowed_address, decision::allowed_address, 0},
        {denied_address, decision::denied_address, 100},
        {allowed_domain, decision::allowed_domain, 0},
        {denied_domain, decision::denied_domain, 100},
        {is_trusted, decision::trusted, 0},
    };
    const auto entries = [](bool wanted, const char16_t* entry) {
        return wanted ? text_list{entry} : text_list{};
    };
    for (unsigned lists = 0; lists < 32; ++lists) {
        SCOPED_TRACE(lists);
        set(allow, u"Addresses", entries(lists & allowed_address, u"\tann@example.org\t"));
        set(deny, u"Addresses", entries(lists & denied_address, u"\tANN@example.org\t"));
        set(allow, u"Domains", entries(lists & allowed_domain, u"Example.ORG\t"));
        set(deny, u"Domains", entries(lists & denied_domain, u"org\t"));
        set(trust, u"Addresses", entries(lists & is_trusted, u"\tann@example.org\t2\t0"));
        const verdict reached = score(from_ann_);
        decision expected = decision::analysed;
        int rating = reached.rating;
        for (const auto& each : order) {
            if ((lists & each.list) == 0) continue;
            expected = each.settled_by;
            rating = each.rating;
            break;
        }
        EXPECT_EQ(reached.settled_by, expected);
        EXPECT_EQ(reached.rating, rating);
        EXPECT_EQ(score("To: bob@x\n\nSee you at noon.\n").settled_by, decision::analysed)
            << "without a sender no list is asked";
    }
}

TEST_F(stored_services_test, trusts_a_sender_whose_mail_has_passed_twice_after_a_while) {
    EXPECT_EQ(score(from_ann_).settled_by, decision::analysed);
    EXPECT_THAT(trusted(), ElementsAre(u"Ann\tann@example.org\t1\t1700000000"));
    score(from_ann_, occasion::again);
    EXPECT_THAT(trusted(), ElementsAre(u"Ann\tann@example.org\t1\t1700000000"));
    clock_.advance(std::chrono::seconds(899));
    EXPECT_EQ(score(from_ann_).settled_by, decision::analysed);
    EXPECT_EQ(score(from_ann_, occasion::again).settled_by, decision::analysed);
    clock_.advance(std::chrono::seconds(1));
    EXPECT_EQ(score(from_ann_, occasion::again).settled_by, decision::trusted);
    EXPECT_THAT(trusted(),
                ElementsAre(u"Ann\tann@example.org\t3\t1700000000", u"Bob\tbob@x\t1\t1700000900"));
}

TEST_F(stored_services_test, only_allowed_senders_make_their_recipients_trusted) {
    set(deny, u"Addresses", {u"\tann@example.org\t"});
    score(from_ann_);
    EXPECT_THAT(trusted(), IsEmpty());
    set(deny, u"Addresses", {});
    set(allow, u"Domains", {u"example.org\t"});
    score(from_ann_, occasion::again);
    EXPECT_THAT(trusted(), ElementsAre(u"Bob\tbob@x\t1\t1700000000"));
}

TEST_F(stored_services_test, what_reaches_the_limit_earns_no_trust) {
    replay::registry2::at(tree_key::user_thresholds).set_integer(u"Filter", 0);
    score(from_ann_);
    EXPECT_THAT(trusted(), IsEmpty());
}

TEST_F(stored_services_test, a_broken_entry_lets_all_mail_pass_that_comes_to_it) {
    set(allow, u"Addresses", {u"\tann@example.org\t", u"broken"});
    set(deny, u"Domains", {u"example.net\t"});
    EXPECT_EQ(score(from_ann_).settled_by, decision::allowed_address);
    const verdict passed = score("From: eve@example.net\n\ntext\n");
    EXPECT_EQ(passed.settled_by, decision::error);
    EXPECT_EQ(passed.rating, 0);
}

TEST_F(stored_services_test, votes_are_lopsided) {
    const part message(from_ann_);
    set(deny, u"Addresses", {u"\tann@example.org\t", u"\teve@x\t"});
    set(trust, u"Addresses", {u"\tANN@example.org\t5\t0", u"\tbob@x\t5\t0"});
    EXPECT_TRUE(engine_.report(message));
    EXPECT_THAT(trusted(), ElementsAre(u"\tbob@x\t5\t0"));
    EXPECT_EQ(get(deny, u"Addresses").size(), 2u);
    EXPECT_TRUE(engine_.revoke(message));
    EXPECT_THAT(get(allow, u"Addresses"),
                ElementsAre(u"Ann\tann@example.org\tAdded due to Unblock"));
    EXPECT_THAT(get(deny, u"Addresses"), ElementsAre(u"\teve@x\t"));
    EXPECT_THAT(trusted(), ElementsAre(u"\tbob@x\t5\t0")) << "a vote for ham earns no trust";

    set(trust, u"Addresses", {u"broken"});
    EXPECT_FALSE(engine_.report(message));
}

}  // namespace
