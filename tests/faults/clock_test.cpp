#include <gmock/gmock.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "account/settings_cache.h"
#include "analysis/filter_engine.h"
#include "analysis/stored_services.h"
#include "faults/log_lines.h"
#include "foundation/log.h"
#include "platform/clock.h"
#include "support/community_home.h"
#include "support/temporary_folder.h"

namespace {

using namespace brindlemoss::analysis;
namespace clock = replay::platform::clock;
namespace settings_cache = brindlemoss::account::settings_cache;
using replay::registry2::tree_key;
using std::string;
using testing::ElementsAre;

constexpr std::int64_t usual = 1'700'000'000;

clock::time_point at(std::int64_t second) {
    return clock::time_point(std::chrono::seconds(second));
}

class clock_test : public testing::Test, protected test_support::community_home {
protected:
    decision score(const string& raw) const {
        part message(raw);
        return engine_.score(message, occasion::first).settled_by;
    }
    static auto trusted() { return get(tree_key::user_rules_trust, u"Addresses"); }

    const test_support::temporary_folder logs_;
    clock::standing clock_{at(usual)};
    replay::log log_;
    stored_services services_{log_};
    const filter_engine engine_{services_};
};

TEST_F(clock_test, mail_is_rated_and_counted_at_any_time) {
    log_.add_listener(0, std::make_unique<replay::log::file>(logs_.path("log"), 1'000'000, 1));
    const std::int64_t moments[] = {usual + 365 * 86'400,
                                    0,
                                    -1,
                                    -3'000'000'000,
                                    INT32_MAX,
                                    std::int64_t{INT32_MAX} + 1,
                                    UINT32_MAX,
                                    std::int64_t{UINT32_MAX} + 1,
                                    9'000'000'000,
                                    usual};
    std::uint32_t processed = 0;
    for (const std::int64_t moment : moments) {
        SCOPED_TRACE(moment);
        clock_.set(at(moment));
        const string sender = "s" + std::to_string(processed) + "@example.org";
        EXPECT_EQ(score("From: " + sender + "\n\nSee you at noon.\n"), decision::analysed);
        EXPECT_EQ(counter(tree_key::user_statistics_filter, u"Processed"), ++processed);
        EXPECT_EQ(trusted().size(), processed);
    }
    EXPECT_NE(kill_rounds::whole_lines(logs_.path("log.log.txt")).find("s9@example.org"),
              string::npos);
}

TEST_F(clock_test, trust_that_was_earned_comes_back_with_the_time) {
    const string from_ann = "From: Ann <ann@example.org>\n\nSee you at noon.\n";
    score(from_ann);
    clock_.set(at(usual + 900));
    EXPECT_EQ(score(from_ann), decision::analysed);
    EXPECT_EQ(score(from_ann), decision::trusted);
    clock_.set(at(usual - 86'400));
    EXPECT_EQ(score(from_ann), decision::analysed) << "not yet, by the clock";
    clock_.set(at(usual + 900));
    EXPECT_EQ(score(from_ann), decision::trusted);
    EXPECT_THAT(trusted(), ElementsAre(u"Ann\tann@example.org\t5\t1700000000"));
}

// By a clock that was ahead when he was first seen a sender is not trusted until that time comes.
TEST_F(clock_test, a_clock_that_was_ahead_delays_trust_and_nothing_else) {
    const string from_ann = "From: Ann <ann@example.org>\n\nSee you at noon.\n";
    clock_.set(at(usual + 86'400));
    score(from_ann);
    score(from_ann);
    clock_.set(at(usual));
    EXPECT_EQ(score(from_ann), decision::analysed);
    clock_.set(at(usual + 86'400 + 899));
    EXPECT_EQ(score(from_ann), decision::analysed);
    clock_.set(at(usual + 86'400 + 900));
    EXPECT_EQ(score(from_ann), decision::trusted);
}

TEST_F(clock_test, settings_that_expire_by_a_wrong_clock_are_there_again_by_the_right_one) {
    constexpr std::int64_t week = 604'800;
    settings_cache::store("<a/>", true);
    for (const std::int64_t moment : {usual - 10 * week, std::int64_t{0}, std::int64_t{-1}}) {
        clock_.set(at(moment));
        const auto kept = settings_cache::load();
        ASSERT_TRUE(kept) << moment;
        EXPECT_EQ(kept->document, "<a/>");
    }
    clock_.set(at(usual + week));
    EXPECT_FALSE(settings_cache::load());
    clock_.set(at(usual + week - 1));
    EXPECT_TRUE(settings_cache::load());
}

}  // namespace
