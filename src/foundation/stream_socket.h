#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "foundation/exception.h"
#include "foundation/internet_address.h"
#include "foundation/socket_handle.h"

// A plain TCP stream with lines, on which HTTP runs. The calls block.
namespace replay::internet::socket {

class generic : public exception {
public:
    explicit generic(std::string message = {});
};

// The system gives no socket.
class initialization : public generic {
public:
    explicit initialization(std::string message = {});
};

class timeout : public generic {
public:
    explicit timeout(std::string message = {});
};

// A host and port, looked up.
class address_type {
public:
    // "gethostbyname() failed": there is no such host, or none with an IPv4 address.
    class invalid_name : public generic {
    public:
        explicit invalid_name(std::string message = {});
    };

    // `host` is a name or dotted numbers. May wait for name servers, for as long as the system's
    // settings say: nothing can end that wait. Throws invalid_name.
    address_type(const std::string& host, std::uint16_t port);

    const address::ip4& address() const noexcept { return address_; }

private:
    address::ip4 address_;
};

// The reading side of a stream, whatever the bytes come from. For one thread at a time.
class reader {
public:
    // The other side is gone.
    class closed : public generic {
    public:
        explicit closed(std::string message = {});
    };

    // A line of more than `longest_line` bytes.
    class endless_line : public generic {
    public:
        explicit endless_line(std::string message = {});
    };

    static constexpr std::size_t longest_line = 1 << 20;

    reader() = default;
    virtual ~reader() = default;
    reader(const reader&) = delete;
    reader& operator=(const reader&) = delete;

    // Sets `text` to the next `count` bytes, or as many as came before the other side closed; none
    // throws closed. When some are at hand already and `partial` is true, to those, without waiting
    // for more. The memory taken follows what arrives, not `count`.
    void read(std::string& text, std::size_t count, bool partial);

    // Sets `text` to the bytes up to a LF or NUL, which is taken off too, without any CR. Of these
    // the first `limit` are kept. A line that is cut off by the end of the stream throws closed.
    void read_line(std::string& text, std::size_t limit);

protected:
    // Waits for bytes and gives their number, at most `size`; 0 at the end of the stream.
    virtual std::size_t receive(char* into, std::size_t size) = 0;

    void drop_held() noexcept { begin_ = end_ = 0; }

private:
    static constexpr std::size_t piece_size = 4096;

    bool refill();
    void take_held(std::string& text, std::size_t count);

    std::array<char, piece_size> held_;  // received and not asked for yet: from begin_ to end_
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
};

class stream : public reader {
public:
    class connect_failed : public generic {
    public:
        explicit connect_failed(std::string message = {});
    };

    static constexpr std::chrono::milliseconds longest_connect{30'000};
    static constexpr std::chrono::milliseconds watch_interval{100};

    // Called before each wait for the peer, and again at least every watch_interval while
    // connect(), a read or write() waits, on the thread that waits. What it throws ends that call,
    // which hands it on; a connection that was being made is dropped then. None, at first, never
    // ends one.
    using watch_type = std::function<void()>;
    void set_watch(watch_type watch) { watch_ = std::move(watch); }

    // Any earlier connection is dropped, with its time-outs. Throws connect_failed, also when the
    // peer is silent for `limit`, and initialization.
    void connect(const address_type& address, std::chrono::milliseconds limit = longest_connect);

    // In milliseconds, for each wait for bytes to come or to go; 0: for ever. What takes longer
    // throws timeout.
    void set_timeouts(std::uint32_t receive, std::uint32_t send);

    // Asks for option 1 of the sockets' own level, in one byte. Where that is no option the system
    // refuses it: generic, "setsockopt() failed for TCP_NODELAY".
    void set_no_delay(bool on);

    // All of the bytes. Throws closed or timeout.
    void write(std::string_view bytes);

    // What printf() makes of the arguments, and CR LF.
    [[gnu::format(printf, 2, 3)]] void write_line(const char* format, ...);

private:
    std::size_t receive(char* into, std::size_t size) override;
    void make_connection(const address::ip4& address, std::chrono::milliseconds limit);
    bool is_ready_within(std::chrono::milliseconds limit, int descriptor, short events) const;

    socket_handle handle_;  // its socket never blocks: is_ready_within() does
    std::chrono::milliseconds receive_limit_{0};
    std::chrono::milliseconds send_limit_{0};
    watch_type watch_;
};

// False only when the system finds the machine connected and does not say that it is offline. Not
// to be mixed up with environment::offline(), which trusts where this one doubts.
bool offline() noexcept;

}  // namespace replay::internet::socket
