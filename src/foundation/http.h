#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "foundation/exception.h"
#include "foundation/stream_socket.h"

// A small HTTP/1.1 client (RFC 9112): one connection for each request, without TLS.
namespace replay::internet::http {

class generic : public exception {
public:
    explicit generic(std::string message = {});
};

// An operation of the monitor returned false.
class aborted : public generic {
public:
    explicit aborted(std::string message = {});
};

// What came is no HTTP, or is more than the limits allow.
class invalid_response : public generic {
public:
    explicit invalid_response(std::string message = {});
};

// The connection ended before the response did.
class closed : public generic {
public:
    explicit closed(std::string message = {});
};

using header_map = std::map<std::string, std::string>;  // names in upper case

struct request_type {
    // "http://host:port/path#fragment", of which only the host is needed. The fragment is dropped;
    // there is no user, and no coding is undone. The host is looked up, which throws
    // socket::address_type::invalid_name. A path with a line end or NUL in it throws generic.
    explicit request_type(std::string_view url);

    socket::address_type address;
    std::string path;    // begins with "/"; with the query
    header_map headers;  // sent as they stand
    std::string body;    // sent when not empty
};

struct response_type {
    std::int32_t status = 0;
    header_map headers;  // of several with one name, the last
    std::string body;
};

// Watches a transfer and may end it: when an operation returns false, the transfer throws aborted.
// On a redirect all of them are called anew for the next request. What is handed in is valid for
// the call.
class monitor_type {
public:
    virtual ~monitor_type() = default;

    // The connection is up.
    virtual bool request(std::string_view path, std::string_view host);

    // A status line, also that of an interim response.
    virtual bool status(std::int32_t code);

    virtual bool request_header(std::string_view name, std::string_view value);
    virtual bool response_header(std::string_view name, std::string_view value);

    // All of it, before it goes out.
    virtual bool request_body(const char* data, std::size_t size);

    // A piece that came. `total` are the bytes that came so far, this piece included; `expected`
    // are those announced, 0 where nothing was.
    virtual bool response_body(const char* data, std::size_t size, std::size_t total,
                               std::size_t expected);

    // About to wait for the server, and again every socket::stream::watch_interval while a wait
    // lasts: for a connection, for bytes to come or to go. Not while a host name is looked up.
    virtual bool waiting();
};

struct transfer_limits {
    std::uint32_t silence = 30'000;              // milliseconds
    std::size_t header_lines = 1000;             // of a response with its interim ones; more throws
    std::size_t body_size = 64UL * 1024 * 1024;  // invalid_response, as does a larger body
    int redirects = 100;                         // more throw generic

    // For all of the transfer, redirects included; 0: without end. More throws socket::timeout,
    // which may be late by socket::stream::watch_interval, and by the time that the name of a host
    // takes which a redirect tells of: looking up a name cannot be interrupted.
    std::chrono::milliseconds whole{0};
};

// Each connects, sends, reads what comes until the server closes, and follows redirects: a status
// from 300 to 307 gives what a new request to the URL of LOCATION, with the same method but without
// the body, gives. Where the length was announced and another came, they throw closed: so does
// head() when the server tells the length of what it does not send.
//
// Also throw the exceptions of socket::address_type and socket::stream, and socket::timeout.
response_type get(const request_type& request, monitor_type& monitor,
                  const transfer_limits& limits = {});
response_type get(const request_type& request);
response_type head(const request_type& request, monitor_type& monitor,
                   const transfer_limits& limits = {});
response_type head(const request_type& request);

// Sends the size of the body as CONTENT-LENGTH.
response_type post(request_type request, monitor_type& monitor, const transfer_limits& limits = {});
response_type post(request_type request);

// Reads one response, without following it anywhere. For the functions above, and whoever has the
// bytes of a response.
response_type read_response(socket::reader& from, monitor_type& monitor,
                            const transfer_limits& limits);

}  // namespace replay::internet::http
