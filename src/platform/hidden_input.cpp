#include "platform/hidden_input.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <system_error>

#include "platform/file.h"

namespace replay::platform {

namespace {

constexpr std::size_t longest_line = 4096;  // of a terminal, too

std::atomic<int> wake_descriptor{-1};
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler reads it");

void on_signal(int number) {
    const int error = errno;
    const auto byte = static_cast<unsigned char>(number);
    // Full, the pipe wakes its reader all the same.
    [[maybe_unused]] const ssize_t written = ::write(wake_descriptor, &byte, 1);
    errno = error;
}

void write_error(std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::write(STDERR_FILENO, text.data(), text.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return;
        text.remove_prefix(static_cast<std::size_t>(count));
    }
}

[[noreturn]] void throw_system_error(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

bool input_is_terminal() {
    return ::isatty(STDIN_FILENO) == 1;
}

hidden_input::hidden_input() {
    if (::tcgetattr(STDIN_FILENO, &shown_) != 0) throw_system_error("standard input");
    if (::pipe2(wake_, O_CLOEXEC | O_NONBLOCK) != 0) throw_system_error("pipe");
    wake_descriptor = wake_[1];
    if (hide()) return;
    const int error = errno;
    leave();
    throw std::system_error(error, std::generic_category(), "standard input");
}

hidden_input::~hidden_input() {
    leave();
}

void hidden_input::leave() noexcept {
    show();
    wake_descriptor = -1;
    for (const int end : wake_) ::close(end);
}

bool hidden_input::hide() {
    struct sigaction action {};
    action.sa_handler = on_signal;
    action.sa_flags = SA_RESTART;
    ::sigfillset(&action.sa_mask);
    for (std::size_t i = 0; i < caught_count; ++i) {
        ::sigaction(caught[i], nullptr, &before_[i]);
        // Under nohup, say, a signal is to stay ignored.
        if (before_[i].sa_handler != SIG_IGN) ::sigaction(caught[i], &action, nullptr);
    }
    is_hidden_ = true;
    termios hidden = shown_;
    hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHONL);
    hidden.c_lflag |= ICANON;
    return ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden) == 0;
}

void hidden_input::show() noexcept {
    if (!is_hidden_) return;
    is_hidden_ = false;
    ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &shown_);
    for (std::size_t i = 0; i < caught_count; ++i) ::sigaction(caught[i], &before_[i], nullptr);
}

std::optional<std::string> hidden_input::ask(std::string_view prompt) {
    for (;;) {
        write_error(prompt);
        std::string line;
        const event what = wait_for_line(line);
        write_error("\n");  // the one that was typed is not shown
        if (what == event::line) return line;
        if (what == event::end || !obey_signal()) return std::nullopt;
    }
}

hidden_input::event hidden_input::wait_for_line(std::string& line) {
    pollfd sources[] = {{wake_[0], POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
    for (;;) {
        if (::poll(sources, 2, -1) < 0) {
            if (errno == EINTR) continue;
            return event::end;
        }
        if (sources[0].revents != 0) return event::signal;
        char bytes[longest_line];
        const ssize_t count = ::read(STDIN_FILENO, bytes, sizeof bytes);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return event::end;
        line.append(bytes, static_cast<std::size_t>(count));
        if (line.back() == '\n') {
            line.pop_back();
            return event::line;
        }
        if (line.size() > longest_line) return event::end;
    }
}

// Does what the signal would have done without us. Whether to ask again.
bool hidden_input::obey_signal() {
    unsigned char number = 0;
    if (::read(wake_[0], &number, 1) != 1) return true;
    show();
    ::raise(number);
    return number == SIGTSTP && hide();  // the program was stopped and goes on
}

std::optional<std::string> read_input_line() {
    std::string line;
    for (;;) {
        char byte = 0;  // at a time, since what follows the line is not ours
        const ssize_t count = ::read(STDIN_FILENO, &byte, 1);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) throw file_error(file_error::step::read, errno, "standard input");
        if (count == 0 && line.empty()) return std::nullopt;
        if (count == 0 || byte == '\n') break;
        if (line.size() == longest_line) {
            throw file_error(file_error::step::read, EFBIG, "standard input");
        }
        line += byte;
    }
    if (line.ends_with('\r')) line.pop_back();
    return line;
}

}  // namespace replay::platform
