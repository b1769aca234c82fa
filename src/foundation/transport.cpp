#include "foundation/transport.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <limits>

#include "foundation/network_environment.h"

namespace replay::internet::transport {

namespace {

// An IPv4 packet less its header and that of UDP (RFC 768).
constexpr std::size_t largest_datagram = 65507;

std::string failed(const char* call) {
    return std::string(call) + "() failed";
}

[[noreturn]] void fail(const char* call, int code) {
    switch (code) {
        case EBADF:  // a descriptor that is closed already
        case ENOTSOCK: throw not_a_socket(failed(call));
        case ENETDOWN: throw environment::subsystem_not_ready(failed(call));
        default: break;
    }
    char text[64];
    std::snprintf(text, sizeof text, "%s() returned status 0x%.8x", call,
                  static_cast<unsigned>(code));
    throw generic(text);
}

[[noreturn]] void fail_to_name(const char* call, int code) {
    if (code == EADDRINUSE) throw address_in_use(failed(call));
    if (code == EADDRNOTAVAIL) throw address_not_valid(failed(call));
    fail(call, code);
}

[[noreturn]] void fail_to_transfer(const char* call, int code) {
    using udp::raw;
    switch (code) {
        case EMSGSIZE: throw raw::message_truncated(failed(call));
        case ENETUNREACH: throw raw::network_unreachable(failed(call));
        case ECONNRESET:
        case ECONNREFUSED:  // what the system makes of the notice "port unreachable"
            throw raw::port_unreachable(failed(call));
        case ETIMEDOUT:
        case EAGAIN:  // what it makes of the time-out of an option
            throw raw::operation_timed_out(failed(call));
        case EHOSTUNREACH: throw raw::host_unreachable(failed(call));
        default: fail(call, code);
    }
}

[[noreturn]] void fail_to_connect(int code) {
    const char* const call = "connect";
    using tcp::base;
    switch (code) {
        case ENETUNREACH: throw base::network_unreachable(failed(call));
        case ECONNREFUSED: throw base::connection_refused(failed(call));
        case EHOSTUNREACH: throw base::host_unreachable(failed(call));
        default: fail_to_name(call, code);
    }
}

void set_option(int descriptor, int option, const void* value, socklen_t size) {
    if (::setsockopt(descriptor, SOL_SOCKET, option, value, size) != 0) fail("setsockopt", errno);
}

// getsockname() or getpeername().
template <typename call>
address::ip4 address_by(call ask, const char* name, int descriptor) {
    address::ip4 address;
    socklen_t size = static_cast<socklen_t>(address.size());
    if (ask(descriptor, address.mutable_data(), &size) != 0) fail(name, errno);
    return address;
}

// A connect() that a signal broke goes on by itself; its outcome is to be waited for.
int outcome_of_connect(int descriptor) {
    pollfd wait{.fd = descriptor, .events = POLLOUT, .revents = 0};
    while (::poll(&wait, 1, -1) < 0) {
        if (errno != EINTR) return errno;
    }
    int code = 0;
    socklen_t size = sizeof code;
    if (::getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &code, &size) != 0) return errno;
    return code;
}

}  // namespace

base::~base() = default;

void base::open(int type) {
    const int descriptor = ::socket(AF_INET, type | SOCK_CLOEXEC, 0);
    if (descriptor < 0) fail("socket", errno);
    handle_.open(descriptor);
}

void base::bind(const address::ip4& address) {
    const socket_handle::use call(handle_);
    const auto size = static_cast<socklen_t>(address.size());
    if (::bind(call.descriptor(), address.data(), size) != 0) fail_to_name("bind", errno);
}

void base::close() {
    if (!handle_.close()) fail("closesocket", EBADF);
}

namespace udp {

void raw::open(const address::ip4& address) {
    if (address.data()->sa_family != AF_INET) fail("socket", EAFNOSUPPORT);
    base::open(SOCK_DGRAM);
    // Else the system tells nobody that a datagram could not be delivered. Where it can't be had,
    // the answer just does not come.
    const int on = 1;
    const socket_handle::use call(handle_);
    ::setsockopt(call.descriptor(), IPPROTO_IP, IP_RECVERR, &on, sizeof on);
}

void raw::bind(const address::ip4& address) {
    base::bind(address);
}

std::size_t raw::maximum_message_size() {
    // The system has no option for it, but refuses as for one when there is no socket.
    int type = 0;
    socklen_t size = sizeof type;
    const socket_handle::use call(handle_);
    if (::getsockopt(call.descriptor(), SOL_SOCKET, SO_TYPE, &type, &size) != 0) {
        fail("getsockopt", errno);
    }
    return largest_datagram;
}

void raw::set_receive_timeout(std::uint32_t milliseconds) {
    timeval limit{};
    limit.tv_sec = milliseconds / 1000;
    limit.tv_usec = static_cast<suseconds_t>(milliseconds % 1000) * 1000;
    const socket_handle::use call(handle_);
    set_option(call.descriptor(), SO_RCVTIMEO, &limit, sizeof limit);
}

void raw::set_send_buffer(std::uint32_t size) {
    const socket_handle::use call(handle_);
    set_option(call.descriptor(), SO_SNDBUF, &size, sizeof size);
}

address::ip4 raw::local_address() {
    const socket_handle::use call(handle_);
    return address_by(::getsockname, "getsockname", call.descriptor());
}

bool raw::wait(std::chrono::milliseconds limit) {
    constexpr std::int64_t longest = std::numeric_limits<int>::max();
    const socket_handle::use call(handle_);
    pollfd wait{.fd = call.descriptor(), .events = POLLIN, .revents = 0};
    const auto time = static_cast<int>(std::clamp<std::int64_t>(limit.count(), 0, longest));
    const bool is_there = !call.is_closed() && ::poll(&wait, 1, time) > 0;
    if (call.is_closed()) fail("poll", EBADF);
    return is_there;
}

void raw::receive(address::ip4& from, buffer& into) {
    into.cut(0);
    const socket_handle::use call(handle_);
    socklen_t size = 0;
    ssize_t received = -1;
    do {
        size = static_cast<socklen_t>(from.size());
        received = ::recvfrom(call.descriptor(), into.data(), into.capacity(), MSG_TRUNC,
                              from.mutable_data(), &size);
    } while (received < 0 && errno == EINTR);
    const int code = errno;
    if (call.is_closed()) fail("recvfrom", EBADF);
    if (received < 0) {
        drop_notices(call.descriptor());
        fail_to_transfer("recvfrom", code);
    }
    if (size != from.size()) {
        throw generic("recvfrom() returned address of incorrect size " + std::to_string(size) +
                      " (expected " + std::to_string(from.size()) + ")");
    }
    if (static_cast<std::size_t>(received) > into.capacity())
        fail_to_transfer("recvfrom", EMSGSIZE);
    into.cut(static_cast<std::size_t>(received));
    bytes_received_ += static_cast<std::uint32_t>(received);
}

void raw::send(const address::ip4& to, std::string_view bytes) {
    const socket_handle::use call(handle_);
    ssize_t sent = -1;
    int code = 0;
    // The system also hands a notice about an earlier datagram to whoever calls next, and then has
    // sent nothing: what concerns this datagram comes again.
    for (int tries = 0; tries < 4 && sent < 0; ++tries) {
        do {
            sent = ::sendto(call.descriptor(), bytes.data(), bytes.size(), MSG_NOSIGNAL, to.data(),
                            static_cast<socklen_t>(to.size()));
        } while (sent < 0 && errno == EINTR);
        if (sent >= 0) break;
        code = errno;
        if (code == EBADF || bytes.size() > largest_datagram) break;
        drop_notices(call.descriptor());
    }
    if (call.is_closed()) fail("sendto", EBADF);
    if (sent < 0) fail_to_transfer("sendto", code);
    bytes_sent_ += static_cast<std::uint32_t>(sent);
    if (static_cast<std::size_t>(sent) < bytes.size()) fail_to_transfer("sendto", EMSGSIZE);
}

// Notices are kept besides in a queue, which would in time take the room of datagrams.
void raw::drop_notices(int descriptor) noexcept {
    char nothing;
    while (::recv(descriptor, &nothing, sizeof nothing, MSG_ERRQUEUE | MSG_DONTWAIT) >= 0) {
    }
}

}  // namespace udp

namespace tcp {

void base::open(const address::ip4& address) {
    if (address.data()->sa_family != AF_INET) fail("socket", EAFNOSUPPORT);
    transport::base::open(SOCK_STREAM);
}

void base::bind(const address::ip4& address) {
    transport::base::bind(address);
}

void base::listen(int backlog) {
    const socket_handle::use call(handle_);
    if (::listen(call.descriptor(), backlog) != 0) fail_to_name("listen", errno);
}

void base::accept(base& connection) {
    const socket_handle::use call(handle_);
    int descriptor = -1;
    do {
        descriptor = ::accept4(call.descriptor(), nullptr, nullptr, SOCK_CLOEXEC);
    } while (descriptor < 0 && errno == EINTR);
    const int code = errno;
    if (descriptor >= 0) return connection.handle_.open(descriptor);
    if (call.is_closed()) fail("accept", EBADF);
    if (code == ECONNRESET || code == ECONNABORTED) throw connection_closed(failed("accept"));
    fail("accept", code);
}

void base::connect(const address::ip4& address) {
    const socket_handle::use call(handle_);
    const auto size = static_cast<socklen_t>(address.size());
    if (::connect(call.descriptor(), address.data(), size) == 0) return;
    int code = errno;
    if (code == EINTR) code = outcome_of_connect(call.descriptor());
    if (call.is_closed()) fail("connect", EBADF);
    if (code != 0) fail_to_connect(code);
}

void base::shutdown(direction which) {
    const int how = which == direction::receive ? SHUT_RD
                    : which == direction::send  ? SHUT_WR
                                                : SHUT_RDWR;
    const socket_handle::use call(handle_);
    if (::shutdown(call.descriptor(), how) != 0) fail("shutdown", errno);
}

address::ip4 base::local_address() {
    const socket_handle::use call(handle_);
    return address_by(::getsockname, "getsockname", call.descriptor());
}

address::ip4 base::peer_address() {
    const socket_handle::use call(handle_);
    return address_by(::getpeername, "getpeername", call.descriptor());
}

}  // namespace tcp

}  // namespace replay::internet::transport
