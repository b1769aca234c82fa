#include "platform/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace replay::platform {

namespace {

constexpr std::size_t chunk_size = std::size_t{64} * 1024;

class descriptor_owner {
public:
    explicit descriptor_owner(int descriptor) : descriptor_(descriptor) {}
    ~descriptor_owner() { ::close(descriptor_); }
    descriptor_owner(const descriptor_owner&) = delete;
    descriptor_owner& operator=(const descriptor_owner&) = delete;

private:
    int descriptor_;
};

// What cannot be read to an end: 0 where `mode` is all right, else the error number.
int refusal(mode_t mode) {
    if (S_ISDIR(mode)) return EISDIR;
    if (S_ISCHR(mode) || S_ISBLK(mode)) return ENODEV;
    return 0;
}

// One read of at most `size` bytes; 0 at the end.
std::size_t read_some(int descriptor, char* target, std::size_t size, const std::string& name) {
    for (;;) {
        const ssize_t count = ::read(descriptor, target, size);
        if (count >= 0) return static_cast<std::size_t>(count);
        if (errno != EINTR) throw file_error(file_error::step::read, errno, name);
    }
}

// What a regular file holds by its own account, 0 for all else.
std::size_t announced_size(int descriptor) {
    struct stat status {};
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) return 0;
    return static_cast<std::size_t>(std::max<off_t>(status.st_size, 0));
}

}  // namespace

file_error::file_error(step failed, int error_number, const std::string& path)
    : std::system_error(error_number, std::generic_category(), path), at_(failed) {}

std::string read_descriptor(int descriptor, const std::string& name) {
    const std::size_t announced = announced_size(descriptor);
    if (announced > most_file_bytes) throw file_error(file_error::step::read, EFBIG, name);
    std::string bytes;
    bytes.reserve(announced);
    std::array<char, chunk_size> chunk;
    while (const std::size_t count = read_some(descriptor, chunk.data(), chunk.size(), name)) {
        if (count > most_file_bytes - bytes.size()) {
            throw file_error(file_error::step::read, EFBIG, name);
        }
        bytes.append(chunk.data(), count);
    }
    return bytes;
}

std::string read_file(const std::string& path) {
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
    if (descriptor < 0) throw file_error(file_error::step::open, errno, path);
    const descriptor_owner owner(descriptor);
    struct stat status {};
    if (::fstat(descriptor, &status) != 0) throw file_error(file_error::step::open, errno, path);
    if (const int error_number = refusal(status.st_mode)) {
        throw file_error(file_error::step::open, error_number, path);
    }
    return read_descriptor(descriptor, path);
}

output_file::output_file(const std::string& path)
    : path_(path),
      descriptor_(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)) {
    if (descriptor_ < 0) throw file_error(file_error::step::open, errno, path);
}

output_file::~output_file() {
    if (descriptor_ >= 0) ::close(descriptor_);
}

void output_file::write(std::string_view bytes) {
    held_back_.append(bytes);
    if (held_back_.size() >= chunk_size) flush();
}

void output_file::flush() {
    std::string_view left = held_back_;
    while (!left.empty()) {
        const ssize_t count = ::write(descriptor_, left.data(), left.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) throw file_error(file_error::step::write, errno, path_);
        left.remove_prefix(static_cast<std::size_t>(count));
    }
    held_back_.clear();
}

void output_file::close() {
    flush();
    const int result = ::close(descriptor_);
    descriptor_ = -1;
    if (result != 0) throw file_error(file_error::step::write, errno, path_);
}

}  // namespace replay::platform
