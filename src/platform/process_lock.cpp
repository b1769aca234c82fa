#include "platform/process_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <filesystem>
#include <map>
#include <mutex>
#include <system_error>

namespace replay::platform {

namespace {

// File names are at most 255 bytes long.
constexpr std::size_t longest_name = 200;

// FNV-1a, 64 bits. Names with one digest would share a lock, which is no worse than slow.
std::string digest_of(std::string_view name) {
    std::uint64_t hash = 0xCBF29CE484222325;
    for (const char byte : name) {
        hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001B3;
    }
    char digits[16];
    return {digits, std::to_chars(digits, digits + sizeof digits, hash, 16).ptr};
}

bool is_awkward(char byte) {
    return byte == '/' || byte == '\\' || byte == '\x7F' || static_cast<unsigned char>(byte) < ' ';
}

std::string lock_path(std::string_view folder, std::string_view name) {
    std::string file_name(name.substr(0, longest_name));
    std::replace_if(file_name.begin(), file_name.end(), is_awkward, '_');
    if (name.size() > longest_name) file_name += "-" + digest_of(name);
    if (folder.empty()) return file_name;  // no "/" in it: open_lock_file() knows it by that
    std::string path(folder);
    return path.append("/").append(file_name).append(".lock");
}

int open_lock_file(const std::string& path) {
    if (path.find('/') == std::string::npos) return -1;
    constexpr int flags = O_CLOEXEC | O_NOCTTY | O_NOFOLLOW | O_NONBLOCK;
    const int descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | flags, 0600);
    if (descriptor >= 0) return descriptor;
    // A file of somebody else's that may only be read can be locked all the same.
    return ::open(path.c_str(), O_RDONLY | flags);
}

bool lock_file(int descriptor) {
    while (::flock(descriptor, LOCK_EX) != 0) {
        if (errno != EINTR) return false;
    }
    return true;
}

bool is_removed(int descriptor) {
    struct stat status {};
    return ::fstat(descriptor, &status) == 0 && status.st_nlink == 0;
}

}  // namespace

class process_lock::shared_state {
public:
    explicit shared_state(std::string path) : path_(std::move(path)) {
        open_file();
        spans_processes_ = descriptor_ >= 0;
    }
    ~shared_state() { close_file(); }
    shared_state(const shared_state&) = delete;
    shared_state& operator=(const shared_state&) = delete;

    void acquire() {
        in_process_.lock();
        if (depth_++ == 0) spans_processes_ = acquire_file();
    }

    void release() {
        if (--depth_ == 0 && spans_processes_) ::flock(descriptor_, LOCK_UN);
        in_process_.unlock();
    }

    void show_use() {
        if (descriptor_ >= 0) ::flock(descriptor_, LOCK_SH | LOCK_NB);
    }

    bool spans_processes() const { return spans_processes_; }
    const std::string& path() const { return path_; }

private:
    void open_file() {
        opener_ = ::getpid();
        descriptor_ = open_lock_file(path_);
        if (descriptor_ >= 0) return;
        const auto folder = std::filesystem::path(path_).parent_path();
        std::error_code ignored;
        if (std::filesystem::create_directories(folder, ignored)) {
            descriptor_ = open_lock_file(path_);
        }
    }

    void close_file() {
        if (descriptor_ >= 0) ::close(descriptor_);
        descriptor_ = -1;
    }

    bool acquire_file() {
        for (;;) {
            // A forked child's descriptor is its parent's open file and would share its lock.
            if (opener_ != ::getpid()) close_file();
            if (descriptor_ < 0) open_file();
            if (descriptor_ < 0 || !lock_file(descriptor_)) return false;
            if (!is_removed(descriptor_)) return true;
            close_file();
        }
    }

    const std::string path_;
    std::recursive_mutex in_process_;
    int depth_ = 0;  // guarded by in_process_, like the two below
    int descriptor_ = -1;
    pid_t opener_ = 0;
    std::atomic<bool> spans_processes_ = false;
};

process_lock::process_lock(std::string_view folder, std::string_view name) {
    // Never destroyed: static objects of the host may hold locks to the very end.
    static auto& states = *new std::map<std::string, std::weak_ptr<shared_state>>;
    static auto& states_lock = *new std::mutex;

    std::string path = lock_path(folder, name);
    const std::lock_guard guard(states_lock);
    std::erase_if(states, [](const auto& entry) { return entry.second.expired(); });
    std::weak_ptr<shared_state>& known = states[path];
    state_ = known.lock();
    if (!state_) {
        state_ = std::make_shared<shared_state>(std::move(path));
        known = state_;
    }
}

process_lock::~process_lock() = default;

void process_lock::acquire() {
    state_->acquire();
}

void process_lock::release() {
    state_->release();
}

void process_lock::show_use() {
    state_->show_use();
}

bool process_lock::spans_processes() const {
    return state_->spans_processes();
}

const std::string& process_lock::path() const {
    return state_->path();
}

}  // namespace replay::platform
