#include "component/filter.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

#include "support/mail_text.h"
#include "support/printable.h"

namespace {

using brindlemoss::component::filter;
using std::string;
using test_support::printable;

// One byte a unit.
std::u16string wide(std::string_view bytes) {
    std::u16string units;
    for (const char byte : bytes) units += static_cast<unsigned char>(byte);
    return units;
}

const std::u16string beyond_bytes = u"Subject: a\n\n\u0100";

struct broken_row {
    const char* name;
    std::u16string message;
};
const broken_row broken_rows[] = {
    {"a unit that is no byte", beyond_bytes},
    {"too deep", wide(test_support::nested_multiparts(65))},
    {"no such code page in the type", wide("Content-Type: =?windows-9999?Q?a?=\n\nx")},
    {"no codeword in the type", wide("Content-Type: =?utf-8?Q?=zz?=\n\nx")},
};

TEST(filter, score) {
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
        EXPECT_EQ(filter().score(wide(row.raw), true), row.rating);
        EXPECT_EQ(filter().score(wide(row.raw), false), row.rating);
    }
}

TEST(filter, a_message_that_cannot_be_read_passes) {
    for (const auto& row : broken_rows) {
        SCOPED_TRACE(row.name);
        const std::u16string infected = u"X-Antivirus-Status: Infected\n" + row.message;
        EXPECT_EQ(filter().score(infected, true), 0);
        EXPECT_EQ(filter().score(infected, false), 0);
    }
}

TEST(filter, a_vote_is_always_taken) {
    using limits = std::numeric_limits<std::int32_t>;
    for (const std::int32_t score : {limits::min(), -1, 0, 1, limits::max()}) {
        EXPECT_EQ(filter().vote(u"From: a@b.example\n\nx", score), 1);
        for (const auto& row : broken_rows) {
            SCOPED_TRACE(row.name);
            EXPECT_EQ(filter().vote(row.message, score), 1);
        }
    }
}

TEST(filter, merge_header) {
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
        EXPECT_EQ(printable(filter().merge_header(wide(row.message), wide(row.header))),
                  printable(wide(row.merged)));
    }
}

TEST(filter, merge_header_keeps_every_byte) {
    string bytes;
    for (int byte = 0; byte < 256; ++byte) {
        if (byte != '\r' && byte != '\n') bytes += static_cast<char>(byte);
    }
    string value = bytes;  // white space of a header becomes a blank
    for (char& byte : value) {
        if (byte == '\t' || byte == '\v' || byte == '\f') byte = ' ';
    }
    const std::u16string merged =
        filter().merge_header(wide("A: x" + bytes + "\n\n" + bytes), wide("Received: x" + bytes));
    EXPECT_EQ(printable(merged), printable(wide("A: x" + value +
                                                "\r\nContent-Type: text/plain; "
                                                "charset=\"iso-8859-1\"\r\nReceived: x" +
                                                value + "\r\n\r\n" + bytes + "\r\n\r\n")));
}

TEST(filter, merge_header_leaves_alone_what_it_cannot_read) {
    const std::u16string good = u"A: b\n\nx";
    for (const auto& row : broken_rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(filter().merge_header(row.message, u"Received: 1"), row.message);
        EXPECT_EQ(filter().merge_header(good, row.message), good);
    }
}

}  // namespace
