#pragma once

#include <csignal>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include <termios.h>

namespace replay::platform {

// Whether standard input is a terminal.
bool input_is_terminal();

// While it lives, the terminal at standard input does not show what is typed. Whatever ends or
// stops the program meanwhile by a signal that can be caught, Ctrl-C among them, finds the terminal
// as it was, and then does what it would have done. One at a time, in a program that has no other
// use for these signals.
class hidden_input {
public:
    // Throws std::system_error where standard input is no terminal, or goes on showing.
    hidden_input();
    ~hidden_input();
    hidden_input(const hidden_input&) = delete;
    hidden_input& operator=(const hidden_input&) = delete;

    // Writes the prompt to standard error and waits for a line, which is given without its end.
    // nullopt when the input ended, or a signal came and the program went on.
    std::optional<std::string> ask(std::string_view prompt);

private:
    static constexpr int caught[] = {SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGTSTP};
    static constexpr std::size_t caught_count = sizeof caught / sizeof caught[0];
    enum class event { line, end, signal };

    bool hide();
    void show() noexcept;
    void leave() noexcept;
    event wait_for_line(std::string& line);
    bool obey_signal();

    termios shown_{};
    bool is_hidden_ = false;
    int wake_[2] = {-1, -1};  // a signal's number comes out of the pipe
    struct sigaction before_[caught_count];
};

// The first line of standard input where that is no terminal, without its end, LF or CR LF. nullopt
// when there is none. Reads nothing of what follows. Throws file_error, EFBIG where the line has
// more than 4096 bytes.
std::optional<std::string> read_input_line();

}  // namespace replay::platform
