#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace replay::platform {

// An exclusive lock by name between threads and processes: an advisory lock on a file, under a
// recursive lock of the process. The system frees it when its holder dies. Objects of one folder
// and name in a process are one lock.
//
// Where the file can't be made or locked, the lock holds between the threads of this process only,
// and each acquire() tries again. None of that throws. Lock files are left in place: to remove
// one that others may hold would split the lock in two. One that somebody removes is made anew.
class process_lock {
public:
    // `folder` is made when missing; an empty one means no file, and threads only. The name may
    // hold any bytes; separators and control characters become "_" in the file's name, and of a
    // long name a beginning and a digest stay.
    process_lock(std::string_view folder, std::string_view name);
    ~process_lock();
    process_lock(const process_lock&) = delete;
    process_lock& operator=(const process_lock&) = delete;

    // Waits without limit. Recursive; as many calls of release(), by the same thread.
    void acquire();
    void release();

    // Shows others, until the object goes, that somebody uses what the lock is named after: its
    // file is locked, shared, so that "flock --nonblock FILE true" fails. Waits for nothing. For a
    // lock that nobody acquires.
    void show_use();

    // Whether other processes are kept out: true when the lock file could be opened and locked the
    // last time that it was tried.
    bool spans_processes() const;

    // The lock file; the name alone when there is no folder.
    const std::string& path() const;

private:
    class shared_state;
    std::shared_ptr<shared_state> state_;
};

}  // namespace replay::platform
