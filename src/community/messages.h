#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "analysis/record.h"
#include "community/datagram.h"
#include "message/part.h"

// What the requests say and how the answers are read. Requests lack the record "RID", which the
// client adds when it sends them.
namespace brindlemoss::analysis::community {

// Whose vote it is.
struct credentials {
    std::uint32_t product;
    std::uint32_t account;
    std::string password;  // in the form in which it is stored
};

enum class vote { report, revoke };

datagram discover_request();

// Asks what is known of each signature of the list.
datagram match_request(const signature_list& signatures);

// Tells the verdict on the message that the matched signatures came from.
datagram touch_request(std::u16string_view class_text, const signature_list& signatures);

// The whole message, with a proof that the account's password is known. Throws what writing the
// message out throws.
datagram feedback_request(vote kind, const replay::internet::message2::part& message,
                          const credentials& voter);

struct database_state {
    std::uint64_t serial = 0;
    std::uint64_t age = 0;  // seconds since the last update
};

// Marks the signatures that a response to match_request() names and fills in what is known of them.
// Then of all entries with one id, also of those that the response does not name and that have
// none, the first alone stays in the list. Throws malformed_response, and
// replay::coding::translate::invalid_codeword for a bad number; the list is then as it was.
database_state read_match_response(const datagram& response, signature_list& signatures);

}  // namespace brindlemoss::analysis::community
