#pragma once

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <exception>
#include <functional>
#include <stdexcept>
#include <string>
#include <system_error>

namespace test_support {

// Two ends of a pipe, closed at the end.
class pipe_ends {
public:
    pipe_ends() {
        if (::pipe(ends_.data()) != 0) throw std::runtime_error("no pipe");
    }
    ~pipe_ends() {
        close_reading();
        close_writing();
    }
    pipe_ends(const pipe_ends&) = delete;
    pipe_ends& operator=(const pipe_ends&) = delete;

    void put(char byte) const {
        if (::write(ends_[1], &byte, 1) != 1) ::_exit(3);
    }

    // False at the end: nobody can write any more.
    bool get() const {
        char byte = 0;
        for (;;) {
            const ssize_t count = ::read(ends_[0], &byte, 1);
            if (count >= 0 || errno != EINTR) return count == 1;
        }
    }

    void close_reading() { close(ends_[0]); }
    void close_writing() { close(ends_[1]); }

private:
    static void close(int& descriptor) {
        if (descriptor >= 0) ::close(descriptor);
        descriptor = -1;
    }

    std::array<int, 2> ends_{-1, -1};
};

// Another process, forked off this one, that does one piece of work. One that runs for longer than
// a minute is ended by SIGALRM.
class child_process {
public:
    // What `work` throws is shown on standard error and makes the exit code 1.
    explicit child_process(const std::function<void()>& work) : id_(::fork()) {
        if (id_ < 0) throw std::runtime_error("cannot start a process");
        if (id_ != 0) return;
        ::alarm(60);
        try {
            work();
        } catch (const std::exception& error) {
            const std::string line = std::string("child: ") + error.what() + "\n";
            ::_exit(::write(STDERR_FILENO, line.data(), line.size()) < 0 ? 2 : 1);
        }
        ::_exit(0);
    }
    ~child_process() {
        if (id_ > 0) wait();
    }
    child_process(const child_process&) = delete;
    child_process& operator=(const child_process&) = delete;

    void kill(int signal) const { ::kill(id_, signal); }

    // The exit code, or the number of the signal that ended it, negative.
    int wait() {
        int status = 0;
        while (::waitpid(id_, &status, 0) < 0) {
            if (errno != EINTR) throw std::system_error(errno, std::generic_category(), "waitpid");
        }
        id_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

private:
    pid_t id_;
};

// For the work of a child: what does not hold makes it fail.
inline void require(bool holds, const char* what) {
    if (!holds) throw std::runtime_error(what);
}

// Gives away the rights of an administrator, who may write everything, in a child.
inline void become_nobody() {
    constexpr uid_t nobody = 65534;
    if (::geteuid() == 0) require(::setgid(nobody) == 0 && ::setuid(nobody) == 0, "setuid");
}

}  // namespace test_support
