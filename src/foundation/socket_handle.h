#pragma once

#include <atomic>
#include <cstdint>

namespace replay::internet {

// A socket's descriptor that any thread may close while others are in calls on it: those calls end,
// later ones find nothing open, and the number goes back to the system only once the last of them
// is out, so that none can meet another file under it.
class socket_handle {
public:
    socket_handle() = default;
    ~socket_handle() { close(); }
    socket_handle(const socket_handle&) = delete;
    socket_handle& operator=(const socket_handle&) = delete;

    // Owns `descriptor` from now on; one held before is closed. No other thread may be using the
    // handle.
    void open(int descriptor) noexcept;

    // False when it was not open. A call that blocks on the socket ends.
    bool close() noexcept;

    // One call on the socket; the descriptor is valid as long as this lives.
    class use {
    public:
        explicit use(socket_handle& handle) noexcept;
        ~use();
        use(const use&) = delete;
        use& operator=(const use&) = delete;

        // -1, which the system refuses as EBADF, when the handle is not open.
        int descriptor() const noexcept { return descriptor_; }

        // True when the handle is closed or was never open: what a call gave means nothing.
        bool is_closed() const noexcept;

    private:
        socket_handle& handle_;
        int descriptor_;
    };

private:
    static constexpr std::uint32_t open_bit = 0x80000000;

    void leave() noexcept;

    std::atomic<std::uint32_t> state_{0};  // open_bit, and the number of uses
    std::atomic<int> descriptor_{-1};
};

}  // namespace replay::internet
