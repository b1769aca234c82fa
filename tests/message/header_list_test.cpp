#include "message/header_list.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

using replay::internet::message2::header_list;
using rows = std::vector<std::pair<std::string, std::string>>;

rows all(const header_list& headers) {
    rows read;
    for (const auto& header : headers) read.emplace_back(header.name, header.value);
    return read;
}

TEST(header_list, keeps_order_case_and_bytes) {
    header_list headers;
    EXPECT_TRUE(headers.empty());
    EXPECT_EQ(all(headers), rows{});
    const rows added = {{"A", "1"}, {"", ""},  {"a", std::string("\0\r\n\xFF", 4)},
                        {"", "v"},  {"n", ""}, {"A", "2"}};
    for (const auto& [name, value] : added) headers.add(name, value);
    EXPECT_EQ(all(headers), added);
    EXPECT_FALSE(headers.empty());
}

TEST(header_list, lengths_at_every_edge_of_their_packing) {
    header_list headers;
    rows added;
    for (const std::size_t length :
         {0,     1,     126,   127,   128,   129,   254,   255,   256,     257,
          16383, 16384, 16385, 32767, 32768, 65535, 65536, 65537, 2097151, 2097152}) {
        added.emplace_back(std::string(length, 'n'), std::string(length / 2, 'v'));
        added.emplace_back("short", std::string(length, 'v'));
    }
    for (const auto& [name, value] : added) headers.add(name, value);
    EXPECT_TRUE(all(headers) == added);
}

TEST(header_list, finds_the_first_without_regard_to_case) {
    header_list headers;
    headers.add("subject", "one");
    headers.add("SUBJECT", "two");
    headers.add("", "nameless");
    headers.add("\xC4", "upper");
    EXPECT_EQ(headers.find("Subject"), "one");
    EXPECT_EQ(headers.find(""), "nameless");
    EXPECT_EQ(headers.find("Subjec"), std::nullopt);
    EXPECT_EQ(headers.find("Subject "), std::nullopt);
    EXPECT_EQ(headers.find("\xE4"), std::nullopt);
}

TEST(header_list, removes_every_header_of_the_name) {
    header_list headers;
    for (const char* name : {"a", "B", "A", "c", "b", "B"}) headers.add(name, name);
    headers.remove("b");
    EXPECT_EQ(all(headers), (rows{{"a", "a"}, {"A", "A"}, {"c", "c"}}));
    headers.remove("none");
    headers.remove("a");
    headers.add("d", "again");
    EXPECT_EQ(all(headers), (rows{{"c", "c"}, {"d", "again"}}));
}

}  // namespace
