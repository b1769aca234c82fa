#include "foundation/socket_handle.h"

#include <sys/socket.h>
#include <unistd.h>

namespace replay::internet {

void socket_handle::open(int descriptor) noexcept {
    close();
    descriptor_ = descriptor;
    state_ |= open_bit;
}

bool socket_handle::close() noexcept {
    const use call(*this);
    if ((state_.fetch_and(~open_bit) & open_bit) == 0) return false;
    // Wakes who blocks on it. It complains of a datagram socket that is not connected, and does it
    // all the same.
    ::shutdown(call.descriptor(), SHUT_RDWR);
    return true;
}

void socket_handle::leave() noexcept {
    if (state_.fetch_sub(1) != 1) return;
    const int descriptor = descriptor_.exchange(-1);
    if (descriptor >= 0) ::close(descriptor);
}

socket_handle::use::use(socket_handle& handle) noexcept : handle_(handle), descriptor_(-1) {
    if ((handle_.state_.fetch_add(1) & open_bit) != 0) descriptor_ = handle_.descriptor_;
}

socket_handle::use::~use() {
    handle_.leave();
}

bool socket_handle::use::is_closed() const noexcept {
    return (handle_.state_ & open_bit) == 0;
}

}  // namespace replay::internet
