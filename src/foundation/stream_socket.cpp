#include "foundation/stream_socket.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <utility>

#include "platform/connection_state.h"

namespace replay::internet::socket {

namespace {

address::ip4 looked_up(const std::string& host, std::uint16_t port) {
    try {
        return address::ip4(host, port);
    } catch (const address::generic&) {
        throw address_type::invalid_name("gethostbyname() failed");
    }
}

constexpr std::chrono::milliseconds longest_poll = std::chrono::hours(1);

timeval to_timeval(std::chrono::milliseconds time) {
    timeval value{};
    value.tv_sec = static_cast<time_t>(time.count() / 1000);
    value.tv_usec = static_cast<suseconds_t>(time.count() % 1000) * 1000;
    return value;
}

void set_timeout(int descriptor, int option, std::chrono::milliseconds time) {
    const timeval value = to_timeval(time);
    if (::setsockopt(descriptor, SOL_SOCKET, option, &value, sizeof value) != 0) {
        throw generic("setsockopt() failed");
    }
}

}  // namespace

generic::generic(std::string message) : exception(std::move(message)) {
    append_domain("socket");
}

initialization::initialization(std::string message) : generic(std::move(message)) {
    append_domain("initialization");
}

timeout::timeout(std::string message) : generic(std::move(message)) {
    append_domain("timeout");
}

address_type::invalid_name::invalid_name(std::string message) : generic(std::move(message)) {
    append_domain("invalid_name");
}

address_type::address_type(const std::string& host, std::uint16_t port)
    : address_(looked_up(host, port)) {}

reader::closed::closed(std::string message) : generic(std::move(message)) {
    append_domain("closed");
}

reader::endless_line::endless_line(std::string message) : generic(std::move(message)) {
    append_domain("endless_line");
}

void reader::read(std::string& text, std::size_t count, bool partial) {
    text.clear();
    take_held(text, count);
    if (partial && !text.empty()) return;
    while (text.size() < count) {
        if (!refill()) {
            if (text.empty()) throw closed("recv() failed");
            return;
        }
        take_held(text, count);
    }
}

void reader::read_line(std::string& text, std::size_t limit) {
    text.clear();
    for (std::size_t read = 0;; ++read) {
        if (begin_ == end_ && !refill()) throw closed("recv() failed");
        const char byte = held_[begin_++];
        if (byte == '\n' || byte == '\0') return;
        if (read == longest_line) throw endless_line("recv() gave no end of line");
        if (byte != '\r' && text.size() < limit) text += byte;
    }
}

bool reader::refill() {
    drop_held();
    end_ = receive(held_.data(), held_.size());
    return end_ != 0;
}

void reader::take_held(std::string& text, std::size_t count) {
    const std::size_t taken = std::min(count - text.size(), end_ - begin_);
    text.append(held_.data() + begin_, taken);
    begin_ += taken;
}

stream::connect_failed::connect_failed(std::string message) : generic(std::move(message)) {
    append_domain("connect_failed");
}

void stream::connect(const address_type& address, std::chrono::milliseconds limit) {
    drop_held();
    const int descriptor = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (descriptor < 0) throw initialization("socket() failed");
    handle_.open(descriptor);
    receive_limit_ = send_limit_ = {};
    try {
        make_connection(address.address(), limit);
    } catch (...) {
        handle_.close();
        throw;
    }
}

void stream::make_connection(const address::ip4& address, std::chrono::milliseconds limit) {
    const socket_handle::use call(handle_);
    const int on = 1;
    if (::setsockopt(call.descriptor(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0) {
        throw generic("setsockopt() failed");
    }
    const auto size = static_cast<socklen_t>(address.size());
    if (::connect(call.descriptor(), address.data(), size) == 0) return;
    int code = errno;
    if (code == EINPROGRESS) {
        socklen_t code_size = sizeof code;
        const bool is_known =
            is_ready_within(limit, call.descriptor(), POLLOUT) &&
            ::getsockopt(call.descriptor(), SOL_SOCKET, SO_ERROR, &code, &code_size) == 0;
        if (is_known && code == 0) return;
    }
    throw connect_failed("connect() failed");
}

// Waits until the system has something to tell of the socket, be it the end of the connection.
// False when nothing came within `limit`; 0: for ever.
bool stream::is_ready_within(std::chrono::milliseconds limit, int descriptor, short events) const {
    using std::chrono::milliseconds;
    using std::chrono::steady_clock;
    if (descriptor < 0) return true;  // poll() would wait, where the call to come tells at once
    const steady_clock::time_point begin = steady_clock::now();
    const milliseconds slice = watch_ ? watch_interval : longest_poll;
    pollfd wait{.fd = descriptor, .events = events, .revents = 0};
    for (milliseconds waited{0}; limit.count() == 0 || waited < limit;
         waited = std::chrono::duration_cast<milliseconds>(steady_clock::now() - begin)) {
        if (watch_) watch_();
        const milliseconds pause = limit.count() == 0 ? slice : std::min(slice, limit - waited);
        const int ready = ::poll(&wait, 1, static_cast<int>(pause.count()));
        if (ready > 0) return true;
        if (ready < 0 && errno != EINTR) throw generic("poll() failed");
    }
    return false;
}

// The options are for calls that block, and only kept as set; the limits are what counts here.
void stream::set_timeouts(std::uint32_t receive, std::uint32_t send) {
    const socket_handle::use call(handle_);
    receive_limit_ = std::chrono::milliseconds(receive);
    send_limit_ = std::chrono::milliseconds(send);
    set_timeout(call.descriptor(), SO_RCVTIMEO, receive_limit_);
    set_timeout(call.descriptor(), SO_SNDTIMEO, send_limit_);
}

void stream::set_no_delay(bool on) {
    constexpr int option = 1;
    const char value = on ? 1 : 0;
    const socket_handle::use call(handle_);
    if (::setsockopt(call.descriptor(), SOL_SOCKET, option, &value, sizeof value) != 0) {
        throw generic("setsockopt() failed for TCP_NODELAY");
    }
}

void stream::write(std::string_view bytes) {
    const socket_handle::use call(handle_);
    while (!bytes.empty()) {
        if (!is_ready_within(send_limit_, call.descriptor(), POLLOUT)) {
            throw timeout("send() failed");
        }
        const ssize_t sent = ::send(call.descriptor(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        } else if (errno == ETIMEDOUT) {
            throw timeout("send() failed");
        } else if (errno != EINTR && errno != EAGAIN) {
            throw closed("send() failed");
        }
    }
}

void stream::write_line(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    const int size = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    std::string line(size > 0 ? static_cast<std::size_t>(size) : 0, '\0');
    std::vsnprintf(line.data(), line.size() + 1, format, again);
    va_end(again);
    write(line.append("\r\n"));
}

std::size_t stream::receive(char* into, std::size_t size) {
    const socket_handle::use call(handle_);
    for (;;) {
        if (!is_ready_within(receive_limit_, call.descriptor(), POLLIN)) {
            throw timeout("recv() failed");
        }
        const ssize_t received = ::recv(call.descriptor(), into, size, 0);
        if (received >= 0) return static_cast<std::size_t>(received);
        if (errno == ETIMEDOUT) throw timeout("recv() failed");
        if (errno != EINTR && errno != EAGAIN) throw closed("recv() failed");
    }
}

bool offline() noexcept {
    const platform::connection_state state = platform::current_connection_state();
    return !state.connected || (state.flags & platform::connection_state::offline) != 0;
}

}  // namespace replay::internet::socket
