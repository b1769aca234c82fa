#include "foundation/http.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "support/failure_text.h"
#include "support/http_peer.h"
#include "support/text_reader.h"

namespace {

using namespace replay::internet;
using namespace std::string_literals;
using test_support::failure_of;
using test_support::http_peer;
using test_support::text_reader;

// What is refused is the operation whose line begins with `refused`.
struct recording_monitor : http::monitor_type {
    explicit recording_monitor(std::string_view refuse = "nothing") : refused(refuse) {}

    bool request(std::string_view path, std::string_view host) override {
        return note("request ", path, " ", host);
    }
    bool status(std::int32_t code) override { return note("status ", std::to_string(code)); }
    bool request_header(std::string_view name, std::string_view value) override {
        return note("> ", name, "=", value);
    }
    bool response_header(std::string_view name, std::string_view value) override {
        return note("< ", name, "=", value);
    }
    bool request_body(const char* data, std::size_t size) override {
        return note(">> ", std::string_view(data, size));
    }
    bool response_body(const char* data, std::size_t size, std::size_t total,
                       std::size_t expected) override {
        return note("<< ", std::string_view(data, size),
                    " " + std::to_string(total) + "/" + std::to_string(expected));
    }

    template <typename... text>
    bool note(const text&... parts) {
        std::string line;
        (line.append(parts), ...);
        lines.push_back(line);
        return !line.starts_with(refused);
    }

    std::string refused;
    std::vector<std::string> lines;
};

constexpr http::transfer_limits small{.silence = 10'000, .header_lines = 4, .body_size = 10};

http::response_type response_of(std::string text, const http::transfer_limits& limits = small,
                                std::size_t piece = 4096) {
    http::monitor_type monitor;
    text_reader reader(std::move(text), piece);
    return http::read_response(reader, monitor, limits);
}

std::string failure_of_response(std::string text) {
    return failure_of([&] { response_of(std::move(text)); });
}

TEST(http_request, takes_a_url_apart) {
    struct row {
        const char* url;
        std::uint16_t port;
        const char* path;
    };
    const row rows[] = {
        {"http://127.0.0.1:2409/a?b#c", 2409, "/a?b"},
        {"127.0.0.1", 80, "/"},
        {"HTTP://127.0.0.1", 80, "/"},
        {"127.0.0.1/a:8/b#c#d", 80, "/a:8/b"},
        {"http://127.0.0.1:81", 81, "/"},
        {"127.0.0.1:81x/#c", 81, "/"},
        {"http://127.0.0.1:/http://b", 0, "/http://b"},
    };
    for (const row& each : rows) {
        SCOPED_TRACE(each.url);
        const http::request_type request(each.url);
        EXPECT_EQ(request.address.address(), address::ip4("127.0.0.1", each.port));
        EXPECT_EQ(request.path, each.path);
        EXPECT_EQ(request.headers,
                  (http::header_map{{"CONNECTION", "close"}, {"HOST", "127.0.0.1"}}));
        EXPECT_EQ(request.body, "");
    }
}

TEST(http_request, refuses_what_it_cannot_ask_for) {
    for (const char* url : {"", "/", "http://", "https://127.0.0.1/", "http://http://127.0.0.1/"}) {
        SCOPED_TRACE(url);
        EXPECT_EQ(failure_of([&] { http::request_type{url}; }),
                  "socket.invalid_name[gethostbyname() failed]");
    }
    for (const std::string& end : {"\r"s, "\n"s, "\0"s}) {
        EXPECT_THROW(http::request_type("127.0.0.1/a" + end + "b: c"), http::generic);
    }
    EXPECT_EQ(http::request_type("127.0.0.1/a#\n").path, "/a");
}

TEST(http_response, is_taken_apart) {
    struct row {
        const char* name;
        std::string text;
        std::int32_t status;
        http::header_map headers;
        std::string body;
    };
    const row rows[] = {
        {"headers",
         "HTTP/1.1 200 OK\r\nlocation:: : a: b \r\nno colon\r\nX-\xE9:\r\nx-\xE9:2\r\n\r\nbody",
         200,
         {{"LOCATION", "a: b "}, {"X-\xE9", "2"}},
         "body"},
        {"interim", "HTTP/1.1 100\r\nA: b\r\n\r\n\r\nHTTP/1.0  404 x\n\n", 404, {}, ""},
        {"other interim", "HTTP/1.1 103\n\nHTTP/1", 103, {}, "HTTP/1"},
        {"empty lines in front", "\n\r\n\nHTTP/11 7\n\n", 7, {}, ""},
        {"no number", "HTTP/1 x\n\n", 0, {}, ""},
        {"negative", "HTTP/1 -3\n\n", -3, {}, ""},
        {"length", "HTTP/1 1\ncontent-length: 3\n\nabc", 1, {{"CONTENT-LENGTH", "3"}}, "abc"},
        {"length of nonsense", "HTTP/1 1\nContent-Length: x\n\n", 1, {{"CONTENT-LENGTH", "x"}}, ""},
        {"NUL in the body", "HTTP/1 1\n\n\0\r\n\0"s, 1, {}, "\0\r\n\0"s},
        {"body as large as allowed", "HTTP/1 1\n\n0123456789", 1, {}, "0123456789"},
        {"as many headers as allowed", "HTTP/1 1\na\nb\nc\nd\n\n", 1, {}, ""},
    };
    for (const row& each : rows) {
        for (const std::size_t piece : {1u, 4096u}) {
            SCOPED_TRACE(each.name);
            const http::response_type response = response_of(each.text, small, piece);
            EXPECT_EQ(response.status, each.status);
            EXPECT_EQ(response.headers, each.headers);
            EXPECT_EQ(response.body, each.body);
        }
    }
}

TEST(http_response, chunks_are_joined) {
    struct row {
        const char* chunks;
        const char* body;
    };
    const row rows[] = {
        {"3\r\nabc\r\n2;x=y\r\nde\r\n0\r\nTrailer: x\r\n\r\n", "abcde"},
        {"0x2 \nab\n\n\n+1\nc00\nX", "abc"},  // line ends between chunks are not needed
        {"A\n0123456789\n0\n", "0123456789"},
        {"a\n\r\n\r\n\r\n\r\n\r\n\nx\n", "\r\n\r\n\r\n\r\n\r\n"},
        {"0\n3\nabc", ""},
        {"no number\n3\nabc", ""},
    };
    for (const row& each : rows) {
        for (const std::size_t piece : {1u, 4096u}) {
            SCOPED_TRACE(each.chunks);
            const std::string head = "HTTP/1.1 200 OK\nTransfer-Encoding: CHUNKED\n\n";
            EXPECT_EQ(response_of(head + each.chunks, small, piece).body, each.body);
        }
    }
}

TEST(http_response, lines_are_cut_at_2048_bytes) {
    const http::response_type response =
        response_of("HTTP/1 1\nN: " + std::string(2044, 'v') + "w" + std::string(5000, 'x') + "\n" +
                    std::string(5000, 'n') + ": v\n\n");
    EXPECT_EQ(response.headers, (http::header_map{{"N", std::string(2044, 'v') + "w"}}));
}

TEST(http_response, more_than_it_may_send_is_refused) {
    const std::string head = "HTTP/1.1 200 OK\n";
    const std::string chunked = head + "Transfer-Encoding: chunked\n\n";
    const std::string rows[] = {
        head + "\n0123456789a",
        head + "a: 1\nb: 2\nc\nd: 3\nd: 4\n\n",
        chunked + "B\n0123456789a\n0\n",
        chunked + "5\n01234\n6\n567890\n0\n",
        chunked + "FFFFFFFF\n",
        chunked + "100000000\n",
        chunked + "FFFFFFFFFFFFFFFF\n",
        chunked + "-1\n",
        chunked + "1\na" + std::string(100, '\n'),
        std::string(100, '\n') + head,
        "HTTP/1 100\n\nHTTP/1 100\n\nHTTP/1 100\n\nHTTP/1 100\n\nHTTP/1 100\n\n",
        head + std::string(socket::reader::longest_line + 1, 'a') + "\n\n",
    };
    for (const std::string& each : rows) {
        SCOPED_TRACE(each.substr(0, 100));
        EXPECT_THROW(response_of(each), http::invalid_response);
    }
}

TEST(http_response, default_limits_are_large) {
    std::string headers = "HTTP/1 1\n";
    for (int i = 0; i < 1000; ++i) headers += std::to_string(i) + ":\n";
    EXPECT_EQ(response_of(headers + "\n", {}).headers.size(), 1000u);
    EXPECT_THROW(response_of(headers + "x\n\n", {}), http::invalid_response);
    const std::string body(64 << 20, 'x');
    EXPECT_EQ(response_of("HTTP/1 1\n\n" + body, {}).body.size(), body.size());
    EXPECT_THROW(response_of("HTTP/1 1\n\n" + body + "x", {}), http::invalid_response);
}

TEST(http_response, first_line_must_be_of_http) {
    EXPECT_EQ(failure_of_response("ICY 200 OK\r\n\r\n"), "http.invalid_response[ICY 200 OK]");
    EXPECT_EQ(failure_of_response("http/1.1 200\n"), "http.invalid_response[http/1.1 200]");
    EXPECT_EQ(failure_of_response("HTTP/2 200\n\n"), "http.invalid_response[HTTP/2 200]");
    EXPECT_EQ(failure_of_response("HTTP/1.1 \n\n"), "http.invalid_response[HTTP/1.1 ]");
}

TEST(http_response, cut_short_is_closed) {
    const std::string head = "HTTP/1.1 200 OK\n";
    const std::string chunked = head + "Transfer-Encoding: chunked\n\n";
    const std::string rows[] = {
        "",
        "HTTP/1.1 200",
        head,
        head + "A: b\n",
        head + "Content-Length: 4\n\nabc",
        head + "Content-Length: 2\n\nabc",
        head + "Content-Length: -3\n\nabc",
        head + "Content-Length: 99999999999999999999\n\nabc",
        chunked,
        chunked + "3\nab",
        chunked + "3\nabc\n",
        chunked + "3\nabc\n0",
    };
    for (const std::string& each : rows) {
        SCOPED_TRACE(each);
        EXPECT_THROW(response_of(each), http::closed);
    }
}

TEST(http_transfer, sends_the_request_and_tells_the_monitor) {
    http_peer peer;
    peer.serve(
        {{"HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 201 x\r\na: b\r\ncontent-length: 3\r\n\r\nabc"}});
    http::request_type request(peer.url("/p?q#f"));
    request.headers["A-B"] = "c%s";
    request.body = "text";
    recording_monitor monitor;
    const http::response_type response = http::post(request, monitor);
    EXPECT_EQ(response.status, 201);
    EXPECT_EQ(response.body, "abc");
    EXPECT_EQ(peer.requests(), std::vector{"POST /p?q HTTP/1.1\r\nA-B: c%s\r\nCONNECTION: close\r\n"
                                           "CONTENT-LENGTH: 4\r\nHOST: 127.0.0.1\r\n\r\ntext"s});
    EXPECT_EQ(monitor.lines,
              (std::vector{"request /p?q 127.0.0.1"s, "> A-B=c%s"s, "> CONNECTION=close"s,
                           "> CONTENT-LENGTH=4"s, "> HOST=127.0.0.1"s, ">> text"s, "status 100"s,
                           "status 201"s, "< A=b"s, "< CONTENT-LENGTH=3"s, "<< abc 3/3"s}));
}

TEST(http_transfer, body_is_told_in_pieces) {
    struct row {
        std::string text;
        std::vector<std::string> pieces;
    };
    const std::string kilobyte(1024, 'x');
    const row rows[] = {
        {"\n" + kilobyte + kilobyte + "y",
         {kilobyte + " 1024/0", kilobyte + " 2048/0", "y 2049/0"}},
        {"Content-Length: 7\nTransfer-Encoding: chunked\n\n2\nab\n801\n" + kilobyte + kilobyte +
             "z\n0\n",
         {"ab 2/7", kilobyte + kilobyte + "z 2051/7"}},
    };
    for (const row& each : rows) {
        recording_monitor monitor;
        text_reader reader("HTTP/1 200\n" + each.text);
        http::read_response(reader, monitor, {});
        std::vector<std::string> pieces;
        for (const std::string& line : monitor.lines) {
            if (line.starts_with("<< ")) pieces.push_back(line.substr(3));
        }
        EXPECT_EQ(pieces, each.pieces);
    }
}

TEST(http_transfer, ends_where_the_monitor_refuses) {
    http_peer peer;
    peer.serve({{"HTTP/1.1 200 OK\r\nA: b\r\n\r\nabc"}});
    const char* const operations[][2] = {
        {"request ", "request"}, {"> ", "request_header"},  {">>", "request_body"},
        {"status", "status"},    {"< ", "response_header"}, {"<<", "response_body"},
    };
    for (const auto& [line, operation] : operations) {
        SCOPED_TRACE(operation);
        recording_monitor monitor(line);
        http::request_type request(peer.url());
        request.body = "x";
        EXPECT_EQ(failure_of([&] { http::post(request, monitor); }),
                  "http.aborted["s + operation + "]");
        EXPECT_TRUE(monitor.lines.back().starts_with(line));
    }
}

TEST(http_transfer, follows_redirects_with_a_fresh_request) {
    http_peer peer;
    const auto to = [&](int status, std::string_view path) {
        return "HTTP/1.1 " + std::to_string(status) + " x\r\nlocation: " + peer.url(path) +
               "\r\n\r\nold";
    };
    peer.serve(
        {{to(300, "/1")}, {to(304, "/2#x")}, {to(306, "/3")}, {to(307, "/4")}, {to(308, "/5")}});
    http::request_type request(peer.url());
    request.headers["X"] = "y";
    request.body = "text";
    const http::response_type response = http::post(request);
    EXPECT_EQ(response.status, 308);
    EXPECT_EQ(response.body, "old");
    const auto requests = peer.requests();
    ASSERT_EQ(requests.size(), 5u);
    for (int i = 1; i < 5; ++i) {
        EXPECT_EQ(requests[i], "POST /" + std::to_string(i) +
                                   " HTTP/1.1\r\nCONNECTION: close\r\nHOST: 127.0.0.1\r\n\r\n");
    }
}

TEST(http_transfer, hundred_redirects_are_enough) {
    for (const std::size_t redirects : {100u, 101u}) {
        http_peer peer;
        std::vector<http_peer::answer> answers(
            redirects, {"HTTP/1.1 302 x\r\nLocation: " + peer.url("/") + "\r\n\r\n"});
        answers.push_back({"HTTP/1.1 200 OK\r\n\r\n"});
        peer.serve(answers);
        const std::string failure = failure_of([&] { http::get(http::request_type(peer.url())); });
        EXPECT_EQ(failure, redirects == 100 ? "" : "http[Too many redirects]");
        EXPECT_EQ(peer.requests().size(), 101u);
    }
}

TEST(http_transfer, redirect_to_nowhere_fails_on_the_name) {
    http_peer peer;
    peer.serve({{"HTTP/1.1 302 x\r\n\r\n"}});
    EXPECT_THROW(http::get(http::request_type(peer.url())), socket::address_type::invalid_name);
}

TEST(http_transfer, head_with_a_length_is_closed) {
    http_peer peer;
    peer.serve({{"HTTP/1.1 200 OK\r\nContent-Length: 3\r\n\r\n"}, {"HTTP/1.1 204 x\r\n\r\n"}});
    EXPECT_THROW(http::head(http::request_type(peer.url())), http::closed);
    EXPECT_EQ(http::head(http::request_type(peer.url())).status, 204);
    EXPECT_TRUE(peer.requests()[0].starts_with("HEAD / HTTP/1.1\r\n"));
}

TEST(http_transfer, lost_servers_are_told_apart) {
    using ending = http_peer::answer::ending;
    http_peer peer;
    peer.serve({{"", "", ending::reset}, {"HTTP/1.1 200 OK\r\n\r\nab", "", ending::wait}});
    recording_monitor monitor;
    http::transfer_limits impatient;
    impatient.silence = 20;
    EXPECT_THROW(http::get(http::request_type(peer.url())), http::closed);
    EXPECT_EQ(failure_of([&] { http::get(http::request_type(peer.url()), monitor, impatient); }),
              "socket.timeout[recv() failed]");
    const auto port = std::to_string(test_support::listener().port());
    EXPECT_THROW(http::get(http::request_type("127.0.0.1:" + port)),
                 socket::stream::connect_failed);
}

// A server that sends `head`, and a piece of `drip` each time that the client is about to wait; the
// monitor on the client's side, too, which may refuse one wait.
struct dripping_server : http::monitor_type {
    bool request(std::string_view, std::string_view) override {
        connection.emplace(port.accept());
        return connection->send(head);
    }
    bool waiting() override {
        if (connection) connection->send(drip);
        return ++waits != refused;
    }

    test_support::listener port;
    std::optional<test_support::peer_connection> connection;
    std::string head;
    std::string drip;
    int waits = 0;
    int refused = 0;
};

TEST(http_transfer, slow_peers_are_given_up_in_the_midst_of_a_line_or_piece) {
    struct row {
        const char* name;
        const char* head;
        const char* drip;
        bool is_full = false;
    };
    const std::string chunked = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
    const std::string in_a_chunk = chunked + "FFFFFF\r\n";
    const row rows[] = {
        {"silence", "", ""},
        {"status line", "HTTP/1.1 200 ", "x"},
        {"header line", "HTTP/1.1 200 OK\r\nA: b", "x"},
        {"line of a chunk", chunked.c_str(), "0"},
        {"chunk", in_a_chunk.c_str(), "x"},
        {"body", "HTTP/1.1 200 OK\r\nContent-Length: 16000000\r\n\r\n", "x"},
        {"no connection", "", "", true},
    };
    const test_support::full_listener full;
    for (const row& each : rows) {
        SCOPED_TRACE(each.name);
        for (const int refused : {0, 5}) {  // the connection and the request take three at most
            dripping_server server;
            server.head = each.head;
            server.drip = each.drip;
            server.refused = refused;
            http::transfer_limits limits;
            if (refused == 0) limits.whole = std::chrono::milliseconds(100);
            const auto port = std::to_string(each.is_full ? full.port() : server.port.port());
            const http::request_type request("127.0.0.1:" + port);
            EXPECT_EQ(
                failure_of([&] { http::get(request, server, limits); }),
                refused == 0 ? "socket.timeout[Transfer took too long]" : "http.aborted[waiting]");
            EXPECT_TRUE(refused == 0 || server.waits == refused);
        }
    }
}

TEST(http_transfer, redirects_share_the_time_of_the_whole) {
    http_peer peer;
    peer.serve({{"HTTP/1.1 302 x\r\nLocation: " + peer.url("/") + "\r\n\r\n"}});
    http::monitor_type monitor;
    const http::transfer_limits limits{.redirects = 1'000'000,
                                       .whole = std::chrono::milliseconds(100)};
    EXPECT_EQ(failure_of([&] { http::get(http::request_type(peer.url()), monitor, limits); }),
              "socket.timeout[Transfer took too long]");
}

TEST(http_transfer, endless_answers_come_to_an_end) {
    const std::string head = "HTTP/1.1 200 OK\r\n";
    for (const http_peer::answer& each :
         {http_peer::answer{head, "A: b\r\n"}, http_peer::answer{head, "endless line"},
          http_peer::answer{head + "\r\n", "body"}}) {
        SCOPED_TRACE(each.for_ever);
        http_peer peer;
        peer.serve({each});
        http::monitor_type monitor;
        EXPECT_THROW(http::get(http::request_type(peer.url()), monitor, small),
                     http::invalid_response);
    }
}

}  // namespace
