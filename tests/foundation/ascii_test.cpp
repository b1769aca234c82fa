#include "foundation/ascii.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

using namespace replay;

TEST(ascii, classes_of_all_bytes) {
    const std::string_view upper = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    const std::string_view lower = "abcdefghijklmnopqrstuvwxyz";
    const std::string_view digits = "0123456789";
    const std::string_view spaces = " \t\n\v\f\r";
    for (int value = 0; value < 256; ++value) {
        SCOPED_TRACE(value);
        const char byte = static_cast<char>(value);
        const auto among = [byte](std::string_view set) { return set.find(byte) != set.npos; };
        EXPECT_EQ(ascii::is_space(byte), among(spaces));
        EXPECT_EQ(ascii::is_digit(byte), among(digits));
        EXPECT_EQ(ascii::is_letter_or_digit(byte), among(upper) || among(lower) || among(digits));
        EXPECT_EQ(ascii::to_lower(byte), among(upper) ? lower[upper.find(byte)] : byte);
    }
}

TEST(ascii, comparison_knows_no_case_but_of_letters) {
    EXPECT_TRUE(ascii::equals_ignoring_case("Content-TYPE", "cONTENT-type"));
    EXPECT_FALSE(ascii::equals_ignoring_case("Content-Typ", "Content-Type"));
    EXPECT_FALSE(ascii::equals_ignoring_case("[", "{"));
    EXPECT_FALSE(ascii::equals_ignoring_case("\xC4", "\xE4"));
    EXPECT_EQ(ascii::to_lower("A\xC4[Z"), "a\xC4[z");
}

TEST(ascii, leading_number) {
    EXPECT_EQ(ascii::leading_number("1252"), 1252);
    EXPECT_EQ(ascii::leading_number("15x7"), 15);
    EXPECT_EQ(ascii::leading_number(""), 0);
    EXPECT_EQ(ascii::leading_number("nonsense"), 0);
    EXPECT_EQ(ascii::leading_number(" 7"), 0);
    EXPECT_EQ(ascii::leading_number("2147483647"), 2147483647);
    EXPECT_EQ(ascii::leading_number(std::string(1000, '9')), 2147483647);
}

}  // namespace
