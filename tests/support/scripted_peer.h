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

    ip4 last_asker() {
        const std::lock_guard guard(lock_);
        return last_asker_;
    }

    // Waits until that many requests have come, and gives all there are.
    std::vector<std::string> requests(std::size_t at_least = 0) {
        return requests_of("", at_least);
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

}  // namespace test_support
