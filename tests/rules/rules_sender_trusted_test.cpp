#include "rules/rules_sender_trusted.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <random>
#include <string>

#include "message/part.h"
#include "platform/clock.h"
#include "support/child_process.h"
#include "support/stored_lists.h"

namespace {

using brindlemoss::rules::most_learned_units;
using brindlemoss::rules::unpack_failed;
using replay::internet::message2::part;
using replay::registry2::text_list;
using replay::registry2::tree_key;
using std::string;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;
namespace clock = replay::platform::clock;

constexpr auto trust_key = tree_key::user_rules_trust;
constexpr auto thresholds = tree_key::user_thresholds;
constexpr std::int64_t start = 1'700'000'000;

clock::time_point at_second(std::int64_t second) {
    return clock::time_point(seconds(second));
}

class rules_sender_trusted : public testing::Test, protected test_support::stored_lists {
protected:
    static text_list entries() { return get(trust_key, u"Addresses"); }
    static void set_entries(const text_list& lines) { set(trust_key, u"Addresses", lines); }
    static void set_threshold(std::u16string_view name, std::uint32_t value) {
        replay::registry2::at(thresholds).set_integer(name, value);
    }

    clock::standing clock_{at_second(start)};
    brindlemoss::rules::rules_sender_trusted trusted_;
};

TEST_F(rules_sender_trusted, trusts_from_the_second_step_and_the_fifteenth_minute_on) {
    EXPECT_FALSE(trusted_.match("ann@x"));
    trusted_.increase_trust(u"Ann", "A nn@X");
    EXPECT_THAT(entries(), ElementsAre(u"Ann\tann@x\t1\t1700000000"));
    clock_.set(at_second(start + 10'000));
    EXPECT_FALSE(trusted_.match("ann@x")) << "one step";
    trusted_.increase_trust(u"Ann B.", "ANN@x");
    EXPECT_THAT(entries(), ElementsAre(u"Ann B.\tann@x\t2\t1700000000"));
    clock_.set(at_second(start + 899));
    EXPECT_FALSE(trusted_.match("ann@x"));
    clock_.set(at_second(start + 900));
    EXPECT_TRUE(trusted_.match(" Ann@X"));
    EXPECT_THAT(replay::registry2::at(thresholds).value_names(),
                ElementsAre(u"Trust Activation", u"Trust Activation Delay"));

    EXPECT_TRUE(trusted_.remove_trust("ANN@x"));
    EXPECT_FALSE(trusted_.remove_trust("ann@x"));
    EXPECT_THAT(entries(), IsEmpty());
    trusted_.increase_trust(u"", "ann@x");
    EXPECT_THAT(entries(), ElementsAre(u"\tann@x\t1\t1700000900"));
}

TEST_F(rules_sender_trusted, compares_steps_and_age_with_the_settings) {
    const struct {
        const char* name;
        const char16_t* entry;
        std::uint32_t steps;
        std::uint32_t delay;
        bool trusted;
    } rows[] = {
        {"a step less", u"\ta@x\t2\t1699999990", 3, 10, false},
        {"a second too early", u"\ta@x\t3\t1699999991", 3, 10, false},
        {"no steps asked for", u"\ta@x\t0\t1699999990", 0, 10, true},
        {"in the future", u"\ta@x\t9\t1700000001", 2, 0, false},
        {"now", u"\ta@x\t9\t1700000000", 2, 0, true},
        {"a sum beyond 32 bits", u"\ta@x\t9\t1699999990", 2, 4'294'967'295, false},
        {"a time beyond 31 bits", u"\ta@x\t9\t4294967295", 2, 900, false},
        {"a time that is no number", u"\ta@x\t2\tonce", 2, 900, true},
        {"digits and more", u"\ta@x\t2nd\t1699999990 s", 2, 10, true},
        {"more fields", u"\tA @X\t2\t0\textra", 2, 10, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        set_entries({row.entry});
        set_threshold(u"Trust Activation", row.steps);
        set_threshold(u"Trust Activation Delay", row.delay);
        EXPECT_EQ(trusted_.match("a@x"), row.trusted);
        EXPECT_FALSE(trusted_.match("b@x"));
    }
}

TEST_F(rules_sender_trusted, rewrites_an_entry_in_its_place_and_sorts_only_when_it_adds) {
    set_entries({u"b\tB@x\t4294967295\t7\textra", u"c\tc@x\tfew\tonce", u"c\tb@x\t9\t9"});
    trusted_.increase_trust(u"z", "b@x");
    EXPECT_THAT(entries(), ElementsAre(u"z\tb@x\t0\t7", u"c\tc@x\tfew\tonce", u"c\tb@x\t9\t9"));
    trusted_.increase_trust(u"", "c@x");
    EXPECT_THAT(entries(), ElementsAre(u"z\tb@x\t0\t7", u"\tc@x\t1\t0", u"c\tb@x\t9\t9"));
    trusted_.increase_trust(u"d", "d@x");
    EXPECT_THAT(entries(), ElementsAre(u"\tc@x\t1\t0", u"c\tb@x\t9\t9", u"d\td@x\t1\t1700000000",
                                       u"z\tb@x\t0\t7"));
    EXPECT_EQ(trusted_.enumerate_addresses(),
              u"\tc@x\t1\t0\rc\tb@x\t9\t9\rd\td@x\t1\t1700000000\rz\tb@x\t0\t7\r");
}

TEST_F(rules_sender_trusted, throws_at_a_broken_entry_when_it_comes_to_it) {
    const text_list all{u"\ta@x\t5\t0", u"\tb@x\t5", u"\tc@x\t5\t0"};
    set_entries(all);
    EXPECT_TRUE(trusted_.match("a@x"));
    for (const char* const address : {"b@x", "c@x", "d@x"}) {
        SCOPED_TRACE(address);
        EXPECT_THROW(trusted_.match(address), unpack_failed);
        EXPECT_THROW(trusted_.increase_trust(u"", address), unpack_failed);
        EXPECT_THROW(trusted_.remove_trust(address), unpack_failed);
    }
    EXPECT_EQ(entries(), all);
}

TEST_F(rules_sender_trusted, trusts_those_a_message_goes_to) {
    trusted_.increase_trust_of_recipients(
        part("Bcc: c@x, B@x\nTo: Bea <b@x>, a@x, Al <a@x>\nCC: \"D\" <d@x>\nTo: e@x\n\ntext\n"));
    EXPECT_THAT(entries(), ElementsAre(u"\tc@x\t1\t1700000000", u"Al\ta@x\t2\t1700000000",
                                       u"\tb@x\t2\t1700000000", u"D\td@x\t1\t1700000000"));
    trusted_.increase_trust_of_recipients(part("From: e@x\n\ntext\n"));
    EXPECT_EQ(entries().size(), 4u);
}

// Each step is as if it had been taken by itself, whatever stands in the list: entries out of
// order, addresses twice, tabs in names.
TEST_F(rules_sender_trusted, steps_of_one_message_are_those_of_single_calls) {
    std::mt19937 random(3);
    const auto any_of = [&](const text_list& choice) { return choice[random() % choice.size()]; };
    const auto narrow = [](const std::u16string& text) { return string(text.begin(), text.end()); };
    const text_list names{u"d", u"m", u"z", u"=?utf-8?q?m=09a@x?=", u"=?utf-8?q?b=09e@x=091?="};
    const text_list decoded{u"d", u"m", u"z", u"m\ta@x", u"b\te@x\t1"};
    const text_list addresses{u"a@x", u"b@x", u"c@x", u"d@x", u"e@x"};
    for (int round = 0; round < 150; ++round) {
        text_list before;
        for (auto i = random() % 7; i > 0; --i) {
            before.push_back(any_of({u"a", u"m", u"y"}) + u"\t" + any_of(addresses) + u"\t" +
                             any_of({u"1", u"2"}) + u"\t5");
        }
        if (round % 10 == 0) before.push_back(u"broken");
        set_entries(before);
        string header;
        bool is_broken = false;
        for (auto i = random() % 12 + 1; i > 0; --i) {
            const std::size_t name = random() % names.size();
            const std::u16string address = any_of(addresses);
            header.append(header.empty() ? "To: " : ", ");
            header.append(narrow(names[name]) + " <" + narrow(address) + ">");
            try {
                if (!is_broken) trusted_.increase_trust(decoded[name], narrow(address));
            } catch (const unpack_failed&) {
                is_broken = true;
            }
        }
        SCOPED_TRACE(header);
        const text_list expected = entries();
        set_entries(before);
        const part message(header + "\n\ntext\n");
        if (is_broken) {
            EXPECT_THROW(trusted_.increase_trust_of_recipients(message), unpack_failed);
        } else {
            trusted_.increase_trust_of_recipients(message);
        }
        EXPECT_EQ(entries(), expected);
    }
}

TEST_F(rules_sender_trusted, takes_a_message_to_a_hundred_thousand) {
    string header = "To: ";
    for (int i = 0; i < 100'000; ++i) header += std::to_string(i) + "@x,";
    trusted_.increase_trust_of_recipients(part(header + "\n\n"));
    trusted_.increase_trust_of_recipients(part(header + "\n\n"));
    EXPECT_EQ(entries().size(), 100'000u);
    EXPECT_EQ(entries().back(), u"\t9@x\t2\t1700000000");
}

TEST_F(rules_sender_trusted, learns_nobody_of_a_message_who_would_make_the_list_huge) {
    const string rest(most_learned_units - 6, 'a');  // beside a name of 2 and "@x.y"
    const part message("To: me <" + rest + "@x.y>, I am <" + rest + "@x.z>, b@x\n\ntext\n");
    trusted_.increase_trust_of_recipients(message);
    const std::u16string wide(rest.begin(), rest.end());
    EXPECT_THAT(entries(),
                ElementsAre(u"\tb@x\t1\t1700000000", u"me\t" + wide + u"@x.y\t1\t1700000000"));
}

TEST_F(rules_sender_trusted, loses_no_step_of_two_processes) {
    const auto step = [&] {
        for (int i = 0; i < 50; ++i) trusted_.increase_trust(u"", "a@x");
    };
    test_support::child_process child(step);
    step();
    ASSERT_EQ(child.wait(), 0);
    EXPECT_THAT(entries(), ElementsAre(u"\ta@x\t100\t1700000000"));
}

}  // namespace
