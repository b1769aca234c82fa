#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace replay::platform {

// A regular file of lines (LF) that grows at its end and may be open in several processes at once.
// Whoever cuts it leaves everybody's handle valid. Not synchronised: wrap a lock between processes
// around each look at the size and what follows from it.
class append_file {
public:
    // Opens the file, or makes it for the user alone. Throws file_error.
    explicit append_file(std::string path);
    ~append_file();
    append_file(const append_file&) = delete;
    append_file& operator=(const append_file&) = delete;

    // In bytes; 0 when it can't be told. When somebody has removed the file, a fresh one of the
    // same path is opened first, in a fresh folder if need be, or else the removed one stays in
    // use. A line at the end that is not whole, of a process that was killed as it wrote, is taken
    // away.
    std::uint64_t size() noexcept;

    // Empties the file. Failures are ignored.
    void cut() noexcept;

    // One write at the end, of whole lines. What does not fit wholly, on a full disk, is taken
    // back. Failures are ignored.
    void append(std::string_view bytes) noexcept;

private:
    void reopen() noexcept;
    off_t without_torn_line(off_t size) noexcept;
    bool cut_at(off_t size) noexcept;

    const std::string path_;
    const std::string folder_;
    int descriptor_;
    off_t whole_size_ = 0;  // up to which the last look or write left it
};

}  // namespace replay::platform
