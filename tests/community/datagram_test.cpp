#include "community/datagram.h"

#include <gmock/gmock.h>

#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/translate.h"
#include "support/failure_text.h"
#include "support/printable.h"

namespace {

using namespace brindlemoss::analysis::community;
using replay::coding::translate::invalid_codeword;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using namespace std::string_literals;

datagram parsed(std::string_view text) {
    datagram made;
    made.parse(text);
    return made;
}

std::string serialized(const datagram& from) {
    std::string text = "what stood there";
    from.serialize(text);
    return text;
}

TEST(numeral, is_the_number_in_digits_of_base64) {
    const struct {
        std::uint64_t number;
        std::string_view text;
    } rows[] = {{0, "A"},
                {1, "B"},
                {25, "Z"},
                {26, "a"},
                {52, "0"},
                {62, "+"},
                {63, "/"},
                {64, "BA"},
                {4095, "//"},
                {4096, "BAA"},
                {std::numeric_limits<std::uint64_t>::max(), "P//////////"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(encode_numeral(row.number), row.text);
        EXPECT_EQ(decode_numeral(row.text), row.number);
    }
}

TEST(numeral, is_read_with_leniency_but_not_any) {
    EXPECT_EQ(decode_numeral(""), 0u);
    EXPECT_EQ(decode_numeral("==B=A="), 64u);
    EXPECT_EQ(decode_numeral("AAB"), 1u);
    EXPECT_EQ(decode_numeral("BAAAAAAAAAAA"), 0u);  // 2^66
    for (const std::string_view bad : {"-", "B C", "B\r", "B\xC3", "B_"}) {
        SCOPED_TRACE(test_support::escaped(bad));
        EXPECT_THROW(decode_numeral(bad), invalid_codeword);
    }
}

TEST(digest_text, is_22_characters_of_base64) {
    EXPECT_EQ(encode_digest(replay::md5("")), "1B2M2Y8AsgTpgAmY7PhCfg");
    EXPECT_EQ(encode_digest(replay::md5("abc")), "kAFQmDzST7DWlj99KOF/cg");
}

TEST(datagram, is_written_in_the_order_of_the_keys) {
    datagram request;
    request.command = "C";
    request.records = {{"b", "1"}, {"B", ""}, {"ab", "2"}, {"a", "3"}, {"\xFF", "4"}, {"_", "5"}};
    request.lines = {"x=%1", "", "y\tz"};
    EXPECT_EQ(serialized(request),
              "C\tB\t_=5\ta=3\tab=2\tb=1\t\xFF=4\r\n"
              "x=%1\r\n\r\ny\tz\r\n");
    EXPECT_EQ(serialized({}), "\r\n");
}

TEST(datagram, percent_encodes_all_but_letters_and_digits) {
    datagram request;
    request.records = {{"K", "az AZ09+/=%.-_~\t\r\n\x7F\x80\xFF\0"s}};
    EXPECT_EQ(serialized(request),
              "\tK=az%20AZ09%2B%2F%3D%25%2E%2D%5F%7E%09%0D%0A%7F%80%FF%00\r\n");
}

TEST(datagram, lines_end_in_any_way_but_they_must_end) {
    const struct {
        std::string_view text;
        std::string_view command;
        std::vector<std::string> lines;
    } rows[] = {
        {"C\ra\nb\r\nc\n\rd\r\n", "C", {"a", "b", "c", "d"}},
        {"C\n\na\r\rb\n", "C", {"", "a", "", "b"}},
        {"C\r\n\r\na\r\n", "C", {"", "a"}},
        {"C\r\r\na\n", "C", {"", "a"}},
        {"C\r\na\r\nlost", "C", {"a"}},
        {"lost", "", {}},
        {"", "", {}},
        {"\r\nC\tA\r\n", "", {"C\tA"}},
        {"\t\t\r\na\n", "", {"a"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(test_support::escaped(row.text));
        const datagram read = parsed(row.text);
        EXPECT_EQ(read.command, row.command);
        EXPECT_THAT(read.records, IsEmpty());
        EXPECT_EQ(read.lines, row.lines);
    }
}

TEST(datagram, bytes_of_a_line_stand_as_they_are) {
    EXPECT_THAT(parsed("C\n a\0%zz\t\xC3 \n"s).lines, ElementsAre(" a\0%zz\t\xC3 "s));
}

TEST(datagram, tokens_are_keys_with_at_most_one_value) {
    const struct {
        std::string_view token;
        decltype(datagram::records) records;
    } rows[] = {
        {"KEY", {{"KEY", ""}}},
        {"KEY=", {{"KEY", ""}}},
        {"=KEY", {{"KEY", ""}}},
        {"=", {}},
        {"K=v=w", {}},
        {"K=v=", {{"K", "v"}}},
        {"==K==v", {{"K", "v"}}},
        {"K=a%20b+c%2B", {{"K", "a b+c+"}}},
        {"K=%C3%a4", {{"K", "\xC3\xA4"}}},
        {"K=abc%2", {{"K", "abc%2"}}},
        {"K=%", {{"K", "%"}}},
        {"K=%25", {{"K", "%"}}},
        {"%41=1", {{"%41", "1"}}},
        {"A=1\tA=2\t\tB", {{"A", "1"}, {"B", ""}}},
        {"A\tA=2", {{"A", ""}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.token);
        EXPECT_EQ(parsed("C\t" + std::string(row.token) + "\r\n").records, row.records);
    }
}

TEST(datagram, leading_tabs_do_not_hide_the_command) {
    const datagram read = parsed("\t\tC=1\t\tRID=B\t\n");
    EXPECT_EQ(read.command, "C=1");
    EXPECT_THAT(read.records, ElementsAre(Pair("RID", "B")));
}

TEST(datagram, a_bad_escape_is_told_with_its_byte) {
    const struct {
        std::string_view text, byte;
    } rows[] = {{"C\tK=%zz\n", "7A"}, {"C\tK=%4g\n", "67"}, {"C\tK=1\tK=%%41\n", "25"}};
    for (const auto& row : rows) {
        EXPECT_EQ(test_support::failure_of([&] { parsed(row.text); }),
                  "translate.invalid_codeword[Invalid Codeword 0x" + std::string(row.byte) + "]");
    }
}

}  // namespace
