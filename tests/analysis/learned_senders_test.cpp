#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "analysis/filter_engine.h"
#include "analysis/stored_services.h"
#include "rules/sender_entry.h"
#include "support/community_home.h"

namespace {

using namespace brindlemoss::analysis;
using brindlemoss::rules::most_learned_units;
using replay::registry2::tree_key;
using std::string;
using testing::SizeIs;

class learned_senders : public testing::Test, protected test_support::community_home {
protected:
    // A message from a sender with a name of one letter and an address of so many bytes.
    static part message_from(std::size_t address_size) {
        return part("From: N <" + string(address_size - 2, 'a') + "@x>\nTo: b@x\n\nSee you.\n");
    }

    replay::log log_;
    stored_services services_{log_};
    const filter_engine engine_{services_};
};

TEST_F(learned_senders, are_those_that_leave_the_lists_small) {
    const struct {
        std::size_t address_size;
        std::size_t learned;
    } rows[] = {{most_learned_units - 1, 1}, {most_learned_units, 0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.address_size);
        set(tree_key::user_rules_trust, u"Addresses", {});
        set(tree_key::user_rules_allow, u"Addresses", {});
        part message = message_from(row.address_size);
        EXPECT_LT(engine_.score(message, occasion::first).rating, 50);
        EXPECT_THAT(get(tree_key::user_rules_trust, u"Addresses"), SizeIs(row.learned));
        EXPECT_TRUE(engine_.revoke(message));
        EXPECT_THAT(get(tree_key::user_rules_allow, u"Addresses"), SizeIs(row.learned));
    }
}

}  // namespace
