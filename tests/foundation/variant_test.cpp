#include "foundation/variant.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

namespace {

using replay::variant;

TEST(variant, kinds_have_their_numbers) {
    EXPECT_EQ(static_cast<int>(variant().type()), 0);
    EXPECT_EQ(static_cast<int>(variant(std::int64_t{7}).type()), 1);
    EXPECT_EQ(static_cast<int>(variant(7.5).type()), 2);
    EXPECT_EQ(static_cast<int>(variant(std::string("7")).type()), 3);
    EXPECT_EQ(static_cast<int>(variant(std::u16string(u"7")).type()), 4);
}

TEST(variant, nothing_converts_to_nothing) {
    EXPECT_THROW(variant().as_boolean(), variant::type_mismatch);
    EXPECT_THROW(variant().as_integer(), variant::type_mismatch);
    EXPECT_THROW(variant().as_large(), variant::type_mismatch);
    EXPECT_THROW(variant().as_floating(), variant::type_mismatch);
    EXPECT_THROW(variant().as_string(), variant::type_mismatch);
}

TEST(variant, texts_become_numbers) {
    const struct {
        const char* text;
        std::int64_t large;
    } rows[] = {
        {"42", 42},
        {"42 days", 42},
        {"-5", -5},
        {"", 0},
        {"-", 0},
        {"3.9", 3},
        {"5000000000", 5'000'000'000},
        {"9223372036854775807", std::numeric_limits<std::int64_t>::max()},
        {"-9223372036854775808", std::numeric_limits<std::int64_t>::min()},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        const std::string bytes = row.text;
        for (const variant& value :
             {variant(bytes), variant(std::u16string(bytes.begin(), bytes.end()))}) {
            EXPECT_EQ(value.as_large(), row.large);
            if (row.large == static_cast<std::int32_t>(row.large)) {
                EXPECT_EQ(value.as_integer(), row.large);
            }
            EXPECT_EQ(value.as_boolean(), row.large != 0);
            EXPECT_EQ(value.as_string(), row.text);
        }
    }
    EXPECT_EQ(variant(std::string("3.5x")).as_floating(), 3.5);
    EXPECT_EQ(variant(std::string("1,5")).as_floating(), 1.0);
}

TEST(variant, numbers) {
    const variant smallest(std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(smallest.as_string(), "-9223372036854775808");
    EXPECT_EQ(smallest.as_large(), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(variant(std::int64_t{0}).as_string(), "0");
    EXPECT_FALSE(variant(std::int64_t{0}).as_boolean());
    EXPECT_TRUE(variant(std::int64_t{-1}).as_boolean());
    EXPECT_TRUE(variant(std::int64_t{1} << 40).as_boolean());
    EXPECT_EQ(variant(std::int64_t{3}).as_floating(), 3.0);
    EXPECT_EQ(variant(-2.75).as_large(), -2);
    EXPECT_EQ(variant(2.75).as_integer(), 2);
    EXPECT_TRUE(variant(0.5).as_boolean());
}

TEST(variant, wide_text_as_bytes_is_utf8) {
    EXPECT_EQ(variant(std::u16string(u"\u00E9\u20AC")).as_string(), "\xC3\xA9\xE2\x82\xAC");
}

}  // namespace
