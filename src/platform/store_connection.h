#pragma once

#include <sqlite3.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include "platform/store.h"

// The SQLite side of platform/store.h: a connection with its statements, which are kept from one
// use to the next. For the sources of the store alone. Not synchronised.
namespace replay::platform {

// A call of SQLite that failed.
class sqlite_failure : public std::runtime_error {
public:
    sqlite_failure(int code, const std::string& text) : std::runtime_error(text), code_(code) {}

    bool damage() const noexcept;
    bool stale_key() const noexcept { return code_ == SQLITE_CONSTRAINT_FOREIGNKEY; }
    store_fault fault() const noexcept;

private:
    int code_;  // the extended one
};

sqlite_failure failure_of(sqlite3* handle, int code);  // `handle` may be nullptr

enum class query : std::size_t {
    begin_reading,
    begin,
    commit,
    find_key,
    insert_key,
    key_exists,
    remove_key,
    remove_values,
    has_subkeys,
    list_keys,
    list_values,
    read_value,
    update_value,
    insert_value,
    remove_value,
    add_to_value,
    insert_sum,
    count,
};

// One run of a kept statement: bind, step, read columns. It is reset at the end. What is bound is
// borrowed until then.
class statement_run {
public:
    explicit statement_run(sqlite3_stmt* statement) noexcept : statement_(statement) {}
    ~statement_run();
    statement_run(const statement_run&) = delete;
    statement_run& operator=(const statement_run&) = delete;

    statement_run& bind(std::int64_t number);
    statement_run& bind(std::string_view text);
    statement_run& bind(const stored_value& value);  // its type and its data, two parameters

    bool step();  // true: there is a row. Throws sqlite_failure.

    std::int64_t number(int column) const;
    std::string text(int column) const;
    stored_value value(int type_column) const;  // the data stand in the next column

private:
    void check(int code) const;

    sqlite3_stmt* statement_;
    int bound_ = 0;
};

class store_connection {
public:
    explicit store_connection(sqlite3* handle) noexcept : handle_(handle) {}  // and owns it
    ~store_connection();
    store_connection(const store_connection&) = delete;
    store_connection& operator=(const store_connection&) = delete;

    sqlite3* handle() const noexcept { return handle_; }
    bool read_only() const noexcept;
    bool moved() const noexcept;  // the name of the file leads elsewhere or nowhere

    statement_run run(query which);
    std::int64_t changed_rows() const noexcept;
    std::int64_t last_id() const noexcept;

private:
    sqlite3* handle_;
    std::array<sqlite3_stmt*, static_cast<std::size_t>(query::count)> statements_{};
};

// Has all reads meanwhile see one state of the file, and take its locks once. Within another
// transaction it does nothing.
class read_transaction {
public:
    explicit read_transaction(store_connection& connection);
    ~read_transaction();
    read_transaction(const read_transaction&) = delete;
    read_transaction& operator=(const read_transaction&) = delete;

private:
    store_connection* connection_ = nullptr;  // none: there was a transaction already
};

// A transaction that writes, rolled back unless committed.
class write_transaction {
public:
    explicit write_transaction(store_connection& connection);
    ~write_transaction();
    write_transaction(const write_transaction&) = delete;
    write_transaction& operator=(const write_transaction&) = delete;

    void commit();

private:
    store_connection& connection_;
    bool open_ = true;
};

}  // namespace replay::platform
