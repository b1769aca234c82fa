#include "community/messages.h"

#include <gmock/gmock.h>

#include <string>
#include <string_view>
#include <vector>

#include "foundation/translate.h"
#include "support/failure_text.h"
#include "support/printable.h"

namespace {

using namespace brindlemoss::analysis;
using namespace brindlemoss::analysis::community;
using replay::coding::translate::invalid_codeword;
using testing::ElementsAre;

std::string bytes_of(const datagram& request) {
    std::string text;
    request.serialize(text);
    return text;
}

datagram response_of(std::string_view body, std::string_view head = "R\tSCHEMA=1") {
    datagram made;
    made.parse(std::string(head) + "\r\n" + std::string(body));
    return made;
}

signature_list numbered_signatures(int count) {
    signature_list signatures;
    for (int i = 0; i < count; ++i) {
        push_signature(signatures, u"kind", std::u16string(1, static_cast<char16_t>(u'0' + i)));
    }
    return signatures;
}

// "digest id second state reports revokes matches" of each, with "-" for what is not matched.
std::vector<std::string> texts_of(const signature_list& signatures) {
    std::vector<std::string> texts;
    for (const signature_entry& each : signatures) {
        std::string text = test_support::printable(each.digest);
        for (const long long number :
             {static_cast<long long>(each.id), static_cast<long long>(each.second_value),
              static_cast<long long>(each.state), static_cast<long long>(each.reports),
              static_cast<long long>(each.revokes), static_cast<long long>(each.matches)}) {
            text += ' ' + std::to_string(number);
        }
        texts.push_back(each.matched ? text : test_support::printable(each.digest) + " -");
    }
    return texts;
}

TEST(match_request, has_a_line_for_each_signature) {
    signature_list signatures;
    push_signature(signatures, u"hsi", u"192.0.2.1", u"not sent");
    push_signature(signatures, u"a kind longer than six", u"");
    push_signature(signatures, u"tru", u"\u00E4\u20AC\U0001F600", u"");
    signatures.back().matched = true;
    EXPECT_EQ(bytes_of(match_request(signatures)),
              "MATCH\tSCHEMA=1\r\nhsi\t192.0.2.1\r\na kind longer than six\t\r\n"
              "tru\t\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\r\n");
    EXPECT_EQ(bytes_of(match_request({})), "MATCH\tSCHEMA=1\r\n");
}

TEST(touch_request, has_a_line_for_each_match) {
    signature_list signatures = numbered_signatures(3);
    signatures.front().id = 5;
    signatures.front().matched = true;
    std::next(signatures.begin())->id = 7;
    signatures.back().id = 64;
    signatures.back().matched = true;
    EXPECT_EQ(bytes_of(touch_request(u"Sp\u00E4m", signatures)),
              "TOUCH\tCLASS=Sp%C3%A4m\tSCHEMA=1\r\nF\r\nBA\r\n");
    EXPECT_EQ(bytes_of(touch_request(u"", {})), "TOUCH\tSCHEMA=1\r\n");
}

TEST(match_response, marks_what_it_names) {
    signature_list signatures = numbered_signatures(3);
    signatures.front().matched = true;
    const auto state = read_match_response(
        response_of("C\tBA\tB\tA\tC\tD\tE\r\nB\tBB\t//////////\tD/////\tE\tF\tG\r\n",
                    "MATCH\tSCHEMA=1\tDB-SERIAL=BAA\tDB-AGE=8"),
        signatures);
    EXPECT_EQ(state.serial, 4096u);
    EXPECT_EQ(state.age, 60u);
    EXPECT_THAT(texts_of(signatures),
                ElementsAre("0 -", "1 65 1152921504606846975 -1 4 5 6", "2 64 1 0 2 3 4"));
}

TEST(match_response, counts_keep_32_bits) {
    signature_list signatures = numbered_signatures(1);
    // 2^32 + 1, 2^31, 2^32 - 1 and 2^36
    read_match_response(response_of("A\tB\tA\tEAAAAB\tCAAAAA\tD/////\tBAAAAAA\n"), signatures);
    EXPECT_THAT(texts_of(signatures), ElementsAre("0 1 0 1 2147483648 4294967295 0"));
}

TEST(match_response, names_a_signature_anew_with_exactly_nine_fields) {
    const struct {
        std::string_view line;
        std::u16string_view kind, digest;
        bool matched;
    } rows[] = {
        {"A\tB\tA\tA\tA\tA", u"kind", u"0", false},
        {"A\tB\tA\tA\tA\tA\tA", u"kind", u"0", true},
        {"\tA\t\tB\tA\tA\tA\tA\tA\t", u"kind", u"0", true},
        {"A\tB\tA\tA\tA\tA\tA\tnew", u"kind", u"0", true},
        {"A\tB\tA\tA\tA\tA\tA\tn\xC3\xA4w\tdigest", u"n\u00E4w", u"digest", true},
        {"A\tB\tA\tA\tA\tA\tA\tnew\tdigest\tmore", u"kind", u"0", true},
        {"", u"kind", u"0", false},
        {"-\t-\t-", u"kind", u"0", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(test_support::escaped(row.line));
        signature_list signatures = numbered_signatures(1);
        read_match_response(response_of(std::string(row.line) + "\n"), signatures);
        ASSERT_EQ(signatures.size(), 1u);
        EXPECT_EQ(signatures.front().matched, row.matched);
        EXPECT_EQ(signatures.front().kind, row.kind);
        EXPECT_EQ(signatures.front().digest, row.digest);
    }
}

TEST(match_response, only_the_first_of_equal_ids_stays) {
    signature_list signatures = numbered_signatures(5);
    read_match_response(response_of("B\tJ\tA\tA\tA\tA\tA\nD\tJ\tA\tA\tA\tA\tA\n"), signatures);
    EXPECT_THAT(texts_of(signatures), ElementsAre("0 -", "1 9 0 0 0 0 0"));

    signatures = numbered_signatures(3);
    read_match_response(response_of(""), signatures);
    EXPECT_THAT(texts_of(signatures), ElementsAre("0 -"));

    signatures = numbered_signatures(3);
    read_match_response(response_of("B\tA\tA\tA\tA\tA\tA\n"), signatures);
    EXPECT_THAT(texts_of(signatures), ElementsAre("0 -")) << "an id of 0 counts as none";
}

TEST(match_response, that_is_wrong_changes_nothing) {
    const struct {
        std::string_view head, body, message;
    } rows[] = {
        {"R", "", "no schema"},
        {"R\tSCHEMA", "", "bad schema"},
        {"R\tSCHEMA=2", "", "bad schema"},
        {"R\tSCHEMA=01", "", "bad schema"},
        {"R\tSCHEMA=1", "A\tB\tA\tA\tA\tA\tA\nC\tC\tA\tA\tA\tA\tA\n", "invalid record"},
        {"R\tSCHEMA=1", "P//////////\tC\tA\tA\tA\tA\tA\n", "invalid record"},
        {"R\tSCHEMA=1", "A\tB\tA\tA\tA\tA\tA\nA\tB\tA\tA\tA\tA\tA\n", "duplicate record"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(test_support::escaped(row.body) + std::string(row.head));
        signature_list signatures = numbered_signatures(2);
        signatures.back().matched = true;
        EXPECT_EQ(test_support::failure_of(
                      [&] { read_match_response(response_of(row.body, row.head), signatures); }),
                  "community_client.malformed_response[" + std::string(row.message) + "]");
        EXPECT_THAT(texts_of(signatures), ElementsAre("0 -", "1 0 0 0 0 0 0"));
    }
}

TEST(match_response, with_a_bad_number_changes_nothing) {
    for (int field = 0; field < 7; ++field) {
        SCOPED_TRACE(field);
        std::string line = "B\tB\tB\tB\tB\tB\tB";
        line[static_cast<std::size_t>(2 * field)] = '-';
        signature_list signatures = numbered_signatures(2);
        EXPECT_THROW(
            read_match_response(response_of("A\tB\tA\tA\tA\tA\tA\n" + line + "\n"), signatures),
            invalid_codeword);
        EXPECT_THAT(texts_of(signatures), ElementsAre("0 -", "1 -"));
    }
    for (const std::string_view head : {"R\tSCHEMA=1\tDB-SERIAL=%2D", "R\tSCHEMA=1\tDB-AGE=%2D"}) {
        signature_list signatures;
        EXPECT_THROW(read_match_response(response_of("", head), signatures), invalid_codeword);
    }
}

}  // namespace
