#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

#include "component/component_home.h"
#include "support/mail_text.h"
#include "support/printable.h"

namespace {

using namespace brindlemoss::component;
using std::string;
using std::u16string;
using test_support::printable;
using test_support::process_home;
using test_support::wide;
using testing::HasSubstr;

class filter_test : public test_support::component_test {
protected:
    std::int32_t scored(const u16string& message, truth orphan) {
        std::int32_t rating = -1;
        EXPECT_EQ(filter_->Score(message, orphan, rating), success);
        return rating;
    }

    std::int32_t voted(const u16string& message, std::int32_t score) {
        std::int32_t result = -1;
        EXPECT_EQ(filter_->Vote(message, score, result), success);
        return result;
    }

    u16string merged(const u16string& message, const u16string& header) {
        u16string result = u"before";
        EXPECT_EQ(filter_->MergeHeader(message, header, result), success);
        return result;
    }

private:
    const std::unique_ptr<IFilter> filter_ = create<IFilter>();
};

struct broken_row {
    const char* name;
    u16string message;
};
const broken_row broken_rows[] = {
    {"a unit that is no byte", u"Subject: a\n\n\u0100"},
    {"a surrogate", u16string(u"Subject: a\n\n") + char16_t{0xD800}},
    {"too deep", wide(test_support::nested_multiparts(65))},
    {"no such code page in the type", wide("Content-Type: =?windows-9999?Q?a?=\n\nx")},
    {"no codeword in the type", wide("Content-Type: =?utf-8?Q?=zz?=\n\nx")},
};

TEST_F(filter_test, score) {
    const struct {
        const char* raw;
        int rating;
    } rows[] = {
        {"X-Antivirus-Status: Infected\n\n", 100},
        {"\n\nThistlegrove has deleted", 100},
        {"Subject: =?windows-9999?Q?a?=\n\n", 70},
        {"Subject: =?utf-8?Q?=zz?=\n\n", 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.raw);
        for (const truth orphan : {no, yes, truth{1}})
            EXPECT_EQ(scored(wide(row.raw), orphan), row.rating);
    }
}

TEST_F(filter_test, a_message_that_cannot_be_read_passes) {
    for (const auto& row : broken_rows) {
        SCOPED_TRACE(row.name);
        const u16string infected = u"X-Antivirus-Status: Infected\n" + row.message;
        EXPECT_EQ(scored(infected, yes), 0);
        EXPECT_EQ(scored(infected, no), 0);
    }
}

// Also by the very first call, which has the log opened first.
TEST_F(filter_test, tells_the_log_of_what_cannot_be_read) {
    scored(u"\u0100", yes);
    EXPECT_THAT(process_home.log(), HasSubstr("!  Unhandled Exception: "));
    process_home.empty();
    voted(u"\u0100", 0);
    EXPECT_THAT(process_home.log(), HasSubstr("!  Unhandled Exception\r\n"));
}

TEST_F(filter_test, a_vote_is_always_taken) {
    using limits = std::numeric_limits<std::int32_t>;
    for (const std::int32_t score : {limits::min(), -1, 0, 1, limits::max()}) {
        EXPECT_EQ(voted(u"From: a@b.example\n\nx", score), 1);
        for (const auto& row : broken_rows) {
            SCOPED_TRACE(row.name);
            EXPECT_EQ(voted(row.message, score), 1);
        }
    }
}

// Spam costs the sender all trust; what is none allows it.
TEST_F(filter_test, a_vote_counts_by_its_sign) {
    using limits = std::numeric_limits<std::int32_t>;
    const auto allowed = create<IRulesSenderAllowed>();
    const auto trusted = create<IRulesSenderTrusted>();
    const struct {
        std::int32_t score;
        bool is_spam;
    } rows[] = {{0, true}, {-1, false}, {1, true}, {limits::min(), false}, {limits::max(), true}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.score);
        allowed->EmptyAddresses();
        trusted->AddAddress(u"", u"a@b.example");
        voted(u"From: A@b.example\n\nx", row.score);
        truth is_allowed = no;
        u16string trust;
        allowed->Match(u"a@b.example", is_allowed);
        trusted->EnumerateAddresses(trust);
        EXPECT_EQ(is_allowed, row.is_spam ? no : yes);
        EXPECT_EQ(trust.empty(), row.is_spam);
    }
}

TEST_F(filter_test, merge_header) {
    const struct {
        const char* name;
        const char* message;
        const char* header;
        const char* merged;
    } rows[] = {
        {"behind the headers that are there",
         "Received: 1\nContent-Type: text/plain; charset=\"utf-8\"\nReceived: 2\n\nx",
         "Received: 3\nSubject: b\nReceived: 4\n\ny",
         "Received: 1\r\nContent-Type: text/plain; charset=\"utf-8\"\r\nReceived: 2\r\n"
         "Received: 3\r\nReceived: 4\r\n\r\nx\r\n\r\n"},
        {"the whole name in any case", "Content-Type: text/plain; charset=\"utf-8\"\n",
         "RECEIVED: 1\nReceived-SPF: 2\nX-Received: 3\nReceive: 4\nreceived : 5\n 6",
         "Content-Type: text/plain; charset=\"utf-8\"\r\nRECEIVED: 1\r\nreceived: 5 6\r\n\r\n"},
        {"only those of the root", "Content-Type: text/plain; charset=\"utf-8\"\n\nx",
         "Content-Type: multipart/mixed; boundary=B\n\n--B\nReceived: 1\n\ny\n--B--",
         "Content-Type: text/plain; charset=\"utf-8\"\r\n\r\nx\r\n\r\n"},
        {"a message without a type, a header without anything", "A: b\n\nx", "",
         "A: b\r\nContent-Type: text/plain; charset=\"iso-8859-1\"\r\n\r\nx\r\n\r\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(printable(merged(wide(row.message), wide(row.header))),
                  printable(wide(row.merged)));
    }
}

TEST_F(filter_test, merge_header_keeps_every_byte) {
    string bytes;
    for (int byte = 0; byte < 256; ++byte) {
        if (byte != '\r' && byte != '\n') bytes += static_cast<char>(byte);
    }
    string value = bytes;  // white space of a header becomes a blank
    for (char& byte : value) {
        if (byte == '\t' || byte == '\v' || byte == '\f') byte = ' ';
    }
    const u16string result =
        merged(wide("A: x" + bytes + "\n\n" + bytes), wide("Received: x" + bytes));
    EXPECT_EQ(printable(result), printable(wide("A: x" + value +
                                                "\r\nContent-Type: text/plain; "
                                                "charset=\"iso-8859-1\"\r\nReceived: x" +
                                                value + "\r\n\r\n" + bytes + "\r\n\r\n")));
}

TEST_F(filter_test, merge_header_leaves_alone_what_it_cannot_read) {
    const u16string good = u"A: b\n\nx";
    for (const auto& row : broken_rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(merged(row.message, u"Received: 1"), row.message);
        EXPECT_EQ(merged(good, row.message), good);
    }
}

}  // namespace
