#include "platform/store_connection.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <iterator>

namespace replay::platform {

namespace {

#define SUM "data = (data + excluded.data) & 4294967295, revision = revision + 1"
#define IS_INTEGER "type = 4 AND typeof(data) = 'integer'"

constexpr const char* statement_texts[] = {
    "BEGIN",
    "BEGIN IMMEDIATE",
    "COMMIT",
    "SELECT id FROM keys WHERE parent = ? AND folded = ?",
    "INSERT INTO keys (parent, name, folded) VALUES (?, ?, ?)",
    "SELECT 1 FROM keys WHERE id = ?",
    "DELETE FROM keys WHERE id = ?",
    "DELETE FROM entries WHERE key = ?",
    "SELECT 1 FROM keys WHERE parent = ? LIMIT 1",
    "SELECT name FROM keys WHERE parent = ? ORDER BY id",
    "SELECT name FROM entries WHERE key = ? ORDER BY id",
    // The data of a long value are only read from the file where they are asked for.
    "SELECT id, revision, type, CASE WHEN id = ?3 AND revision = ?4 THEN NULL ELSE data END"
    " FROM entries WHERE key = ?1 AND folded = ?2",
    "UPDATE entries SET type = ?3, data = ?4, revision = revision + 1"
    " WHERE key = ?1 AND folded = ?2",
    "INSERT INTO entries (key, folded, type, data, name) VALUES (?, ?, ?, ?, ?)"
    " ON CONFLICT (key, folded) DO UPDATE"
    " SET type = excluded.type, data = excluded.data, revision = revision + 1",
    "DELETE FROM entries WHERE key = ? AND folded = ?",
    "UPDATE entries SET data = (data + ?3) & 4294967295, revision = revision + 1"
    " WHERE key = ?1 AND folded = ?2 AND " IS_INTEGER,
    "INSERT INTO entries (key, folded, type, data, name) VALUES (?, ?, 4, ?, ?)"
    " ON CONFLICT (key, folded) DO UPDATE SET " SUM " WHERE " IS_INTEGER,
};
static_assert(std::size(statement_texts) == static_cast<std::size_t>(query::count));

#undef SUM
#undef IS_INTEGER

}  // namespace

namespace {

// The system's reasons for the last failures in the file of the store, in its journal or log, and
// anywhere.
std::array<int, 3> system_reasons(sqlite3* handle) {
    std::array<int, 3> reasons{0, 0, sqlite3_system_errno(handle)};
    sqlite3_file_control(handle, "main", SQLITE_FCNTL_LAST_ERRNO, &reasons[0]);
    sqlite3_file* journal = nullptr;
    sqlite3_file_control(handle, "main", SQLITE_FCNTL_JOURNAL_POINTER, &journal);
    if (journal != nullptr && journal->pMethods != nullptr) {
        journal->pMethods->xFileControl(journal, SQLITE_FCNTL_LAST_ERRNO, &reasons[1]);
    }
    return reasons;
}

// SQLite tells a full disk from other failures only in some writes, and a limit that is reached, on
// the user's share of the disk or on the size of files, in none.
bool is_disk_full(sqlite3* handle, int code) {
    if ((code & 0xFF) != SQLITE_IOERR) return false;
    const std::array<int, 3> reasons = system_reasons(handle);
    return std::any_of(reasons.begin(), reasons.end(), [](int reason) {
        return reason == ENOSPC || reason == EDQUOT || reason == EFBIG;
    });
}

}  // namespace

sqlite_failure failure_of(sqlite3* handle, int code) {
    if (handle == nullptr) return {code, sqlite3_errstr(code)};
    if (is_disk_full(handle, code)) return {SQLITE_FULL, sqlite3_errstr(SQLITE_FULL)};
    return {code, sqlite3_errmsg(handle)};
}

bool sqlite_failure::damage() const noexcept {
    const int primary = code_ & 0xFF;
    return primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB;
}

store_fault sqlite_failure::fault() const noexcept {
    switch (code_ & 0xFF) {
        case SQLITE_READONLY:
        case SQLITE_PERM:
        case SQLITE_AUTH: return store_fault::access_denied;
        case SQLITE_NOMEM: return store_fault::out_of_memory;
        case SQLITE_BUSY:
        case SQLITE_LOCKED: return store_fault::locked;
        case SQLITE_TOOBIG: return store_fault::invalid_parameter;
        case SQLITE_CANTOPEN: return store_fault::open_failed;
        case SQLITE_FULL: return store_fault::disk_full;
        case SQLITE_CORRUPT:
        case SQLITE_NOTADB: return store_fault::damaged;
        case SQLITE_CONSTRAINT: return store_fault::key_deleted;
        default: return store_fault::input_output;
    }
}

statement_run::~statement_run() {
    sqlite3_reset(statement_);
}

void statement_run::check(int code) const {
    if (code != SQLITE_OK) throw failure_of(sqlite3_db_handle(statement_), code);
}

statement_run& statement_run::bind(std::int64_t number) {
    check(sqlite3_bind_int64(statement_, ++bound_, number));
    return *this;
}

statement_run& statement_run::bind(std::string_view text) {
    // An empty view may have no address, which would bind NULL.
    const char* const bytes = text.empty() ? "" : text.data();
    check(
        sqlite3_bind_text64(statement_, ++bound_, bytes, text.size(), SQLITE_STATIC, SQLITE_UTF8));
    return *this;
}

namespace {

// The sizes of the types of number; 0 for the other types.
std::size_t number_size(std::int64_t type) {
    if (type == value_type::integer) return 4;
    return type == value_type::integer64 ? 8 : 0;
}

std::uint64_t number_in(std::string_view bytes) {
    std::uint64_t number = 0;
    for (std::size_t at = bytes.size(); at > 0; --at) {
        number = number << 8 | static_cast<unsigned char>(bytes[at - 1]);
    }
    return number;
}

std::string number_bytes(std::uint64_t number, std::size_t size) {
    std::string bytes(size, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(number);
        number >>= 8;
    }
    return bytes;
}

}  // namespace

statement_run& statement_run::bind(const stored_value& value) {
    bind(value.type);
    if (!value.bytes.empty() && value.bytes.size() == number_size(value.type)) {
        return bind(static_cast<std::int64_t>(number_in(value.bytes)));
    }
    check(sqlite3_bind_blob64(statement_, ++bound_, value.bytes.empty() ? "" : value.bytes.data(),
                              value.bytes.size(), SQLITE_STATIC));
    return *this;
}

bool statement_run::step() {
    const int code = sqlite3_step(statement_);
    if (code == SQLITE_ROW) return true;
    if (code == SQLITE_DONE) return false;
    throw failure_of(sqlite3_db_handle(statement_), code);
}

std::int64_t statement_run::number(int column) const {
    return sqlite3_column_int64(statement_, column);
}

std::string statement_run::text(int column) const {
    const void* const bytes = sqlite3_column_blob(statement_, column);
    const int size = sqlite3_column_bytes(statement_, column);
    if (bytes == nullptr && size > 0) throw failure_of(nullptr, SQLITE_NOMEM);
    return bytes == nullptr ? std::string()
                            : std::string(static_cast<const char*>(bytes), std::size_t(size));
}

stored_value statement_run::value(int type_column) const {
    const int data = type_column + 1;
    const std::int64_t type = number(type_column);
    stored_value result{static_cast<std::int32_t>(type), {}};
    const std::size_t size = number_size(type);
    if (size > 0 && sqlite3_column_type(statement_, data) == SQLITE_INTEGER) {
        result.bytes = number_bytes(static_cast<std::uint64_t>(number(data)), size);
        return result;
    }
    result.bytes = text(data);
    // A value that does not fit in memory looks like an empty one.
    const int code = sqlite3_errcode(sqlite3_db_handle(statement_));
    if (result.bytes.empty() && code != SQLITE_ROW && code != SQLITE_OK) {
        throw failure_of(sqlite3_db_handle(statement_), code);
    }
    return result;
}

store_connection::~store_connection() {
    for (sqlite3_stmt* statement : statements_) sqlite3_finalize(statement);
    sqlite3_close(handle_);
}

bool store_connection::read_only() const noexcept {
    return sqlite3_db_readonly(handle_, "main") != 0;
}

bool store_connection::moved() const noexcept {
    int moved = 0;
    sqlite3_file_control(handle_, "main", SQLITE_FCNTL_HAS_MOVED, &moved);
    return moved != 0;
}

statement_run store_connection::run(query which) {
    const auto index = static_cast<std::size_t>(which);
    sqlite3_stmt*& statement = statements_[index];
    if (statement == nullptr) {
        const int code = sqlite3_prepare_v3(handle_, statement_texts[index], -1,
                                            SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
        if (code != SQLITE_OK) throw failure_of(handle_, code);
    }
    return statement_run(statement);
}

std::int64_t store_connection::changed_rows() const noexcept {
    return sqlite3_changes64(handle_);
}

std::int64_t store_connection::last_id() const noexcept {
    return sqlite3_last_insert_rowid(handle_);
}

read_transaction::read_transaction(store_connection& connection) {
    if (sqlite3_get_autocommit(connection.handle()) == 0) return;
    connection.run(query::begin_reading).step();
    connection_ = &connection;
}

read_transaction::~read_transaction() {
    // After some failures SQLite has ended it by itself.
    if (connection_ == nullptr || sqlite3_get_autocommit(connection_->handle()) != 0) return;
    try {
        connection_->run(query::commit).step();
    } catch (const sqlite_failure&) {
        sqlite3_exec(connection_->handle(), "ROLLBACK", nullptr, nullptr, nullptr);
    }
}

write_transaction::write_transaction(store_connection& connection) : connection_(connection) {
    connection_.run(query::begin).step();
}

write_transaction::~write_transaction() {
    // After some failures SQLite has rolled back by itself.
    if (open_ && sqlite3_get_autocommit(connection_.handle()) == 0) {
        sqlite3_exec(connection_.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
    }
}

void write_transaction::commit() {
    connection_.run(query::commit).step();
    open_ = false;
}

}  // namespace replay::platform
