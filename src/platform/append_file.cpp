#include "platform/append_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "platform/file.h"

namespace replay::platform {

namespace {

bool is_regular(int descriptor) {
    struct stat status {};
    return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

// -1 and errno when it fails. O_NONBLOCK: a pipe by that name must not hold up the program.
int open_to_append(const std::string& path) {
    const int descriptor = ::open(
        path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0600);
    if (descriptor < 0 || is_regular(descriptor)) return descriptor;
    ::close(descriptor);
    errno = ENODEV;
    return -1;
}

}  // namespace

append_file::append_file(std::string path)
    : path_(std::move(path)), descriptor_(open_to_append(path_)) {
    if (descriptor_ < 0) throw file_error(file_error::step::open, errno, path_);
}

append_file::~append_file() {
    ::close(descriptor_);
}

std::uint64_t append_file::size() noexcept {
    struct stat status {};
    if (::fstat(descriptor_, &status) != 0) return 0;
    if (status.st_nlink == 0) {
        reopen();
        if (::fstat(descriptor_, &status) != 0) return 0;
    }
    return static_cast<std::uint64_t>(std::max<off_t>(status.st_size, 0));
}

void append_file::cut() noexcept {
    while (::ftruncate(descriptor_, 0) != 0 && errno == EINTR) continue;
}

void append_file::append(std::string_view bytes) noexcept {
    ssize_t written = 0;
    do {
        written = ::write(descriptor_, bytes.data(), bytes.size());
    } while (written < 0 && errno == EINTR);
    if (written <= 0 || static_cast<std::size_t>(written) == bytes.size()) return;
    struct stat status {};
    if (::fstat(descriptor_, &status) != 0) return;
    while (::ftruncate(descriptor_, status.st_size - written) != 0 && errno == EINTR) continue;
}

void append_file::reopen() noexcept {
    const int fresh = open_to_append(path_);
    if (fresh < 0) return;
    ::close(descriptor_);
    descriptor_ = fresh;
}

}  // namespace replay::platform
