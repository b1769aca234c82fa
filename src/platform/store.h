#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace replay::platform {

class store_connection;

// Gives a line to `message`; to standard error when that is empty.
void tell_user(const std::function<void(std::string_view)>& message, const std::string& line);

// What went wrong in a store. The numbers are those that the registry of the desktop platform would
// give; where it has none for the case, its nearest.
enum class store_fault : std::int32_t {
    not_found = 2,           // no such key
    access_denied = 5,       // the file may not be written; a key to delete has keys below it
    out_of_memory = 14,      //
    locked = 33,             // another process held the file for longer than the busy time-out
    invalid_parameter = 87,  // a name is no text, holds a NUL or is too long; a value is too large
    open_failed = 110,       // the file cannot be opened, or a newer program made it
    disk_full = 112,         //
    damaged = 1009,          // and could not be set aside
    input_output = 1016,     // the system failed to read or write, or anything else
    key_deleted = 1018,      // the key was there and is gone
};

class store_error : public std::runtime_error {
public:
    store_error(store_fault fault, const std::string& text)
        : std::runtime_error(text), fault_(fault) {}

    store_fault fault() const noexcept { return fault_; }
    std::int32_t number() const noexcept { return static_cast<std::int32_t>(fault_); }

private:
    store_fault fault_;
};

// Types of values, by the numbers that stand in the file. A store takes any other number too.
namespace value_type {
inline constexpr std::int32_t none = 0;
inline constexpr std::int32_t text = 1;             // UTF-16, low byte first, and a NUL
inline constexpr std::int32_t expandable_text = 2;  // the same
inline constexpr std::int32_t binary = 3;           //
inline constexpr std::int32_t integer = 4;          // 4 bytes, the lowest first
inline constexpr std::int32_t multi_text = 7;       // texts as above, and a NUL behind the last
inline constexpr std::int32_t integer64 = 11;       // 8 bytes, the lowest first
}  // namespace value_type

struct stored_value {
    std::int32_t type = value_type::none;
    std::string bytes;

    bool operator==(const stored_value&) const = default;
};

// Tells one state of a value from every other that this store object has seen or will see.
struct value_stamp {
    std::int64_t opening = 0;
    std::int64_t entry = 0;
    std::int64_t revision = 0;

    bool operator==(const value_stamp&) const = default;
};

// What a fresh file begins with: a key, and a value in it unless `value` is empty.
struct initial_entry {
    std::string key;
    std::string name;
    std::optional<stored_value> value;
};

struct store_options {
    // Write-ahead suits a user's own store; it needs write access even to read. A rollback journal
    // lets users read a file that is not theirs. On network file systems it is always the latter.
    enum class journal { write_ahead, rollback };

    journal kept = journal::write_ahead;
    std::chrono::milliseconds busy_timeout{15'000};  // how long to wait for other processes
    unsigned mode = 0600;                            // of a fresh file
    std::vector<initial_entry> initial;

    // Told in one line what the user should know: that a damaged file was set aside, that the disk
    // is full. When empty, the line goes to standard error. Called with the store locked: it may
    // not use it.
    std::function<void(std::string_view)> message;
};

// For a program that has the process for itself and mostly ends soon, before the first store:
// SQLite takes memory for what a store needs, rather than ahead for what a large one would.
void expect_small_stores() noexcept;

// A tree of keys with typed values, in one SQLite file. What one process writes, the others read
// from then on; no write is half done, and one that returned stands even when the process is
// killed right after. (When the power fails, the last writes may be missing, never parts of one.)
//
// A path names a key by the names of the keys on the way, with "\" between them; empty names in it
// count for nothing. Names are UTF-8 and at most 255 characters long (16383 for values), paths at
// most 512 keys deep. Case makes no difference to which key or value is meant; a name keeps the
// case in which it was first written.
//
// While it is open, and after a process was killed, the last writes may stand in a log beside the
// file ("<file>-wal"). The last to close it writes them into the file, so that it can be copied and
// replaced by itself.
//
// A file that is damaged, or no store at all, is renamed to "<file>.damaged-<time>", with what
// belongs to it, and a fresh one is begun, whenever that shows. A file that was removed or replaced
// is left for the one that has its name.
//
// Any thread may call; one works at a time. A process that forks goes on with the store in both.
// The file may not be opened by other means in the same process while it is in use: closing it
// would take away SQLite's locks.
//
// All but the destructor throw store_error.
class store {
public:
    // Opens the file, an absolute path to a folder that exists, and makes it when missing. One that
    // may not be written is opened for reading; one with no write-ahead log in use beside it then
    // shows no later changes.
    explicit store(std::string file, store_options options = {});
    ~store();
    store(const store&) = delete;
    store& operator=(const store&) = delete;

    const std::string& file() const noexcept { return file_; }
    bool read_only();

    bool has_key(std::string_view key);
    void create_key(std::string_view key);  // with those on the way; nothing when it is there
    void delete_key(std::string_view key);  // with its values; one with keys below it stays

    // In the order in which they were first written.
    std::vector<std::string> key_names(std::string_view key);
    std::vector<std::string> value_names(std::string_view key);

    struct reading {
        bool found = false;
        bool unchanged = false;  // it is as `known` was: type and bytes are not given again
        stored_value value;
        value_stamp stamp;
    };
    reading read(std::string_view key, std::string_view name, const value_stamp& known = {});

    void write(std::string_view key, std::string_view name, const stored_value& value);
    bool delete_value(std::string_view key, std::string_view name);  // false: there was none

    // Hands the value as it is to `change` and writes what that gives, nullopt for no change; no
    // other process writes meanwhile. `change` may be called again, and may not use the store.
    using change_function =
        std::function<std::optional<stored_value>(const std::optional<stored_value>&)>;
    void update(std::string_view key, std::string_view name, const change_function& change);

    // Adds to a 32-bit integer in one statement; the sum wraps. A missing one counts as 0. False
    // when the value there is no 32-bit integer: it stays as it is.
    bool add(std::string_view key, std::string_view name, std::uint32_t amount);

private:
    friend class open_stores;

    template <typename work>
    auto attempt(work&& do_work);
    template <typename work>
    auto with_key(std::string_view key, work&& do_work);
    store_connection& ready_connection();
    void forget_connection();
    void remember(std::string_view key, std::int64_t id);
    void complain(const store_error& error);
    void tell_once(const char* line);

    const std::string file_;
    const store_options options_;

    std::mutex mutex_;                              // guards all below
    std::unique_ptr<store_connection> connection_;  // empty when it has to be opened (again)
    std::int64_t openings_ = 0;
    std::unordered_map<std::string, std::int64_t> key_ids_;  // of paths, in the present file
    std::string path_;                                       // kept to save allocations
    std::string last_complaint_;
};

}  // namespace replay::platform
