#include "platform/append_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <iterator>
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
    const int descriptor =
        ::open(path.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0600);
    if (descriptor < 0 || is_regular(descriptor)) return descriptor;
    ::close(descriptor);
    errno = ENODEV;
    return -1;
}

}  // namespace

append_file::append_file(std::string path)
    : path_(std::move(path)),
      folder_(path_.substr(0, path_.rfind('/') + 1)),
      descriptor_(open_to_append(path_)) {
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
    if (status.st_size != whole_size_) whole_size_ = without_torn_line(status.st_size);
    return static_cast<std::uint64_t>(std::max<off_t>(whole_size_, 0));
}

// Of a write that goes over the end of a page a process that is killed leaves the part before it.
off_t append_file::without_torn_line(off_t size) noexcept {
    std::array<char, 4096> block;
    for (off_t end = size; end > 0;) {
        const off_t begin = std::max<off_t>(end - std::ssize(block), 0);
        const auto wanted = static_cast<std::size_t>(end - begin);
        if (::pread(descriptor_, block.data(), wanted, begin) != end - begin) return size;
        const std::size_t line_end = std::string_view(block.data(), wanted).rfind('\n');
        if (line_end != std::string_view::npos) {
            const off_t whole = begin + static_cast<off_t>(line_end) + 1;
            return whole == size || !cut_at(whole) ? size : whole;
        }
        end = begin;
    }
    return size;  // a single line that somebody else began
}

bool append_file::cut_at(off_t size) noexcept {
    while (::ftruncate(descriptor_, size) != 0) {
        if (errno != EINTR) return false;
    }
    return true;
}

void append_file::cut() noexcept {
    if (cut_at(0)) whole_size_ = 0;
}

void append_file::append(std::string_view bytes) noexcept {
    ssize_t written = 0;
    do {
        written = ::write(descriptor_, bytes.data(), bytes.size());
    } while (written < 0 && errno == EINTR);
    if (written <= 0) return;
    if (static_cast<std::size_t>(written) == bytes.size()) {
        whole_size_ += written;
        return;
    }
    struct stat status {};
    if (::fstat(descriptor_, &status) == 0) cut_at(status.st_size - written);
}

void append_file::reopen() noexcept {
    int fresh = open_to_append(path_);
    if (fresh < 0 && errno == ENOENT && ::mkdir(folder_.c_str(), 0700) == 0) {
        fresh = open_to_append(path_);
    }
    if (fresh < 0) return;
    ::close(descriptor_);
    descriptor_ = fresh;
    whole_size_ = 0;
}

}  // namespace replay::platform
