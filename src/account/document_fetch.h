#pragma once

#include <atomic>
#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "account/login_query.h"

namespace brindlemoss::account {

// Where the account server answers, in the order in which it is to be tried: "http://host:port".
// Without the machine's key "Account" these are the defaults. Throws what the registry throws.
std::vector<std::string> server_urls();

// Whether there is a server to be tried: the default name is reserved, and nobody's. Throws what
// the registry throws.
bool is_server_named();

struct document_request {
    std::string_view url;  // without the query
    std::string_view user;
    std::string_view password;  // as it is sent
    const machine_facts& machine;
    std::chrono::milliseconds limit;   // for all of it but looking up the host
    const std::atomic<bool>& is_over;  // set: the transfer ends within a tenth of a second
};

// One request for a document, UTF-8 without its CR, LF and TAB. nullopt when there is none to be
// had; the log says why, but for a machine that is offline while the user's "Always Connected" is
// 0. Lines of the log show the password as asterisks, and at most 64 KiB of an answer that is no
// document, and 1024 bytes of a user's name. Where no server is named nobody is asked. Throws only
// std::bad_alloc.
//
// A server does not hold the caller for ever: it has 30 s to take the connection and for each wait
// for bytes, and `limit` for all of that together, redirects included. Looking up the name of a
// host takes what the system's settings allow, and neither `limit` nor `is_over` ends it.
std::optional<std::string> fetch_document(const document_request& request);

}  // namespace brindlemoss::account
