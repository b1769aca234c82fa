#include "cli/console.h"

#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <system_error>

#include "message/character_set.h"

namespace brindlemoss::cli {

namespace unicode = replay::unicode;

namespace {

std::atomic<bool> interrupt_seen{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler sets it");

constexpr std::size_t shortest_shown_job = 200;
constexpr std::size_t progress_step = 50;

void on_interrupt(int) {
    interrupt_seen = true;
}

[[noreturn]] void throw_output_error() {
    throw output_error(std::generic_category().message(errno));
}

}  // namespace

void print(std::string_view bytes) {
    if (std::fwrite(bytes.data(), 1, bytes.size(), stdout) != bytes.size()) throw_output_error();
}

void flush_output() {
    if (std::fflush(stdout) != 0) throw_output_error();
}

void complain(std::string_view message) {
    std::fprintf(stderr, "brindlemoss: %.*s\n", static_cast<int>(message.size()), message.data());
}

std::string printable(std::string_view utf8) {
    std::u16string text = unicode::to_wide(utf8, unicode::utf8);
    for (char16_t& unit : text) {
        const bool is_control = unit < 0x20 || (unit >= 0x7F && unit < 0xA0);
        if (is_control) unit = u'\uFFFD';
    }
    return unicode::from_wide(text, unicode::utf8);
}

void catch_interrupts() {
    struct sigaction action {};
    action.sa_handler = on_interrupt;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    ::sigaction(SIGINT, &action, nullptr);
    std::signal(SIGPIPE, SIG_IGN);  // a closed pipe is an error of the write
    std::signal(SIGXFSZ, SIG_IGN);  // so is a file that may not grow
}

obey_interrupts::obey_interrupts() {
    std::signal(SIGINT, SIG_DFL);
}

obey_interrupts::~obey_interrupts() {
    catch_interrupts();
}

bool interrupted() {
    return interrupt_seen;
}

progress::progress(std::size_t all)
    : all_(all), shown_(all >= shortest_shown_job && ::isatty(STDERR_FILENO) == 1) {}

progress::~progress() {
    if (shown_) std::fprintf(stderr, "\r\033[K");
}

void progress::advance() {
    ++done_;
    if (shown_ && done_ % progress_step == 0) std::fprintf(stderr, "\r%zu/%zu ", done_, all_);
}

}  // namespace brindlemoss::cli
