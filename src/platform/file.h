#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <system_error>

namespace replay::platform {

// A file operation that failed: which step, and the system's error code and text.
class file_error : public std::system_error {
public:
    enum class step { open, read, write };

    file_error(step failed, int error_number, const std::string& path);
    step at() const noexcept { return at_; }

private:
    step at_;
};

// No file that is read into memory may be larger: the error is EFBIG.
inline constexpr std::size_t most_file_bytes = std::size_t{512} << 20;

// All bytes of a regular file, a pipe or a socket; a device or folder is refused (ENODEV, EISDIR),
// since what it gives may have no end. Memory is the file's size. Throws file_error.
std::string read_file(const std::string& path);

// All that is left to read of an open descriptor, which stays open. `name` stands in errors.
std::string read_descriptor(int descriptor, const std::string& name);

// A file written from the start, in place of what stood there. Throws file_error.
class output_file {
public:
    explicit output_file(const std::string& path);
    ~output_file();
    output_file(const output_file&) = delete;
    output_file& operator=(const output_file&) = delete;

    void write(std::string_view bytes);

    // Writes out what is held back. Without it what was written may be lost unnoticed.
    void close();

private:
    void flush();

    std::string path_;
    std::string held_back_;
    int descriptor_;
};

}  // namespace replay::platform
