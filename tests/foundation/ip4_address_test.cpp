#include "foundation/ip4_address.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using replay::internet::address::ip4_address;
using replay::internet::address::no_address;

std::string reading_of(std::string_view text) {
    return ip4_address::parse(text).text();
}

TEST(ip4_address, reads_the_classic_dotted_form) {
    const std::string zeros(100'000, '0');
    const std::string nines(100'000, '9');
    const struct {
        std::string text;
        const char* reading;
    } rows[] = {
        {"192.168.0.1", "192.168.0.1"},
        {"0.0.0.0", "0.0.0.0"},
        {"255.255.255.255", "255.255.255.255"},
        {"255.0.0.0", "255.0.0.0"},
        {"256.0.0.1", "255.255.255.255"},
        {"1.2.3.256", "255.255.255.255"},
        {"4294967297.0.0.1", "255.255.255.255"},
        {nines + ".0.0.1", "255.255.255.255"},
        {"010.0.0.1", "8.0.0.1"},
        {"1.2.3.00", "1.2.3.0"},
        {"1.2.3.07", "1.2.3.7"},
        {"1.2.3.08", "255.255.255.255"},
        {"1.2.3.018", "255.255.255.255"},
        {"0377.1.1.1", "255.1.1.1"},
        {"0400.1.1.1", "255.255.255.255"},
        {zeros + "12.0.0.1", "10.0.0.1"},
        {"0x7f.0.0.1", "255.255.255.255"},
        {"", "255.255.255.255"},
        {"...", "255.255.255.255"},
        {"1..2.3", "255.255.255.255"},
        {".1.2.3", "255.255.255.255"},
        {"1.2.3.", "255.255.255.255"},
        {"1.2.3", "255.255.255.255"},
        {"1.2.3.4.", "255.255.255.255"},
        {"1.2.3.4.5", "255.255.255.255"},
        {" 1.2.3.4", "255.255.255.255"},
        {"1.2.3.4 ", "255.255.255.255"},
        {"+1.2.3.4", "255.255.255.255"},
        {"1.2.-3.4", "255.255.255.255"},
        {std::string("1.2.3.4\0", 8), "255.255.255.255"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text.substr(0, 40));
        EXPECT_EQ(reading_of(row.text), row.reading);
    }
    EXPECT_EQ(ip4_address::parse("x"), no_address);
}

TEST(ip4_address, first_number_stands_highest) {
    EXPECT_EQ(ip4_address::parse("1.2.3.4").number(), 0x01020304u);
    EXPECT_EQ(ip4_address(0x7F000001).text(), "127.0.0.1");
    EXPECT_EQ(ip4_address(), ip4_address::parse("0.0.0.0"));
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
