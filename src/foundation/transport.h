#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "foundation/exception.h"
#include "foundation/internet_address.h"
#include "foundation/socket_handle.h"

// Sockets whose calls block and turn the system's error numbers into exceptions. A message is the
// name of the system's call with "() failed", or "() returned status 0x%.8x" with the number for
// those that have no class of their own, which throw generic.
//
// Calls on a socket that was closed or never opened throw not_a_socket; on a machine whose network
// is down, environment::subsystem_not_ready.
namespace replay::internet::transport {

class generic : public exception {
public:
    explicit generic(std::string message = {});
};

class not_a_socket : public generic {
public:
    explicit not_a_socket(std::string message = {});
};

class address_in_use : public generic {
public:
    explicit address_in_use(std::string message = {});
};

class address_not_valid : public generic {
public:
    explicit address_not_valid(std::string message = {});
};

// A socket belongs to one reader and one writer at a time, but for close(), which any thread may
// call: calls that block on the socket then end with not_a_socket. The object must outlive them.
class base {
public:
    virtual ~base() = 0;
    base(const base&) = delete;
    base& operator=(const base&) = delete;

    // Totals since the socket object was made, modulo 2^32. From any thread.
    std::uint32_t bytes_received() const noexcept { return bytes_received_; }
    std::uint32_t bytes_sent() const noexcept { return bytes_sent_; }

    // Throws not_a_socket when it is not open.
    void close();

protected:
    base() = default;

    void open(int type);
    void bind(const address::ip4& address);

    socket_handle handle_;
    std::atomic<std::uint32_t> bytes_received_{0};
    std::atomic<std::uint32_t> bytes_sent_{0};
};

}  // namespace replay::internet::transport

namespace replay::internet::transport::udp {

// What receive() fills: room for `capacity` bytes, of which the first `size` were received.
class buffer {
public:
    explicit buffer(std::size_t capacity) : bytes_(new char[capacity]), capacity_(capacity) {}

    char* data() noexcept { return bytes_.get(); }
    std::size_t capacity() const noexcept { return capacity_; }
    std::size_t size() const noexcept { return size_; }
    void cut(std::size_t size) noexcept { size_ = size; }  // at most `capacity`

    // Valid until the next receive() or the buffer's end.
    std::string_view text() const noexcept { return {bytes_.get(), size_}; }

private:
    std::unique_ptr<char[]> bytes_;  // left as they come: 64 KB are not cleared for each datagram
    std::size_t capacity_;
    std::size_t size_ = 0;
};

// UDP over IPv4. Unlike with the other sockets, any number of threads may send at a time.
class raw : public base {
public:
    class operation_failed : public generic {
    public:
        explicit operation_failed(std::string message = {});
    };

    class message_truncated : public generic {
    public:
        explicit message_truncated(std::string message = {});
    };

    class operation_timed_out : public generic {
    public:
        explicit operation_timed_out(std::string message = {});
    };

    class network_unreachable : public generic {
    public:
        explicit network_unreachable(std::string message = {});
    };

    class host_unreachable : public generic {
    public:
        explicit host_unreachable(std::string message = {});
    };

    class port_unreachable : public generic {
    public:
        explicit port_unreachable(std::string message = {});
    };

    raw() = default;

    // Of the address's family; the address itself matters only to bind().
    void open(const address::ip4& address);
    void bind(const address::ip4& address);

    // In bytes: what one send() can carry at most.
    std::size_t maximum_message_size();

    void set_receive_timeout(std::uint32_t milliseconds);  // 0: for ever
    void set_send_buffer(std::uint32_t size);              // in bytes

    // The port that the system gave the socket, or bind() asked for.
    address::ip4 local_address();

    // Waits until receive() would not. False when `limit` went by first or a signal broke the wait.
    bool wait(std::chrono::milliseconds limit);

    // Waits for one datagram and who sent it; it may be empty. One that does not fit is dropped
    // with message_truncated. Also throws operation_timed_out, and what the network tells of
    // datagrams sent before: port_unreachable, host_unreachable and network_unreachable. That need
    // not come for each of them.
    void receive(address::ip4& from, buffer& into);

    // One datagram. Throws message_truncated when it is too large. What the network tells of
    // earlier ones is passed over.
    void send(const address::ip4& to, std::string_view bytes);

private:
    void drop_notices(int descriptor) noexcept;
};

}  // namespace replay::internet::transport::udp

namespace replay::internet::transport::tcp {

// The calls that make and end TCP connections over IPv4.
class base : public transport::base {
public:
    class connection_failed : public generic {
    public:
        explicit connection_failed(std::string message = {});
    };

    class connection_closed : public generic {
    public:
        explicit connection_closed(std::string message = {});
    };

    class connection_refused : public generic {
    public:
        explicit connection_refused(std::string message = {});
    };

    class connection_reset : public generic {
    public:
        explicit connection_reset(std::string message = {});
    };

    class connection_timed_out : public generic {
    public:
        explicit connection_timed_out(std::string message = {});
    };

    class network_unreachable : public generic {
    public:
        explicit network_unreachable(std::string message = {});
    };

    class host_unreachable : public generic {
    public:
        explicit host_unreachable(std::string message = {});
    };

    base() = default;

    void open(const address::ip4& address);
    void bind(const address::ip4& address);
    void listen(int backlog);

    // Waits for a peer, which `connection` then talks to.
    void accept(base& connection);

    void connect(const address::ip4& address);

    enum class direction { receive, send, both };
    void shutdown(direction which);

    address::ip4 local_address();
    address::ip4 peer_address();
};

}  // namespace replay::internet::transport::tcp
