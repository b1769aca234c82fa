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

TEST_F(stored_services_test, each_list_decides_on_its_own_matter) {
    const struct {
        tree_key list;
        const char16_t* value;
        const char16_t* entry;
        decision settled_by;
    } rows[] = {
        {allow, u"Addresses", u"\tann@example.org\t", decision::allowed_address},
        {deny, u"Addresses", u"\tANN@example.org\t", decision::denied_address},
        {allow, u"Domains", u"Example.ORG\t", decision::allowed_domain},
        {deny, u"Domains", u"org\t", decision::denied_domain},
        {trust, u"Addresses", u"\tann@example.org\t2\t0", decision::trusted},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(static_cast<int>(row.settled_by));
        set(row.list, row.value, {row.entry});
        EXPECT_EQ(score(from_ann_).settled_by, row.settled_by);
        EXPECT_EQ(score("To: bob@x\n\nSee you at noon.\n").settled_by, decision::analysed);
        set(row.list, row.value, {});
        set(trust, u"Addresses", {});
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
