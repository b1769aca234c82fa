#include "foundation/transport.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "foundation/network_environment.h"
#include "support/failure_text.h"
#include "support/watched_thread.h"

namespace {

using replay::internet::address::ip4;
using replay::internet::address::ip4_address;
using replay::internet::transport::udp::buffer;
using replay::internet::transport::udp::raw;
using test_support::failure_of;
namespace address = replay::internet::address;
namespace tcp = replay::internet::transport::tcp;
namespace transport = replay::internet::transport;

constexpr std::uint32_t plenty = 10'000;  // milliseconds; only a fault waits as long

ip4 loopback(std::uint16_t port = 0) {
    return ip4(ip4_address(0x7F000001), port);
}

struct bound_socket : raw {
    bound_socket() {
        open(loopback());
        bind(loopback());
        set_receive_timeout(plenty);
    }

    std::string received(std::size_t capacity = 100) {
        buffer into(capacity);
        receive(sender, into);
        return std::string(into.text());
    }

    ip4 sender;
};

std::uint16_t port_of_nobody() {
    bound_socket socket;
    return socket.local_address().port();
}

TEST(internet_address, stands_in_network_order) {
    EXPECT_EQ(ip4().size(), 16u);
    EXPECT_EQ(ip4(), ip4(ip4_address(0), 0));
    const ip4 some(ip4_address(0xC0000201), 2409);
    const char bytes[16] = {2, 0, 9, 0x69, '\xC0', 0, 2, 1};  // the family is in the host's order
    ip4 assigned;
    assigned.assign(bytes, sizeof bytes);
    EXPECT_TRUE(assigned.equal(some));
    EXPECT_FALSE(assigned.not_equal(some));
    EXPECT_EQ(assigned.port(), 2409);
    EXPECT_EQ(assigned.host(), ip4_address(0xC0000201));
    EXPECT_TRUE(assigned.not_equal(ip4(some.host(), 2408)));
    EXPECT_TRUE(assigned.not_equal(ip4(ip4_address(0xC0000202), 2409)));
}

TEST(internet_address, other_size_is_refused_and_changes_nothing) {
    const char bytes[28] = {2, 0, 1};
    for (const std::size_t size : {0u, 15u, 17u, 28u}) {
        ip4 target = loopback(7);
        EXPECT_EQ(failure_of([&] { target.assign(bytes, size); }),
                  "internet.address.invalid_address_format[Size mismatch]");
        EXPECT_EQ(target, loopback(7));
    }
}

TEST(internet_address, looks_hosts_up) {
    EXPECT_EQ(ip4("127.0.0.1", 2409), loopback(2409));
    EXPECT_EQ(ip4("192.0.2.7", 1).text(ip4::numeric), "192.0.2.7");
    EXPECT_EQ(address::look_up("127.0.0.1", 5), std::vector{loopback(5)});
    for (const std::string host : {"", "host.invalid.", "127.0.0.1 x"}) {
        EXPECT_THROW(ip4(host, 1), address::host_not_found) << host;
    }
    EXPECT_THROW(ip4("::1", 1), address::invalid_address_format);
    EXPECT_THROW(ip4(std::string("127.0.0.1\0.example", 18), 1), address::host_not_found);
}

TEST(udp_socket, carries_datagrams_of_every_size) {
    bound_socket sender, receiver;
    const std::size_t largest = sender.maximum_message_size();
    EXPECT_EQ(largest, 65507u);
    std::size_t total = 0;
    for (const std::size_t size : {std::size_t{0}, std::size_t{1472}, largest}) {
        const std::string sent(size, static_cast<char>('a' + size % 26));
        sender.send(receiver.local_address(), sent);
        EXPECT_EQ(receiver.received(largest), sent);
        EXPECT_EQ(receiver.sender, sender.local_address());
        total += size;
    }
    EXPECT_EQ(sender.bytes_sent(), total);
    EXPECT_EQ(sender.bytes_received(), 0u);
    EXPECT_EQ(receiver.bytes_received(), total);
}

TEST(udp_socket, refuses_a_datagram_that_is_too_large) {
    bound_socket sender, receiver;
    for (const std::size_t size : {65508u, 65536u, 1000000u}) {
        EXPECT_EQ(
            failure_of([&] { sender.send(receiver.local_address(), std::string(size, 'a')); }),
            "internet.transport.message_truncated[sendto() failed]");
    }
    EXPECT_EQ(sender.bytes_sent(), 0u);
    sender.send(receiver.local_address(), "after");
    EXPECT_EQ(receiver.received(), "after");
}

TEST(udp_socket, cuts_no_datagram_to_the_buffer) {
    bound_socket sender, receiver;
    for (const char* text : {"12345", "1234", "123"}) sender.send(receiver.local_address(), text);
    buffer into(4);
    EXPECT_EQ(failure_of([&] { receiver.receive(receiver.sender, into); }),
              "internet.transport.message_truncated[recvfrom() failed]");
    EXPECT_EQ(into.text(), "");
    receiver.receive(receiver.sender, into);
    EXPECT_EQ(into.text(), "1234");
    receiver.receive(receiver.sender, into);
    EXPECT_EQ(into.text(), "123");
}

TEST(udp_socket, tells_of_a_port_that_nobody_has) {
    bound_socket socket;
    const ip4 nobody = loopback(port_of_nobody());
    socket.send(nobody, "anybody?");
    EXPECT_EQ(failure_of([&] { socket.received(); }),
              "internet.transport.port_unreachable[recvfrom() failed]");
    socket.set_receive_timeout(1);
    EXPECT_EQ(failure_of([&] { socket.received(); }),
              "internet.transport.operation_timed_out[recvfrom() failed]");
}

TEST(udp_socket, notices_about_one_peer_do_not_hinder_another) {
    bound_socket socket, peer;
    const ip4 nobody = loopback(port_of_nobody());
    for (int i = 0; i < 2000; ++i) {  // more notices than their queue holds
        socket.send(nobody, "anybody?");
        socket.send(peer.local_address(), std::to_string(i));
        ASSERT_EQ(peer.received(), std::to_string(i));
    }
    peer.send(socket.local_address(), "answer");
    std::string answer;
    while (answer.empty()) {
        try {
            answer = socket.received();
        } catch (const raw::port_unreachable&) {
        }
    }
    EXPECT_EQ(answer, "answer");
}

TEST(udp_socket, is_none_before_open_and_after_close) {
    raw never;
    bound_socket closed;
    closed.close();
    for (raw* socket : {&never, static_cast<raw*>(&closed)}) {
        buffer into(10);
        ip4 from;
        const std::string domain = "internet.transport.not_a_socket";
        EXPECT_EQ(failure_of([&] { socket->receive(from, into); }), domain + "[recvfrom() failed]");
        EXPECT_EQ(failure_of([&] { socket->send(loopback(9), ""); }), domain + "[sendto() failed]");
        EXPECT_EQ(failure_of([&] { socket->bind(loopback()); }), domain + "[bind() failed]");
        EXPECT_EQ(failure_of([&] { socket->maximum_message_size(); }),
                  domain + "[getsockopt() failed]");
        EXPECT_EQ(failure_of([&] { socket->set_send_buffer(5000); }),
                  domain + "[setsockopt() failed]");
        EXPECT_EQ(failure_of([&] { socket->close(); }), domain + "[closesocket() failed]");
        socket->open(loopback());
        EXPECT_NO_THROW(socket->bind(loopback()));
    }
}

TEST(udp_socket, refuses_addresses_that_it_cannot_have) {
    bound_socket holder;
    raw other;
    other.open(loopback());
    EXPECT_EQ(failure_of([&] { other.bind(holder.local_address()); }),
              "internet.transport.address_in_use[bind() failed]");
    EXPECT_EQ(failure_of([&] { other.bind(ip4(ip4_address(0xC0000201), 0)); }),
              "internet.transport.address_not_valid[bind() failed]");
    ip4 strange;
    strange.mutable_data()->sa_family = AF_UNIX;
    EXPECT_EQ(failure_of([&] { other.open(strange); }),
              "internet.transport[socket() returned status 0x00000061]");
}

TEST(udp_socket, waits_for_something_to_receive) {
    constexpr std::chrono::milliseconds at_once(0);
    constexpr std::chrono::milliseconds long_enough(plenty);
    bound_socket socket;
    EXPECT_FALSE(socket.wait(at_once));
    EXPECT_FALSE(socket.wait(std::chrono::milliseconds(1)));
    bound_socket other;
    other.send(socket.local_address(), "here");
    EXPECT_TRUE(socket.wait(long_enough));
    EXPECT_EQ(socket.received(), "here");
    EXPECT_FALSE(socket.wait(at_once));

    const test_support::watched_thread waiting(
        [&] { EXPECT_THROW(socket.wait(std::chrono::hours(1)), transport::not_a_socket); });
    EXPECT_TRUE(waiting.blocks());
    socket.close();
    waiting.finish();
    EXPECT_THROW(socket.wait(at_once), transport::not_a_socket);
}

TEST(udp_socket, close_ends_a_blocked_receive) {
    bound_socket socket;
    socket.set_receive_timeout(0);
    std::string failure;
    const test_support::watched_thread reader(
        [&] { failure = failure_of([&] { socket.received(); }); });
    EXPECT_TRUE(reader.blocks());
    socket.close();
    reader.finish();
    EXPECT_EQ(failure, "internet.transport.not_a_socket[recvfrom() failed]");
}

// A reader and a writer that go on while the socket is closed and its number taken by others, to
// which a message is waiting: none of those may reach them.
TEST(udp_socket, nobody_touches_a_number_that_was_given_away) {
    bound_socket sink;
    for (int round = 0; round < 200; ++round) {
        bound_socket socket;
        const ip4 own = socket.local_address();
        std::atomic<bool> is_going = false;
        std::string got;
        std::thread reader([&] {
            is_going = true;
            EXPECT_THROW(for (;;) got = socket.received(), transport::not_a_socket);
        });
        std::thread writer(
            [&] { EXPECT_THROW(for (;;) socket.send(own, "own"), transport::not_a_socket); });
        while (!is_going) std::this_thread::yield();
        socket.close();
        bound_socket next;
        sink.send(next.local_address(), "foreign");
        EXPECT_EQ(next.received(), "foreign");
        reader.join();
        writer.join();
        EXPECT_TRUE(got.empty() || got == "own") << got;
    }
}

TEST(tcp_socket, makes_and_ends_connections) {
    tcp::base server, client, accepted;
    server.open(loopback());
    server.bind(loopback());
    server.listen(1);
    client.open(loopback());
    client.connect(server.local_address());
    server.accept(accepted);
    EXPECT_EQ(accepted.peer_address(), client.local_address());
    EXPECT_EQ(client.peer_address(), server.local_address());
    client.shutdown(tcp::base::direction::send);
    client.close();
    EXPECT_EQ(failure_of([&] { client.peer_address(); }),
              "internet.transport.not_a_socket[getpeername() failed]");
}

TEST(tcp_socket, tells_why_there_is_no_connection) {
    tcp::base server, client;
    server.open(loopback());
    server.bind(loopback());
    client.open(loopback());
    const ip4 address = server.local_address();
    EXPECT_EQ(failure_of([&] { client.connect(address); }),
              "internet.transport.connection_refused[connect() failed]");
    EXPECT_EQ(failure_of([&] { client.peer_address(); }),
              "internet.transport[getpeername() returned status 0x0000006b]");
}

TEST(tcp_socket, close_ends_a_blocked_accept) {
    tcp::base server, accepted;
    server.open(loopback());
    server.bind(loopback());
    server.listen(1);
    std::string failure;
    const test_support::watched_thread waiter(
        [&] { failure = failure_of([&] { server.accept(accepted); }); });
    EXPECT_TRUE(waiter.blocks());
    server.close();
    waiter.finish();
    EXPECT_EQ(failure, "internet.transport.not_a_socket[accept() failed]");
}

}  // namespace
