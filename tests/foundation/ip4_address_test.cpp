#include "foundation/ip4_address.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace {

using replay::internet::address::ip4_address;
using replay::internet::address::no_address;
using namespace std::string_literals;

TEST(ip4_address, reads_the_classic_dotted_form) {
    const std::string zeros(100'000, '0');
    const std::pair<std::string, const char*> rows[] = {
        {"192.168.0.1", "192.168.0.1"}, {"0.0.0.0", "0.0.0.0"},
        {"255.0.0.0", "255.0.0.0"},     {"010.0.0.1", "8.0.0.1"},
        {"1.2.3.00", "1.2.3.0"},        {"1.2.3.07", "1.2.3.7"},
        {"0377.1.1.1", "255.1.1.1"},    {zeros + "12.0.0.1", "10.0.0.1"},
    };
    for (const auto& [text, reading] : rows) {
        SCOPED_TRACE(text.substr(0, 40));
        EXPECT_EQ(ip4_address::parse(text).text(), reading);
    }
}

TEST(ip4_address, anything_else_is_the_address_of_nobody) {
    EXPECT_EQ(no_address.text(), "255.255.255.255");
    for (const std::string& text : {"255.255.255.255"s,
                                    "256.0.0.1"s,
                                    "1.2.3.256"s,
                                    "4294967297.0.0.1"s,
                                    std::string(100'000, '9') + ".0.0.1",
                                    "1.2.3.08"s,
                                    "1.2.3.018"s,
                                    "0400.1.1.1"s,
                                    "0x7f.0.0.1"s,
                                    ""s,
                                    "..."s,
                                    "1..2.3"s,
                                    ".1.2.3"s,
                                    "1.2.3."s,
                                    "1.2.3"s,
                                    "1.2.3.4."s,
                                    "1.2.3.4.5"s,
                                    " 1.2.3.4"s,
                                    "1.2.3.4 "s,
                                    "+1.2.3.4"s,
                                    "1.2.-3.4"s,
                                    "1.2.3.4\0"s,
                                    "x"s}) {
        EXPECT_EQ(ip4_address::parse(text), no_address) << text.substr(0, 40);
    }
}

TEST(ip4_address, first_number_stands_highest) {
    EXPECT_EQ(ip4_address::parse("1.2.3.4").number(), 0x01020304u);
    EXPECT_EQ(ip4_address(0x7F000001).text(), "127.0.0.1");
}

TEST(ip4_address, ranges_that_are_not_public_end_where_they_should) {
    const struct {
        const char* before;
        const char* first;
        const char* last;
        const char* behind;
    } rows[] = {
        {"9.255.255.255", "10.0.0.0", "10.255.255.255", "11.0.0.0"},
        {"126.255.255.255", "127.0.0.0", "127.255.255.255", "128.0.0.0"},
        {"169.253.255.255", "169.254.0.0", "169.254.255.255", "169.255.0.0"},
        {"172.15.255.255", "172.16.0.0", "172.31.255.255", "172.32.0.0"},
        {"192.167.255.255", "192.168.0.0", "192.168.255.255", "192.169.0.0"},
        {"223.255.255.255", "224.0.0.0", "239.255.255.255", "240.0.0.0"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.first);
        EXPECT_TRUE(ip4_address::parse(row.before).is_public());
        EXPECT_FALSE(ip4_address::parse(row.first).is_public());
        EXPECT_FALSE(ip4_address::parse(row.last).is_public());
        EXPECT_TRUE(ip4_address::parse(row.behind).is_public());
    }
    EXPECT_FALSE(ip4_address().is_public());
    EXPECT_TRUE(ip4_address::parse("0.0.0.1").is_public());
    EXPECT_TRUE(ip4_address::parse("255.255.255.254").is_public());
    EXPECT_FALSE(no_address.is_public());
}

}  // namespace
