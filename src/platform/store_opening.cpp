#include "platform/store_opening.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <optional>
#include <string>
#include <utility>

#include "platform/clock.h"
#include "platform/process_lock.h"
#include "platform/store_tree.h"

namespace replay::platform {

namespace {

constexpr std::int64_t store_application_id = 0x42724D73;
constexpr std::int64_t store_version = 1;
constexpr off_t least_page = 512;
constexpr int most_value_bytes = 256 << 20;

// A number stands in `data` as an integer where its size is right, for people who look into the
// file and for sums made by one statement. Everything else is a BLOB.
//
// No id is ever used twice, so an id with a revision tells one state of a value from all others.
constexpr char schema[] = R"(
CREATE TABLE keys (
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    parent INTEGER REFERENCES keys (id),
    name TEXT NOT NULL,
    folded TEXT NOT NULL,
    UNIQUE (parent, folded)
) STRICT;
INSERT INTO keys (id, parent, name, folded) VALUES (1, NULL, '', '');
CREATE TABLE entries (
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    key INTEGER NOT NULL REFERENCES keys (id),
    name TEXT NOT NULL,
    folded TEXT NOT NULL,
    revision INTEGER NOT NULL DEFAULT 1,
    type INTEGER NOT NULL,
    data ANY,
    UNIQUE (key, folded)
) STRICT;
)";

struct column_name {
    const char* table;
    const char* column;
};

constexpr column_name columns[] = {
    {"keys", "id"},          {"keys", "parent"},  {"keys", "name"},    {"keys", "folded"},
    {"entries", "id"},       {"entries", "key"},  {"entries", "name"}, {"entries", "folded"},
    {"entries", "revision"}, {"entries", "type"}, {"entries", "data"},
};

// Thrown when a file is damaged or was never a store.
struct damaged_file {
    std::string why;
};

bool exists(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0;
}

off_t size_of(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_size : 0;
}

bool has_log(const std::string& file) {
    return size_of(file + "-wal") > 0;
}

// Write-ahead needs memory that all who use the file share, which machines do not. A file system of
// which the kernel does not tell whether it is one over the network (FUSE) counts as one.
bool on_network(const std::string& path) {
    struct statfs status {};
    if (::statfs(path.c_str(), &status) != 0) return false;
    constexpr std::uint32_t network_types[] = {
        0x00006969,  // NFS
        0xFF534D42,  // CIFS
        0xFE534D42,  // SMB2
        0x0000517B,  // SMB
        0x65735546,  // FUSE
        0x01021997,  // 9P
        0x5346414F,  // AFS
        0x00C36400,  // Ceph
        0x0BD00BD0,  // Lustre
        0x01161970,  // GFS2
        0x7461636F,  // OCFS2
    };
    const auto type = static_cast<std::uint32_t>(status.f_type);
    return std::find(std::begin(network_types), std::end(network_types), type) !=
           std::end(network_types);
}

// What belongs to a store beside its file.
constexpr const char* companions[] = {"-wal", "-shm", "-journal"};

std::string aside_name(const std::string& file) {
    const clock::broken_down_time time = clock::local_now();
    char stamp[80];
    std::snprintf(stamp, sizeof stamp, ".damaged-%.4d%.2d%.2d-%.2d%.2d%.2d", time.year, time.month,
                  time.day, time.hour, time.minute, time.second);
    const std::string wanted = file + stamp;
    std::string name = wanted;
    for (int number = 2; exists(name); ++number) name = wanted + "-" + std::to_string(number);
    return name;
}

[[noreturn]] void fail_to_set_aside(const std::string& file, const std::string& why) {
    throw store_error(store_fault::damaged,
                      file + " is damaged and cannot be set aside (" + why + ")");
}

// The store file goes last: would a write-ahead log stay beside a fresh file, it would be played
// into it.
void set_aside(const std::string& file, const std::string& why, const store_options& options) {
    const std::string aside = aside_name(file);
    for (const char* companion : companions) {
        const std::string from = file + companion;
        const std::string to = aside + companion;
        if (::rename(from.c_str(), to.c_str()) != 0 && errno != ENOENT) {
            fail_to_set_aside(file, why);
        }
    }
    if (::rename(file.c_str(), aside.c_str()) != 0 && errno != ENOENT) {
        fail_to_set_aside(file, why);
    }
    tell_user(options.message, "the store " + file + " is damaged (" + why +
                                   "); it was set aside as " + aside + " and a new one begun");
}

// SQLite would give it the mode that the process has for all files.
void make_file(const std::string& file, unsigned mode) {
    const int descriptor = ::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    if (descriptor >= 0) ::close(descriptor);
}

// One statement that is not kept, at its first row.
class single_row {
public:
    single_row(sqlite3* handle, const std::string& text) {
        int code = sqlite3_prepare_v2(handle, text.c_str(), -1, &statement_, nullptr);
        if (code == SQLITE_OK) code = sqlite3_step(statement_);
        if (code == SQLITE_ROW) return;
        const sqlite_failure failure = failure_of(handle, code);
        sqlite3_finalize(statement_);
        throw failure;
    }
    ~single_row() { sqlite3_finalize(statement_); }
    single_row(const single_row&) = delete;
    single_row& operator=(const single_row&) = delete;

    std::int64_t number() const { return sqlite3_column_int64(statement_, 0); }
    std::string text() const {
        const unsigned char* const bytes = sqlite3_column_text(statement_, 0);
        return bytes == nullptr ? "" : reinterpret_cast<const char*>(bytes);
    }

private:
    sqlite3_stmt* statement_ = nullptr;
};

void execute(sqlite3* handle, const std::string& text) {
    const int code = sqlite3_exec(handle, text.c_str(), nullptr, nullptr, nullptr);
    if (code != SQLITE_OK) throw failure_of(handle, code);
}

// Nothing in a file may make SQLite run code or change more than the statement says.
void restrict_connection(sqlite3* handle, const store_options& options) {
    sqlite3_db_config(handle, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(handle, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_db_config(handle, SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 0, nullptr);
    sqlite3_db_config(handle, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
    sqlite3_db_config(handle, SQLITE_DBCONFIG_ENABLE_FKEY, 1, nullptr);
    sqlite3_limit(handle, SQLITE_LIMIT_LENGTH, most_value_bytes);
    sqlite3_busy_timeout(handle, static_cast<int>(options.busy_timeout.count()));
}

bool is_empty(sqlite3* handle) {
    return single_row(handle, "PRAGMA schema_version").number() == 0;
}

void check_identity(sqlite3* handle, const std::string& file) {
    if (single_row(handle, "PRAGMA application_id").number() != store_application_id) {
        throw damaged_file{"it is no store"};
    }
    if (single_row(handle, "PRAGMA user_version").number() > store_version) {
        throw store_error(store_fault::open_failed, file + " was made by a newer program");
    }
}

// With a write-ahead log, a killed process loses nothing without waiting for the disk at each
// write. Where there can be none, SQLite says so by another answer.
void choose_journal(store_connection& connection, std::string present, const std::string& file,
                    const store_options& options) {
    sqlite3* const handle = connection.handle();
    const bool ahead = options.kept == store_options::journal::write_ahead && !on_network(file);
    const std::string wanted = ahead ? "wal" : "delete";
    if (present != wanted) present = single_row(handle, "PRAGMA journal_mode = " + wanted).text();
    execute(handle, present == "wal"
                        ? "PRAGMA synchronous = NORMAL; PRAGMA journal_size_limit = 4194304"
                        : "PRAGMA synchronous = FULL");
}

void begin_file(store_connection& connection, const store_options& options) {
    write_transaction transaction(connection);
    if (!is_empty(connection.handle())) return;
    execute(connection.handle(), schema);
    execute(connection.handle(), "PRAGMA application_id = " + std::to_string(store_application_id));
    execute(connection.handle(), "PRAGMA user_version = " + std::to_string(store_version));
    for (const initial_entry& entry : options.initial) {
        const std::int64_t key = make_key(connection, entry.key);
        if (entry.value) put_value(connection, key, entry.name, *entry.value);
    }
    transaction.commit();
}

void check_contents(store_connection& connection) {
    std::string found = single_row(connection.handle(), "PRAGMA quick_check(1)").text();
    if (found != "ok") {
        std::replace(found.begin(), found.end(), '\n', ' ');  // it is told in one line
        throw damaged_file{found};
    }
    for (const auto& [table, column] : columns) {
        const int code = sqlite3_table_column_metadata(connection.handle(), "main", table, column,
                                                       nullptr, nullptr, nullptr, nullptr, nullptr);
        if (code != SQLITE_OK) throw damaged_file{failure_of(connection.handle(), code).what()};
    }
}

// As a URI, whose own characters are escaped.
std::string address_of(const std::string& file) {
    constexpr char digits[] = "0123456789ABCDEF";
    std::string address = "file:";
    for (const char byte : file) {
        if (byte != '%' && byte != '?' && byte != '#') {
            address += byte;
            continue;
        }
        const auto number = static_cast<unsigned char>(byte);
        address.append({'%', digits[number >> 4], digits[number & 15]});
    }
    return address;
}

std::unique_ptr<store_connection> connect(const std::string& address, int access,
                                          const store_options& options) {
    constexpr int flags = SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE | SQLITE_OPEN_URI;
    sqlite3* handle = nullptr;
    const int code = sqlite3_open_v2(address.c_str(), &handle, access | flags, nullptr);
    auto connection = std::make_unique<store_connection>(handle);
    if (code != SQLITE_OK) throw failure_of(handle, code);
    restrict_connection(handle, options);
    return connection;
}

// The kind of journal that a good file has; nothing for an empty file, where there may be one.
std::optional<std::string> checked_journal(store_connection& connection, const std::string& file,
                                           bool may_be_empty) {
    const read_transaction at_once(connection);
    if (may_be_empty && is_empty(connection.handle())) return std::nullopt;
    check_identity(connection.handle(), file);
    check_contents(connection);
    return single_row(connection.handle(), "PRAGMA journal_mode").text();
}

std::unique_ptr<store_connection> open_for_writing(const std::string& file,
                                                   const store_options& options) {
    auto connection = connect(address_of(file), SQLITE_OPEN_READWRITE, options);
    // SQLite itself falls back to reading.
    const bool read_only = connection->read_only();
    const std::optional<std::string> journal = checked_journal(*connection, file, !read_only);
    if (read_only) return connection;
    choose_journal(*connection, journal.value_or(""), file, options);
    if (journal) return connection;
    begin_file(*connection, options);
    check_contents(*connection);
    return connection;
}

// In a folder that may not be written SQLite cannot begin a log beside the file, nor the index that
// goes with one. It then reads a file only that it takes to be unchanging, without what stands in
// the log, or, of a log that nobody has open, one to which it keeps the index for itself.
std::unique_ptr<store_connection> open_unchanging(const std::string& file,
                                                  const store_options& options) {
    const bool logged = has_log(file);
    const char* const how = logged ? "?vfs=unix-none" : "?immutable=1";
    auto connection = connect(address_of(file) + how, SQLITE_OPEN_READONLY, options);
    if (logged) {
        sqlite3_db_config(connection->handle(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
        execute(connection->handle(), "PRAGMA locking_mode = EXCLUSIVE");
    }
    check_identity(connection->handle(), file);
    check_contents(*connection);
    return connection;
}

// What keeps a file from being opened: a lack of rights or something else.
store_fault opening_fault(const std::string& file, const sqlite_failure& failure) {
    if (failure.fault() != store_fault::open_failed) return failure.fault();
    return ::access(file.c_str(), R_OK) != 0 && (errno == EACCES || !exists(file))
               ? store_fault::access_denied
               : store_fault::open_failed;
}

std::unique_ptr<store_connection> open_checked(const std::string& file,
                                               const store_options& options) {
    // SQLite takes what is smaller than its smallest page for a fresh file, and throws away the log
    // beside an empty one. The file of a store is never empty while there is a log to it.
    const off_t size = size_of(file);
    if (size > 0 && size < least_page) throw damaged_file{"it is cut short"};
    if (size == 0 && has_log(file)) {
        throw damaged_file{exists(file) ? "it is empty, and its log is not"
                                        : "it is gone, and its log is not"};
    }
    if (size == 0) make_file(file, options.mode);
    try {
        try {
            return open_for_writing(file, options);
        } catch (const sqlite_failure& failure) {
            const store_fault fault = failure.fault();
            if (fault != store_fault::open_failed && fault != store_fault::access_denied) throw;
            if (has_log(file) && exists(file + "-shm")) throw;  // others may have the log open
        }
        return open_unchanging(file, options);
    } catch (const sqlite_failure& failure) {
        if (failure.damage()) throw damaged_file{failure.what()};
        throw store_error(opening_fault(file, failure), file + ": " + failure.what());
    }
}

}  // namespace

void tell_user(const std::function<void(std::string_view)>& message, const std::string& line) {
    if (message) return message(line);
    const std::string whole = "brindlemoss: " + line + "\n";
    // Where standard error cannot be written, there is nobody left to tell.
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, whole.data(), whole.size());
}

std::unique_ptr<store_connection> open_store(const std::string& file,
                                             const store_options& options) {
    const std::size_t name = file.rfind('/') + 1;
    process_lock opening(file.substr(0, name), file.substr(name));
    opening.acquire();
    struct releaser {
        process_lock& lock;
        ~releaser() { lock.release(); }
    } release_at_end{opening};

    try {
        return open_checked(file, options);
    } catch (const damaged_file& damage) {
        set_aside(file, damage.why, options);
    }
    try {
        return open_checked(file, options);
    } catch (const damaged_file& damage) {
        throw store_error(store_fault::damaged, file + ": " + damage.why);
    }
}

}  // namespace replay::platform
