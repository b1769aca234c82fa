#include "foundation/log.h"

#include <algorithm>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <iterator>
#include <limits>
#include <system_error>
#include <utility>

#include "platform/clock.h"
#include "platform/file.h"

namespace replay {

namespace {

constexpr std::string_view level_letters = "# +!>";

// With zeros in front to that many digits. Made for each line twice, so not by printf.
void append_digits(int number, std::size_t digits, std::string& text) {
    char room[std::numeric_limits<int>::digits10 + 2];
    const char* const end = std::to_chars(room, std::end(room), number).ptr;
    const auto size = static_cast<std::size_t>(end - room);
    if (size < digits) text.append(digits - size, '0');
    text.append(room, size);
}

std::string prefix_of(std::int32_t level) {
    const auto index = std::clamp<std::int32_t>(level, 0, std::ssize(level_letters) - 1);
    const auto now = platform::clock::local_now();
    std::string text;
    text.reserve(std::size("yyyy/mm/dd hh:mm:ss !  "));
    append_digits(now.year, 4, text);
    for (const auto& [mark, number] :
         {std::pair('/', now.month), std::pair('/', now.day), std::pair(' ', now.hour),
          std::pair(':', now.minute), std::pair(':', now.second)}) {
        text += mark;
        append_digits(number, 2, text);
    }
    text.append({' ', level_letters[static_cast<std::size_t>(index)], ' ', ' '});
    return text;
}

struct ended_at_exit {
    std::va_list& arguments;
    ~ended_at_exit() { va_end(arguments); }
};

std::string formatted(const char* format, std::va_list arguments) {
    std::va_list again;
    va_copy(again, arguments);
    const ended_at_exit end{again};
    char brief[512];
    const int wanted = std::vsnprintf(brief, sizeof brief, format, arguments);
    if (wanted < 0) return format;  // an argument that can't be shown, such as broken wide text
    const auto size = static_cast<std::size_t>(wanted);
    if (size < sizeof brief) return {brief, size};
    std::string text(size, '\0');
    std::vsnprintf(text.data(), size + 1, format, again);
    return text;
}

enum class copy_outcome { kept, taken, failed };

// Copies to a path at which nothing stands yet. A copy that is not whole never has that name: one
// that failed is removed, that of a process that was killed goes with the next.
copy_outcome copy_to_free_path(const std::string& from, const std::string& to) {
    std::error_code error;
    if (exists(std::filesystem::symlink_status(to, error))) return copy_outcome::taken;
    const std::string part = from + ".part";
    std::filesystem::remove(part, error);
    if (std::filesystem::copy_file(from, part, error)) {
        std::filesystem::rename(part, to, error);
        if (!error) return copy_outcome::kept;
    }
    std::filesystem::remove(part, error);
    return copy_outcome::failed;
}

}  // namespace

log::generic::generic(std::string message) : exception(std::move(message)) {
    append_domain("log");
}

void log::add_listener(std::int32_t minimum_level, std::unique_ptr<listener> added) {
    const scope guard(*this);
    listeners_.emplace(minimum_level, std::move(added));
}

bool log::is_heard(std::int32_t level) {
    const scope guard(*this);
    return !listeners_.empty() && listeners_.begin()->first <= level;
}

void log::write(std::int32_t level, std::string_view text) {
    if (!is_heard(level)) return;
    const std::string prefix = prefix_of(level);
    const scope guard(*this);
    auto it = listeners_.upper_bound(level);
    while (it != listeners_.begin()) (--it)->second->write(level, prefix, text);
}

void log::writef(std::int32_t level, const char* format, ...) {
    if (!is_heard(level)) return;
    std::va_list arguments;
    va_start(arguments, format);
    const ended_at_exit end{arguments};
    write(level, formatted(format, arguments));
}

void log::console::write(std::int32_t, std::string_view prefix, std::string_view text) {
    std::string line;
    line.reserve(prefix.size() + text.size() + 1);
    line.append(prefix).append(text).append("\n");
    // Nobody can be told of a console that is gone.
    static_cast<void>(std::fwrite(line.data(), 1, line.size(), stdout));
    static_cast<void>(std::fflush(stdout));
}

log::proxy::proxy(log& target, std::string text) : target_(target), text_(std::move(text)) {}

void log::proxy::write(std::int32_t level, std::string_view, std::string_view text) {
    std::string line;
    line.reserve(text_.size() + text.size());
    target_.write(level, line.append(text_).append(text));
}

namespace {

// Control characters but for the tab.
bool is_control(char byte) {
    const auto code = static_cast<unsigned char>(byte);
    return (code < 32 && byte != '\t') || code == 127;
}

}  // namespace

log::file::file(std::string base, std::uint32_t maximum_size, std::int32_t history) try
    : lock_(mutex_name(base)),
      base_(std::move(base)),
      maximum_size_(maximum_size),
      history_(history),
      file_(current_path()) {
} catch (const platform::file_error& error) {
    throw generic("CreateFile failed: " + error.code().message());
}

std::string log::file::mutex_name(std::string_view base) {
    std::string name = "log-";
    name += base;
    std::replace_if(
        name.begin(), name.end(), [](char byte) { return byte == '\\' || byte == '/'; }, '_');
    return name;
}

void log::file::write(std::int32_t, std::string_view prefix, std::string_view text) try {
    std::string line;
    line.reserve(prefix.size() + text.size() + 2);
    line.append(prefix).append(text);
    // Texts out of mail and from the network must not pass for lines of ours.
    std::replace_if(line.begin(), line.end(), is_control, '?');
    line.append("\r\n");

    const scope guard(lock_);
    if (file_.size() >= maximum_size_) {
        keep_copy();
        file_.cut();
    }
    file_.append(line);
} catch (const std::exception&) {
    // Out of memory: the line is lost, as it is on a full disk.
}

std::string log::file::current_path() const {
    return base_ + ".log.txt";
}

std::string log::file::old_path(std::int32_t number) const {
    return base_ + "." + std::to_string(number) + ".log.txt";
}

void log::file::keep_copy() const {
    if (history_ <= 0) return;
    std::error_code ignored;
    if (history_ == 1) std::filesystem::remove(old_path(1), ignored);
    for (std::int32_t number = 1;; ++number) {
        // When there is no room for a copy, moving the old files would only lose one of them.
        if (copy_to_free_path(current_path(), old_path(number)) != copy_outcome::taken) return;
        if (number == history_) break;
    }
    move_numbers_down();
    copy_to_free_path(current_path(), old_path(history_));
}

void log::file::move_numbers_down() const {
    std::error_code error;
    for (std::int32_t number = 1; number < history_; ++number) {
        std::filesystem::rename(old_path(number + 1), old_path(number), error);
        if (error) return;
    }
}

}  // namespace replay
