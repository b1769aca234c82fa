#include "foundation/stream_socket.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "support/failure_text.h"
#include "support/http_peer.h"

namespace {

using namespace replay::internet::socket;
using test_support::failure_of;
using test_support::full_listener;
using test_support::listener;
using test_support::peer_connection;

const std::string much(64 << 20, 'x');    // more than the system takes without a reader
constexpr std::uint32_t plenty = 10'000;  // milliseconds; only a fault waits as long

// A stream and its far end.
struct stream_socket : testing::Test {
    stream_socket() { client.set_timeouts(plenty, plenty); }

    std::string read(std::size_t count, bool partial = false) {
        std::string text = "before";
        client.read(text, count, partial);
        return text;
    }

    std::string read_line(std::size_t limit = 100) {
        std::string text = "before";
        client.read_line(text, limit);
        return text;
    }

    static stream& connected(stream& client, listener& port) {
        client.connect(address_type("127.0.0.1", port.port()));
        return client;
    }

    listener port;
    stream unconnected;
    stream& client = connected(unconnected, port);
    peer_connection peer = port.accept();
};

TEST_F(stream_socket, reads_what_was_asked_for_and_holds_the_rest) {
    peer.send("abcdefgh");
    EXPECT_EQ(read(3), "abc");
    EXPECT_EQ(read(0), "");
    EXPECT_EQ(read(100, true), "defgh");
    peer.send("ijkl");
    EXPECT_EQ(read(2, true), "ij");
    peer.send("mn");
    EXPECT_EQ(read(4), "klmn");
    peer.close();
    EXPECT_EQ(failure_of([&] { read(1); }), "socket.closed[recv() failed]");
}

TEST_F(stream_socket, end_of_the_stream_ends_a_read_that_has_something) {
    peer.send(std::string(5000, 'x') + "yz");
    peer.close();
    EXPECT_EQ(read(5000), std::string(5000, 'x'));
    EXPECT_EQ(read(5000), "yz");
    EXPECT_THROW(read(5000), stream::closed);
}

TEST_F(stream_socket, lines_end_at_line_feed_and_nul) {
    peer.send(std::string("a\rb\r\r\n\n\r\nc\0d\nrest of a line\nX", 29));
    for (const char* line : {"ab", "", "", "c", "d"}) EXPECT_EQ(read_line(), line);
    EXPECT_EQ(read_line(4), "rest");
    EXPECT_EQ(read(1), "X");
    peer.send("cut off");
    peer.close();
    EXPECT_EQ(failure_of([&] { read_line(); }), "socket.closed[recv() failed]");
}

TEST_F(stream_socket, carriage_returns_do_not_count_for_the_limit) {
    peer.send("\ra\rb\rc\n12\n123\n");
    EXPECT_EQ(read_line(3), "abc");
    EXPECT_EQ(read_line(2), "12");
    EXPECT_EQ(read_line(2), "12");
}

TEST_F(stream_socket, gives_up_on_a_line_without_end) {
    const std::string longest(stream::longest_line, 'x');
    std::thread sender([&] { peer.send(longest + "\n" + longest + "x\n"); });
    EXPECT_EQ(read_line(5), "xxxxx");
    EXPECT_EQ(failure_of([&] { read_line(); }), "socket.endless_line[recv() gave no end of line]");
    sender.join();
}

TEST_F(stream_socket, silence_is_a_time_out_in_both_directions) {
    client.set_timeouts(1, 1);
    for (const stream::watch_type& watch : {stream::watch_type(), stream::watch_type([] {})}) {
        client.set_watch(watch);
        EXPECT_EQ(failure_of([&] { read(1); }), "socket.timeout[recv() failed]");
        EXPECT_EQ(failure_of([&] { read_line(); }), "socket.timeout[recv() failed]");
        EXPECT_EQ(failure_of([&] { client.write(much); }), "socket.timeout[send() failed]");
    }
}

TEST_F(stream_socket, is_ended_by_its_watch_when_the_peer_does_not_read) {
    client.set_timeouts(plenty, 1);
    EXPECT_THROW(client.write(much), timeout);  // no more goes into the connection
    client.set_timeouts(plenty, plenty);
    int asked = 0;
    client.set_watch([&] {
        if (++asked == 3) throw generic("enough");
    });
    EXPECT_EQ(failure_of([&] { client.write("x"); }), "socket[enough]");
    EXPECT_EQ(asked, 3);
    client.set_watch({});
    peer.send("\n");
    EXPECT_EQ(read(1), "\n");  // still connected
}

TEST_F(stream_socket, writes_all_of_it) {
    std::string sent(3 << 20, ' ');
    for (std::size_t i = 0; i < sent.size(); ++i) sent[i] = static_cast<char>(i % 251);
    std::string arrived;
    std::thread receiver([&] {
        while (arrived.size() < sent.size()) arrived += peer.receive();
    });
    client.write(sent);
    receiver.join();
    EXPECT_EQ(arrived, sent);
    client.write_line("%s-%d", "a", 7);
    EXPECT_EQ(peer.receive(), "a-7\r\n");
    const std::string percents(3000, '%');
    client.write_line("%s", percents.c_str());
    client.write("");
    std::string line;
    while (line.size() < 3002) line += peer.receive();
    EXPECT_EQ(line, percents + "\r\n");
}

TEST_F(stream_socket, a_lost_peer_is_told_and_kills_nobody) {
    peer.reset();
    EXPECT_EQ(failure_of([&] { read(1); }), "socket.closed[recv() failed]");
    EXPECT_EQ(failure_of([&] {
                  for (;;) client.write("x");
              }),
              "socket.closed[send() failed]");
}

TEST_F(stream_socket, new_connection_begins_without_what_was_held) {
    peer.send("old");
    EXPECT_EQ(read(1), "o");
    connected(client, port);
    peer_connection second = port.accept();
    second.send("new");
    EXPECT_EQ(read(3), "new");
}

TEST_F(stream_socket, no_delay_is_asked_for_as_a_byte_at_the_level_of_sockets) {
    EXPECT_EQ(failure_of([&] { client.set_no_delay(true); }),
              "socket[setsockopt() failed for TCP_NODELAY]");
}

TEST(stream_socket_connect, says_why_there_is_none) {
    const auto port = listener().port();
    stream nobody;
    EXPECT_EQ(failure_of([&] { nobody.connect(address_type("127.0.0.1", port)); }),
              "socket.connect_failed[connect() failed]");
    EXPECT_EQ(failure_of([&] { nobody.write("x"); }), "socket.closed[send() failed]");
    for (const std::string& host :
         {std::string(), std::string("host.invalid."), std::string("127.0.0.1\0", 10)}) {
        EXPECT_EQ(failure_of([&] { address_type(host, 80); }),
                  "socket.invalid_name[gethostbyname() failed]");
    }
}

TEST(stream_socket_connect, gives_up_on_a_peer_that_does_not_answer) {
    const full_listener full;
    int asked = 0;
    const stream::watch_type impatient = [&] {
        if (++asked == 3) throw generic("enough");
    };
    struct row {
        stream::watch_type watch;
        std::chrono::milliseconds limit;
        const char* failure;
    };
    const row rows[] = {
        {{}, std::chrono::milliseconds(20), "socket.connect_failed[connect() failed]"},
        {[] {}, std::chrono::milliseconds(120), "socket.connect_failed[connect() failed]"},
        {impatient, stream::longest_connect, "socket[enough]"},
    };
    for (const row& each : rows) {
        SCOPED_TRACE(each.limit.count());
        stream client;
        client.set_watch(each.watch);
        EXPECT_EQ(
            failure_of([&] { client.connect(address_type("127.0.0.1", full.port()), each.limit); }),
            each.failure);
        client.set_watch({});
        EXPECT_EQ(failure_of([&] { client.write("x"); }), "socket.closed[send() failed]");
    }
    EXPECT_EQ(asked, 3);
}

}  // namespace
