#include "rules/sender_list.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "message/part.h"
#include "rules/rules_sender_allowed.h"
#include "support/child_process.h"
#include "support/stored_lists.h"

namespace {

using brindlemoss::rules::rules_sender_allowed;
using replay::registry2::text_list;
using replay::registry2::tree_key;
using std::string;
using test_support::child_process;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto allow = tree_key::user_rules_allow;

class sender_list : public testing::Test, protected test_support::stored_lists {
protected:
    static text_list addresses() { return get(allow, u"Addresses"); }
    static text_list domains() { return get(allow, u"Domains"); }

    rules_sender_allowed list_;
};

string thrown_by(const std::function<void()>& work) {
    try {
        work();
    } catch (const std::exception& error) {
        return error.what();
    }
    return "nothing";
}

TEST_F(sender_list, keeps_addresses_in_normal_form_and_sorted_by_name) {
    set(allow, u"Addresses", {u"Zoe\tzoe@example.org\tx", u"\tc@x\t"});  // by other hands
    EXPECT_TRUE(list_.add_address(u"", "b@example.org", u""));
    EXPECT_TRUE(list_.add_address(u"Ann \u0141", "A N N@example.org", u"y"));
    EXPECT_TRUE(list_.add_address(u"\uFFFD", "caf\xE9@EXAMPLE.\xC9", u""));
    EXPECT_FALSE(list_.add_address(u"Other", "ZOE@Example.ORG ", u"other")) << "the first stays";
    EXPECT_THAT(addresses(),
                ElementsAre(u"\tb@example.org\t", u"\tc@x\t", u"Ann \u0141\tann@example.org\ty",
                            u"Zoe\tzoe@example.org\tx", u"\uFFFD\tcaf\u00E9@example.\u00C9\t"));
    EXPECT_EQ(list_.enumerate_addresses(),
              u"\tb@example.org\t\r\tc@x\t\rAnn \u0141\tann@example.org\ty\r"
              u"Zoe\tzoe@example.org\tx\r\uFFFD\tcaf\u00E9@example.\u00C9\t\r");
    EXPECT_TRUE(list_.match("ZOE@EXAMPLE.ORG", true, false));
    EXPECT_TRUE(list_.match("caf\xE9@example.\xC9", true, false));
    EXPECT_FALSE(list_.match("caf\xE9@example.\xE9", true, false)) << "only A to Z have a case";
    EXPECT_FALSE(list_.match("zoe@example.org", false, true));
    EXPECT_FALSE(list_.match("zoe@example.org", false, false));
    list_.empty_addresses();
    EXPECT_EQ(list_.enumerate_addresses(), u"");
}

TEST_F(sender_list, adds_and_removes_the_domain_of_whatever_it_is_given) {
    EXPECT_TRUE(list_.add_domain("Ann@Mail@Example.ORG", u"c"));
    EXPECT_TRUE(list_.add_domain("mail.example.org@", u"")) << "a suffix is not the same domain";
    EXPECT_FALSE(list_.add_domain("@ EXAMPLE.org", u"other"));
    EXPECT_FALSE(list_.add_domain("@@", u""));
    EXPECT_FALSE(list_.add_domain("", u""));
    EXPECT_THAT(domains(), ElementsAre(u"example.org\tc", u"mail.example.org\t"));
    EXPECT_FALSE(list_.remove_domain("org"));
    EXPECT_TRUE(list_.remove_domain("whoever@EXAMPLE.org"));
    EXPECT_EQ(list_.enumerate_domains(), u"mail.example.org\t\r");
    list_.empty_domains();
    EXPECT_THAT(domains(), IsEmpty());
}

TEST_F(sender_list, takes_a_domain_for_a_suffix_without_a_boundary) {
    set(allow, u"Domains", {u"Example.ORG\t", u"net \tall"});
    const struct {
        const char* address;
        bool matches;
    } rows[] = {
        {"a@example.org", true}, {"a@mail.Example.org", true}, {"a@badexample.org", true},
        {"xample.org", false},   {"a@example.org.com", false}, {"net", true},
        {"et", false},           {"a@example.o r g", true},    {"", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.address);
        EXPECT_EQ(list_.match(row.address, false, true), row.matches);
        EXPECT_FALSE(list_.match(row.address, true, false));
    }
    set(allow, u"Domains", {u"\tan empty domain ends every text"});
    EXPECT_TRUE(list_.match("a@example.com", true, true));
    EXPECT_TRUE(list_.match("", false, true));
}

TEST_F(sender_list, removes_the_first_of_equal_entries_and_leaves_the_order) {
    set(allow, u"Addresses", {u"z\tB@x\t1", u"a\tb@X\t2", u"\tc@x\t"});
    EXPECT_TRUE(list_.remove_address(" b@x"));
    EXPECT_THAT(addresses(), ElementsAre(u"a\tb@X\t2", u"\tc@x\t"));
    EXPECT_FALSE(list_.remove_address("nobody@x"));
    EXPECT_THAT(addresses(), ElementsAre(u"a\tb@X\t2", u"\tc@x\t"));
}

// An entry with fields missing ends what comes to it; what is settled before it is not touched.
TEST_F(sender_list, throws_at_a_broken_entry_only_when_it_comes_to_it) {
    const text_list all{u"\ta@x\t", u"\tb@x", u"\tc@x\t"};
    const string fault = "m_unpack_address failed";
    set(allow, u"Addresses", all);
    set(allow, u"Domains", {u"before\t", u"broken", u"behind\t"});
    EXPECT_TRUE(list_.match("a@x", true, true));
    EXPECT_EQ(thrown_by([&] { list_.match("c@x", true, false); }), fault);
    EXPECT_EQ(thrown_by([&] { list_.match("c@before", true, true); }), fault);
    EXPECT_TRUE(list_.match("c@before", false, true));
    EXPECT_EQ(thrown_by([&] { list_.match("c@behind", false, true); }), "m_unpack_domain failed");

    EXPECT_EQ(thrown_by([&] { list_.add_address(u"", "d@x", u""); }), fault);
    EXPECT_EQ(thrown_by([&] { list_.remove_address("c@x"); }), fault);
    EXPECT_EQ(thrown_by([&] { list_.write_addresses(u"\ta@x\t\ra\tb"); }), fault);
    EXPECT_EQ(thrown_by([&] { list_.add_domain("d", u""); }), "m_unpack_domain failed");
    EXPECT_EQ(addresses(), all);
    EXPECT_FALSE(list_.add_address(u"", "a@x", u""));
    EXPECT_TRUE(list_.remove_address("a@x"));
    EXPECT_THAT(addresses(), ElementsAre(u"\tb@x", u"\tc@x\t"));
}

TEST_F(sender_list, replaces_its_addresses_by_those_of_a_text) {
    set(allow, u"Addresses", {u"\told@x\t"});
    list_.write_addresses(
        u"\rzoe\tZ oe@X\tlast\textra\r\rname\tno address\t\rb\tANN@x\tsecond\ra\tann@x\tfirst\r\r");
    EXPECT_THAT(addresses(), ElementsAre(u"a\tann@x\tfirst", u"zoe\tzoe@x\tlast"));
    const std::u16string text = list_.enumerate_addresses();
    list_.write_addresses(text);
    EXPECT_EQ(list_.enumerate_addresses(), text);
    list_.write_addresses(u"");
    EXPECT_THAT(addresses(), IsEmpty());
}

TEST_F(sender_list, replaces_its_domains_without_a_look_at_them) {
    list_.write_domains(u"b\t\rno tab\r\rB \tx\rb\t");
    EXPECT_THAT(domains(), ElementsAre(u"B \tx", u"b\t", u"b\t", u"no tab"));
    EXPECT_EQ(thrown_by([&] { list_.match("a@c", false, true); }), "m_unpack_domain failed");
    list_.write_domains(u"\r");
    EXPECT_THAT(domains(), IsEmpty());
}

TEST_F(sender_list, lets_tabs_move_fields_and_drops_what_no_list_can_hold) {
    list_.add_address(u"a\tb", "c@x", u"d");
    EXPECT_THAT(addresses(), ElementsAre(u"a\tb\tc@x\td"));
    EXPECT_TRUE(list_.match("b", true, false));
    EXPECT_FALSE(list_.match("c@x", true, false));
    list_.empty_addresses();
    list_.add_address(std::u16string(u"a\0b", 3), string("c\0@x", 4), u"line\r\nend");
    EXPECT_THAT(addresses(), ElementsAre(u"ab\tc@x\tline\r\nend"));
    EXPECT_TRUE(list_.match(string("c\0@x", 4), true, false));
}

TEST_F(sender_list, adds_the_recipients_of_a_message_in_the_order_of_the_headers) {
    const replay::internet::message2::part message(
        "BCC: c@x\nTo: Bea <b@x>, a@x\nCc: =?utf-8?q?=C5=81?= <d@x>, A@X\nTo: e@x\n\ntext\n");
    list_.silent(false);
    list_.add_recipients(message);
    EXPECT_FALSE(list_.silent());
    const std::u16string comment = u"\tAdded as Recipient of Outbound Mail";
    EXPECT_THAT(addresses(), ElementsAre(u"\ta@x" + comment, u"\tc@x" + comment,
                                         u"Bea\tb@x" + comment, u"\u0141\td@x" + comment));
    list_.silent(true);
    list_.add_recipients(message);
    EXPECT_TRUE(list_.silent());
}

// The look-up as a plain walk.
bool walked(const text_list& entries, std::u16string_view text) {
    return std::any_of(entries.begin(), entries.end(), [&](std::u16string_view entry) {
        const std::size_t tab = entry.find(u'\t');
        if (tab == std::u16string_view::npos) throw std::runtime_error("m_unpack_domain failed");
        return text.ends_with(entry.substr(0, tab));
    });
}

TEST_F(sender_list, answers_as_a_walk_through_the_list_does) {
    std::mt19937 random(5);
    const auto random_text = [&](std::size_t most) {
        string text(random() % (most + 1), 'a');
        for (char& byte : text) byte = static_cast<char>('a' + random() % 2);
        return text;
    };
    for (int round = 0; round < 60; ++round) {
        text_list entries;
        for (auto i = random() % 6; i > 0; --i) {
            const string domain = "b" + random_text(4);
            entries.emplace_back(domain.begin(), domain.end());
            entries.back() += random() % 8 == 0 ? u"!" : u"\t";
        }
        set(allow, u"Domains", entries);
        for (int i = 0; i < 12; ++i) {
            const string text = random_text(8);
            std::optional<bool> expected;
            std::optional<bool> found;
            const auto fault = thrown_by(
                [&] { expected = walked(entries, std::u16string(text.begin(), text.end())); });
            EXPECT_EQ(thrown_by([&] { found = list_.match(text, false, true); }), fault) << text;
            EXPECT_EQ(found, expected) << text << " in round " << round;
        }
    }
}

TEST_F(sender_list, loses_nothing_that_two_processes_add) {
    const auto add_many = [&](const string& who) {
        for (int i = 0; i < 50; ++i) list_.add_address(u"", who + std::to_string(i) + "@x", u"");
    };
    child_process child([&] { add_many("child"); });
    add_many("parent");
    ASSERT_EQ(child.wait(), 0);
    const text_list all = addresses();
    EXPECT_EQ(all.size(), 100u);
    EXPECT_TRUE(std::is_sorted(all.begin(), all.end()));
}

TEST_F(sender_list, takes_an_address_of_a_megabyte) {
    const string address = string(1 << 20, 'A') + "@Example.org";
    list_.add_address(u"", address, u"");
    list_.add_domain("example.org", u"");
    EXPECT_TRUE(list_.match(address, true, false));
    EXPECT_TRUE(list_.match(address, false, true));
    EXPECT_FALSE(list_.match(address + "x", true, true));
    EXPECT_TRUE(list_.remove_address(address));
}

}  // namespace
