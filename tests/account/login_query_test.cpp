#include "account/login_query.h"

#include <gtest/gtest.h>

#include <string>

#include "foundation/registry.h"
#include "platform/paths.h"
#include "platform/system_version.h"
#include "support/temporary_folder.h"

namespace {

namespace registry = replay::registry2;
using brindlemoss::account::login_query;
using brindlemoss::account::machine_facts;
using brindlemoss::account::query_facts;
using registry::tree_key;

TEST(login_query, tells_what_is_known_in_order) {
    const query_facts plain{0, "", 0, "EN", "0|1|"};
    const machine_facts machine{"4:6.1", {}, {}, ""};
    const std::string least = "?Pr=1&Pa=0&SV=&I=0&OSV=4%3A6%2E1&L=EN&Statistics=0%7C1%7C&CP=65001";
    EXPECT_EQ(login_query(plain, machine, "", ""), least);
    EXPECT_EQ(login_query(plain, machine, "7", ""), least) << "a user without a password";
    EXPECT_EQ(login_query(plain, machine, "", "ab"), least) << "a password without a user";
    EXPECT_EQ(login_query({-1, "4.2 b", 7, "d&e %", "0|"},
                          {"4:6.1", "6.0.2800.1", "11.0.5608.0", "/opt/\xC3\xA6/the mailer.exe"},
                          "a&b%c\xC3\xA9", "0123456789abcdef"),
              "?Pr=1&Pa=-1&SV=4%2E2%20b&U=a%26b%25c%C3%A9&P=0123456789abcdef&I=7&OSV=4%3A6%2E1"
              "&OEV=6%2E0%2E2800%2E1&OV=11%2E0%2E5608%2E0&L=d&e %&Process=the%20mailer%2Eexe"
              "&Statistics=0%7C&CP=65001");
    // One client, a host without a name.
    EXPECT_EQ(login_query(plain, {"4:6.1", {}, "1.2.3.4", "/opt/"}, "7", "a&b%"),
              "?Pr=1&Pa=0&SV=&U=7&P=a&b%&I=0&OSV=4%3A6%2E1&OV=1%2E2%2E3%2E4&L=EN"
              "&Statistics=0%7C1%7C&CP=65001");
}

class query_facts_test : public testing::Test {
protected:
    ~query_facts_test() override { registry::close_all(); }

    const test_support::temporary_folder folder_;
    const replay::platform::paths::scoped_home home_{folder_.path()};
};

TEST_F(query_facts_test, are_defaults_in_a_store_without_values) {
    const query_facts facts = brindlemoss::account::facts_of_the_stores();
    EXPECT_EQ(facts.partner, 0);
    EXPECT_EQ(facts.version, "");
    EXPECT_EQ(facts.features, 0);
    EXPECT_EQ(facts.language, "EN");
    EXPECT_EQ(facts.statistics, "0|0|0|0|0|0|0|0|0|0|0|");
    // Those of the user stand in the store from then on.
    const std::pair<tree_key, std::size_t> written[] = {
        {tree_key::user_root, 1},
        {tree_key::user_statistics_filter, 2},
        {tree_key::user_statistics_user, 2},
        {tree_key::user_statistics_communication, 2},
        {tree_key::user_statistics_protocol, 4}};
    for (const auto& [key, count] : written) {
        EXPECT_EQ(registry::at(key).query_info().values, count);
    }
}

TEST_F(query_facts_test, are_read_from_where_they_belong) {
    registry::at(tree_key::machine_installation).set_integer(u"Partner", 0xFFFFFFFE);
    registry::at(tree_key::machine_installation).set_text(u"Version", u"4.2\u00E9");
    registry::at(tree_key::user_root).set_text(u"Language", u"\u00E9");
    const auto set = [](tree_key key, std::u16string_view name, std::uint32_t value) {
        registry::at(key).set_integer(name, value);
    };
    set(tree_key::user_statistics_filter, u"Blocked", 1);
    set(tree_key::user_statistics_filter, u"Processed", 2);
    set(tree_key::user_statistics_user, u"Unblocked", 3);
    set(tree_key::user_statistics_user, u"Blocked", 4);
    set(tree_key::user_statistics_communication, u"Bytes Transmitted", 5);
    set(tree_key::user_statistics_communication, u"Bytes Received", 0x7FFFFFFF);
    set(tree_key::user_statistics_protocol, u"Response Time", 0x80000000);
    set(tree_key::user_statistics_protocol, u"Timeouts", 8);
    set(tree_key::user_statistics_protocol, u"Errors", 9);
    set(tree_key::user_statistics_protocol, u"Queries", 10);
    const query_facts facts = brindlemoss::account::facts_of_the_stores();
    EXPECT_EQ(facts.partner, -2);
    EXPECT_EQ(facts.version, "4.2\xC3\xA9");
    EXPECT_EQ(facts.language, "\xC3\xA9");
    EXPECT_EQ(facts.statistics, "0|1|2|3|4|5|2147483647|-2147483648|8|9|10|");
}

TEST(system_version, is_that_of_the_kernel) {
    const std::pair<const char*, const char*> rows[] = {
        {"6.1.0-18-amd64", "4:6.1"}, {"10.20", "4:10.20"}, {"5", "4:5.0"},      {"5.", "4:5.0"},
        {"5-rc1.7", "4:5.0"},        {"", "4:0.0"},        {"beta.1", "4:0.0"},
    };
    for (const auto& [release, version] : rows) {
        SCOPED_TRACE(release);
        EXPECT_EQ(replay::platform::system_version_of(release), version);
    }
}

}  // namespace
