#pragma once

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <stdexcept>
#include <string>
#include <string_view>

namespace test_support {

// A terminal whose keys a test presses and whose screen it reads.
class pseudo_terminal {
public:
    pseudo_terminal() : keys_(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
        if (keys_ < 0 || ::grantpt(keys_) != 0 || ::unlockpt(keys_) != 0) {
            throw std::runtime_error("no terminal to be had");
        }
        // Kept open, so that it is there before and after whoever uses it.
        line_ = ::open(::ptsname(keys_), O_RDWR | O_NOCTTY | O_CLOEXEC);
    }
    ~pseudo_terminal() {
        ::close(line_);
        ::close(keys_);
    }
    pseudo_terminal(const pseudo_terminal&) = delete;
    pseudo_terminal& operator=(const pseudo_terminal&) = delete;

    // In a child: makes it the terminal of a new session, with input and errors of the process.
    void take_over() const {
        ::setsid();
        if (::ioctl(line_, TIOCSCTTY, 0) != 0 || ::dup2(line_, STDIN_FILENO) < 0 ||
            ::dup2(line_, STDERR_FILENO) < 0) {
            throw std::runtime_error("the terminal cannot be taken over");
        }
    }

    void press(std::string_view keys) const {
        if (::write(keys_, keys.data(), keys.size()) != static_cast<ssize_t>(keys.size())) {
            throw std::runtime_error("the terminal takes no keys");
        }
    }

    // Reads what appears until `text` does, at most a minute; gives all since the last call.
    std::string screen_until(std::string_view text) const {
        constexpr int patience = 60'000;
        std::string screen;
        pollfd there{keys_, POLLIN, 0};
        while (screen.find(text) == std::string::npos) {
            char bytes[4096];
            if (::poll(&there, 1, patience) != 1) throw std::runtime_error("screen: " + screen);
            const ssize_t count = ::read(keys_, bytes, sizeof bytes);
            if (count <= 0) throw std::runtime_error("screen: " + screen);
            screen.append(bytes, static_cast<std::size_t>(count));
        }
        return screen;
    }

    bool shows_keys() const {
        termios state{};
        return ::tcgetattr(line_, &state) == 0 && (state.c_lflag & ECHO) != 0;
    }

private:
    int keys_;
    int line_ = -1;
};

}  // namespace test_support
