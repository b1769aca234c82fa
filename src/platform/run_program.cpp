#include "platform/run_program.h"

#include <fcntl.h>
#include <linux/close_range.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <new>
#include <utility>

namespace replay::platform {

namespace {

constexpr std::size_t most_output = std::size_t{64} << 10;

class file_actions {
public:
    file_actions() {
        if (::posix_spawn_file_actions_init(&actions_) != 0) throw std::bad_alloc();
    }
    ~file_actions() { ::posix_spawn_file_actions_destroy(&actions_); }
    file_actions(const file_actions&) = delete;
    file_actions& operator=(const file_actions&) = delete;

    bool open(int descriptor, const char* path, int mode) {
        return ::posix_spawn_file_actions_addopen(&actions_, descriptor, path, mode, 0) == 0;
    }
    bool redirect(int from, int to) {
        return ::posix_spawn_file_actions_adddup2(&actions_, from, to) == 0;
    }
    const posix_spawn_file_actions_t* get() const { return &actions_; }

private:
    posix_spawn_file_actions_t actions_;
};

class descriptor {
public:
    explicit descriptor(int number) : number_(number) {}
    ~descriptor() { close(); }
    descriptor(const descriptor&) = delete;
    descriptor& operator=(const descriptor&) = delete;

    int get() const { return number_; }
    void close() {
        if (number_ >= 0) ::close(number_);
        number_ = -1;
    }

private:
    int number_;
};

// All of it is read, lest the program wait for us; what is too much is dropped.
std::string read_all(int from) {
    std::string output;
    std::array<char, 4096> piece;
    for (;;) {
        const ssize_t count = ::read(from, piece.data(), piece.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return output;
        output.append(piece.data(),
                      std::min(static_cast<std::size_t>(count), most_output - output.size()));
    }
}

// A host may have arranged that nobody waits for its children; then there is no exit code.
int exit_code_of(pid_t process) {
    constexpr int unknown = 127;
    constexpr int signal_base = 128;
    int status = 0;
    while (::waitpid(process, &status, 0) < 0) {
        if (errno != EINTR) return unknown;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : signal_base + WTERMSIG(status);
}

std::vector<char*> pointers_to(const std::vector<std::string>& arguments) {
    std::vector<char*> pointers;
    pointers.reserve(arguments.size() + 1);
    for (const std::string& argument : arguments) {
        pointers.push_back(const_cast<char*>(argument.c_str()));
    }
    pointers.push_back(nullptr);
    return pointers;
}

[[noreturn]] void tell_failure(int end) {
    const char mark = '!';
    ::_exit(::write(end, &mark, sizeof mark) < 0 ? 1 : 0);
}

// In a process that was forked off one with other threads: only calls that are safe there.
[[noreturn]] void become_program(char* const* arguments, const char* folder, int failure_end) {
    // NOLINTBEGIN(concurrency-mt-unsafe): this process has no thread but its own
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    ::signal(SIGPIPE, SIG_DFL);
    ::signal(SIGXFSZ, SIG_DFL);
    ::signal(SIGCHLD, SIG_DFL);
    // NOLINTEND(concurrency-mt-unsafe)
    const int nowhere = ::open("/dev/null", O_RDWR);
    if (::chdir(folder) == 0 && nowhere >= 0 && ::dup2(nowhere, STDIN_FILENO) >= 0 &&
        ::dup2(nowhere, STDOUT_FILENO) >= 0 && ::dup2(nowhere, STDERR_FILENO) >= 0 &&
        ::close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC) == 0) {
        ::execv(arguments[0], arguments);
    }
    tell_failure(failure_end);
}

}  // namespace

bool start_program(const std::vector<std::string>& arguments, const std::string& folder) {
    std::vector<char*> pointers = pointers_to(arguments);
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) return false;
    const descriptor reading(ends[0]);
    descriptor writing(ends[1]);  // closed by the system once the program runs
    // The child ends at once, so that its own child, the program, goes to the system's first
    // process, which waits for it.
    const pid_t between = ::fork();
    if (between < 0) return false;
    if (between == 0) {
        ::setsid();
        const pid_t program = ::fork();
        if (program == 0) become_program(pointers.data(), folder.c_str(), writing.get());
        if (program < 0) tell_failure(writing.get());
        ::_exit(0);
    }
    exit_code_of(between);
    writing.close();
    return read_all(reading.get()).empty();
}

std::optional<program_result> run_program(const std::vector<std::string>& arguments) {
    std::vector<char*> pointers = pointers_to(arguments);
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) return std::nullopt;
    const descriptor reading(ends[0]);
    descriptor writing(ends[1]);
    file_actions actions;
    if (!actions.open(STDIN_FILENO, "/dev/null", O_RDONLY) ||
        !actions.open(STDERR_FILENO, "/dev/null", O_WRONLY) ||
        !actions.redirect(writing.get(), STDOUT_FILENO)) {
        return std::nullopt;
    }
    pid_t process = 0;
    if (::posix_spawn(&process, pointers.front(), actions.get(), nullptr, pointers.data(),
                      environ) != 0) {
        return std::nullopt;
    }
    writing.close();
    std::string output = read_all(reading.get());
    return program_result{exit_code_of(process), std::move(output)};
}

}  // namespace replay::platform
