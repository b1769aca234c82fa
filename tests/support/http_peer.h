#pragma once

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <charconv>
#include <cstdint>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace test_support {

// The far end of a TCP connection over loopback, by the system's calls alone.
class peer_connection {
public:
    explicit peer_connection(int descriptor) : descriptor_(descriptor) {}
    peer_connection(peer_connection&& other) noexcept
        : descriptor_(std::exchange(other.descriptor_, -1)) {}
    ~peer_connection() { close(); }
    peer_connection& operator=(const peer_connection&) = delete;

    // False when the other side has hung up.
    bool send(std::string_view bytes) {
        while (!bytes.empty()) {
            const ssize_t sent = ::send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (sent <= 0) return false;
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        }
        return true;
    }

    // Some bytes; none when the other side has hung up.
    std::string receive() {
        char bytes[4096];
        const ssize_t size = ::recv(descriptor_, bytes, sizeof bytes, 0);
        return {bytes, static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
    }

    void close() {
        if (descriptor_ >= 0) ::close(std::exchange(descriptor_, -1));
    }

    // The other side gets an error instead of the end.
    void reset() {
        const linger at_once{.l_onoff = 1, .l_linger = 0};
        ::setsockopt(descriptor_, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
        close();
    }

private:
    int descriptor_;
};

// A port of loopback that takes connections.
class listener {
public:
    explicit listener(int backlog = 16) : descriptor_(::socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        auto* const generic = reinterpret_cast<sockaddr*>(&address);
        socklen_t size = sizeof address;
        if (::bind(descriptor_, generic, size) != 0 || ::listen(descriptor_, backlog) != 0 ||
            ::getsockname(descriptor_, generic, &size) != 0) {
            throw std::runtime_error("no port of loopback to be had");
        }
        port_ = ntohs(address.sin_port);
    }
    ~listener() { ::close(descriptor_); }
    listener(const listener&) = delete;
    listener& operator=(const listener&) = delete;

    std::uint16_t port() const { return port_; }
    peer_connection accept() { return peer_connection(::accept(descriptor_, nullptr, nullptr)); }

    // accept() returns, and what it gives is of no use.
    void end() { ::shutdown(descriptor_, SHUT_RDWR); }

private:
    int descriptor_;
    std::uint16_t port_;
};

// A port of loopback that takes no connection and refuses none: its queue is full.
class full_listener {
public:
    full_listener() {
        while (enters_queue()) {
        }
    }

    std::uint16_t port() const { return listener_.port(); }

private:
    bool enters_queue() {
        const int descriptor = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0);
        queue_.emplace_back(descriptor);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(listener_.port());
        ::connect(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address);
        pollfd wait{.fd = descriptor, .events = POLLOUT, .revents = 0};
        return ::poll(&wait, 1, 20) > 0;
    }

    listener listener_{0};
    std::vector<peer_connection> queue_;
};

// An HTTP server that reads whole requests, keeps them, and sends what it is told to, right or not.
class http_peer {
public:
    struct answer {
        enum class ending { close, reset, wait };  // the last: for the client to hang up

        std::string text;
        std::string for_ever = "";  // sent again and again until the client hangs up
        ending end = ending::close;
    };

    ~http_peer() {
        is_over_ = true;
        listener_.end();
        if (thread_.joinable()) thread_.join();
    }

    std::string url(std::string_view path = "/") const {
        return "http://127.0.0.1:" + std::to_string(listener_.port()).append(path);
    }

    std::uint16_t port() const { return listener_.port(); }

    // One for each connection in turn; the last serves all further ones. Once.
    void serve(std::vector<answer> answers) {
        thread_ = std::thread([this, answers = std::move(answers)] {
            for (std::size_t i = 0;; i = std::min(i + 1, answers.size() - 1)) {
                peer_connection connection = listener_.accept();
                if (is_over_) return;
                keep(read_request(connection));
                give(connection, answers[i]);
            }
        });
    }

    std::vector<std::string> requests() const {
        const std::lock_guard lock(mutex_);
        return requests_;
    }

private:
    static std::string read_request(peer_connection& connection) {
        std::string request;
        for (std::size_t size = std::string::npos; request.size() < size;) {
            const std::string bytes = connection.receive();
            if (bytes.empty()) break;
            request += bytes;
            const std::size_t head = request.find("\r\n\r\n");
            if (head != std::string::npos) size = head + 4 + announced_size(request);
        }
        return request;
    }

    static std::size_t announced_size(const std::string& request) {
        constexpr std::string_view name = "CONTENT-LENGTH: ";
        std::size_t size = 0;
        if (const std::size_t at = request.find(name); at != std::string::npos) {
            const char* const end = request.data() + request.size();
            std::from_chars(request.data() + at + name.size(), end, size);
        }
        return size;
    }

    static void give(peer_connection& connection, const answer& what) {
        bool listens = connection.send(what.text);
        while (listens && !what.for_ever.empty()) listens = connection.send(what.for_ever);
        if (what.end == answer::ending::reset) connection.reset();
        while (what.end == answer::ending::wait && !connection.receive().empty()) {
        }
    }

    void keep(std::string request) {
        const std::lock_guard lock(mutex_);
        requests_.push_back(std::move(request));
    }

    listener listener_;
    std::atomic<bool> is_over_{false};
    mutable std::mutex mutex_;
    std::vector<std::string> requests_;
    std::thread thread_;
};

}  // namespace test_support
