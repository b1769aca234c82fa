#pragma once

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "community/datagram.h"
#include "foundation/transport.h"

// UDP peers on loopback with which a test plays the community. They answer at once or when the test
// tells them to: nothing in here waits for time to pass.
namespace test_support {

using replay::internet::address::ip4;
using replay::internet::address::ip4_address;

inline constexpr ip4_address loopback{0x7F000001};

// What a peer sends back for one request.
struct reply {
    reply(std::string reply_bytes) : bytes(std::move(reply_bytes)) {}
    reply(const char* reply_bytes) : bytes(reply_bytes) {}

    std::string bytes;
    bool from_another_port = false;
    bool held = false;  // until release()
};

using replies = std::vector<reply>;

// An open UDP socket on a loopback port of the system's choice.
class loopback_socket {
public:
    loopback_socket() {
        socket_.open(ip4());
        socket_.bind(ip4(loopback, 0));
        address_ = socket_.local_address();
    }

    const ip4& address() const { return address_; }
    void send(const ip4& to, std::string_view bytes) { socket_.send(to, bytes); }
    void close() { socket_.close(); }

    // Hands each datagram over until close().
    void receive_all(const std::function<void(const ip4&, const std::string&)>& take) {
        using namespace replay::internet::transport;
        udp::buffer buffer(65'507);  // the largest datagram there is
        while (true) {
            ip4 from;
            try {
                socket_.receive(from, buffer);
                take(from, std::string(buffer.text()));
            } catch (const not_a_socket&) {
                return;
            } catch (const generic&) {
                // What became of a datagram sent before.
            }
        }
    }

private:
    replay::internet::transport::udp::raw socket_;
    ip4 address_;
};

// The name under which a client is told of a peer.
inline std::string host_text(const ip4& address) {
    return address.text(ip4::numeric) + ":" + std::to_string(address.port());
}

// A response to the request: its number, further records ("SCHEMA=1\tDB-AGE=B") and body lines,
// each with its end.
inline std::string response_to(std::string_view request, std::string_view records,
                               std::string_view body = {}) {
    brindlemoss::analysis::community::datagram read;
    read.parse(request);
    const std::string* number = read.find("RID");
    std::string text = "RESPONSE";
    if (number != nullptr) text += "\tRID=" + *number;
    if (!records.empty()) text.append("\t").append(records);
    return text.append("\r\n").append(body);
}

class scripted_peer {
public:
    // `script` is called for each request, in the peer's thread.
    using script = std::function<replies(const std::string& request)>;

    explicit scripted_peer(script answers)
        : answers_(std::move(answers)), thread_([this] {
              socket_.receive_all(
                  [this](const ip4& from, const std::string& bytes) { answer(from, bytes); });
          }) {}
    ~scripted_peer() { stop(); }

    const ip4& address() const { return socket_.address(); }
    std::string host() const { return host_text(address()); }

    // Closes the port: what is sent to it then is answered by ICMP.
    void stop() {
        if (!thread_.joinable()) return;
        socket_.close();
        thread_.join();
    }

    // Sends what the script held back, in order.
    void release() {
        const std::lock_guard guard(lock_);
        for (const auto& [to, each] : std::exchange(held_, {})) send(to, each);
    }

    // From anywhere, to whoever asked last.
    void send_unasked(const reply& unasked) {
        const std::lock_guard guard(lock_);
        send(last_asker_, unasked);
    }

    ip4 last_asker() {
        const std::lock_guard guard(lock_);
        return last_asker_;
    }

    // Waits until that many requests have come, and gives all there are.
    std::vector<std::string> requests(std::size_t at_least = 0) {
        std::unique_lock guard(lock_);
        came_.wait(guard, [&] { return requests_.size() >= at_least; });
        return requests_;
    }

    // Those of one command.
    std::vector<std::string> requests_of(std::string_view command, std::size_t at_least = 0) {
        std::unique_lock guard(lock_);
        std::vector<std::string> chosen;
        came_.wait(guard, [&] {
            chosen.clear();
            for (const std::string& each : requests_) {
                if (each.starts_with(command)) chosen.push_back(each);
            }
            return chosen.size() >= at_least;
        });
        return chosen;
    }

private:
    void answer(const ip4& from, const std::string& request) {
        const replies all = answers_(request);
        const std::lock_guard guard(lock_);
        last_asker_ = from;
        requests_.push_back(request);
        for (const reply& each : all) {
            if (each.held) {
                held_.emplace_back(from, each);
            } else {
                send(from, each);
            }
        }
        came_.notify_all();
    }

    void send(const ip4& to, const reply& sent) {
        (sent.from_another_port ? other_socket_ : socket_).send(to, sent.bytes);
    }

    const script answers_;
    loopback_socket socket_;
    loopback_socket other_socket_;
    std::mutex lock_;
    std::condition_variable came_;
    std::vector<std::string> requests_;
    std::vector<std::pair<ip4, reply>> held_;
    ip4 last_asker_;
    std::thread thread_;
};

// What a relay does with a datagram.
enum class passage { deliver, drop, twice, after_the_next, when_released };

// Stands between one client and a peer, and does with the datagrams of each direction, counted from
// 0, as its script says.
class lossy_relay {
public:
    using script = std::function<passage(std::size_t number)>;

    lossy_relay(const ip4& peer, script requests, script responses)
        : to_peer_{std::move(requests), &outer_, peer},
          to_client_{std::move(responses), &inner_, {}} {
        inner_thread_ = std::thread([this] {
            inner_.receive_all([this](const ip4& from, const std::string& bytes) {
                const std::lock_guard guard(lock_);
                to_client_.to = from;
                pass(to_peer_, bytes);
            });
        });
        outer_thread_ = std::thread([this] {
            outer_.receive_all([this](const ip4&, const std::string& bytes) {
                const std::lock_guard guard(lock_);
                pass(to_client_, bytes);
            });
        });
    }
    ~lossy_relay() {
        inner_.close();
        outer_.close();
        inner_thread_.join();
        outer_thread_.join();
    }

    std::string host() const { return host_text(inner_.address()); }

    // Waits until that many are kept for release(), and lets them go.
    void release(std::size_t count) {
        std::unique_lock guard(lock_);
        passed_.wait(guard, [&] { return kept_.size() >= count; });
        for (const auto& [way, bytes] : std::exchange(kept_, {})) way->socket->send(way->to, bytes);
    }

    // Waits until that many have come from the client and from the peer.
    void await(std::size_t requests, std::size_t responses) {
        std::unique_lock guard(lock_);
        passed_.wait(guard,
                     [&] { return to_peer_.count >= requests && to_client_.count >= responses; });
    }

private:
    struct direction {
        script decide;
        loopback_socket* socket;
        ip4 to;
        std::size_t count = 0;
        std::vector<std::string> late = {};  // go after the next
    };

    void pass(direction& way, const std::string& bytes) {
        const passage decision = way.decide(way.count++);
        if (decision == passage::after_the_next) {
            way.late.push_back(bytes);
        } else if (decision == passage::when_released) {
            kept_.emplace_back(&way, bytes);
        } else {
            if (decision != passage::drop) way.socket->send(way.to, bytes);
            if (decision == passage::twice) way.socket->send(way.to, bytes);
            for (const std::string& each : std::exchange(way.late, {})) {
                way.socket->send(way.to, each);
            }
        }
        passed_.notify_all();
    }

    loopback_socket inner_;  // the client's side
    loopback_socket outer_;  // the peer's side
    std::mutex lock_;
    std::condition_variable passed_;
    direction to_peer_;
    direction to_client_;
    std::vector<std::pair<direction*, std::string>> kept_;
    std::thread inner_thread_;
    std::thread outer_thread_;
};

}  // namespace test_support
