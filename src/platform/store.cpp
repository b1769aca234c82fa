#include "platform/store.h"

#include <pthread.h>

#include <algorithm>
#include <type_traits>
#include <utility>

#include "platform/store_connection.h"
#include "platform/store_opening.h"
#include "platform/store_tree.h"

namespace replay::platform {

// SQLite's connections do not survive a fork: parent and child would undo each other's locks. So
// they are closed in front of it, and opened again on the next use in both.
class open_stores {
public:
    static open_stores& instance() {
        static open_stores& stores = *new open_stores;  // outlives stores in static objects
        return stores;
    }

    void add(store* opened) {
        const std::lock_guard lock(mutex_);
        stores_.push_back(opened);
    }

    void remove(store* closed) {
        const std::lock_guard lock(mutex_);
        std::erase(stores_, closed);
    }

private:
    open_stores() { ::pthread_atfork(before_fork, after_fork, after_fork); }

    static void before_fork() {
        open_stores& all = instance();
        all.mutex_.lock();
        for (store* each : all.stores_) {
            each->mutex_.lock();
            each->forget_connection();
        }
    }

    static void after_fork() {
        open_stores& all = instance();
        for (store* each : all.stores_) each->mutex_.unlock();
        all.mutex_.unlock();
    }

    std::mutex mutex_;  // taken before those of the stores
    std::vector<store*> stores_;
};

namespace {

// Ids of paths that nobody asks for any more would otherwise stay for ever.
constexpr std::size_t most_known_keys = 1000;

std::optional<std::int64_t> find_at_once(store_connection& connection, std::string_view key) {
    const read_transaction at_once(connection);
    return find_key(connection, key);
}

bool key_exists(store_connection& connection, std::int64_t key) {
    return connection.run(query::key_exists).bind(key).step();
}

store::reading read_entry(store_connection& connection, std::int64_t key, std::string_view folded,
                          std::int64_t opening, const value_stamp& known) {
    store::reading result;
    statement_run run = connection.run(query::read_value);
    const bool comparable = known.opening == opening;
    run.bind(key).bind(folded);
    run.bind(comparable ? known.entry : 0).bind(comparable ? known.revision : 0);
    if (!run.step()) return result;
    result.found = true;
    result.stamp = {opening, run.number(0), run.number(1)};
    result.unchanged = result.stamp == known;
    if (!result.unchanged) result.value = run.value(2);
    return result;
}

std::vector<std::string> listed(store_connection& connection, query which, std::int64_t key) {
    std::vector<std::string> names;
    statement_run run = connection.run(which);
    run.bind(key);
    while (run.step()) names.push_back(run.text(0));
    return names;
}

}  // namespace

void expect_small_stores() noexcept {
    sqlite3_config(SQLITE_CONFIG_PAGECACHE, nullptr, 0, 0);
}

store::store(std::string file, store_options options)
    : file_(std::move(file)), options_(std::move(options)) {
    ready_connection();
    open_stores::instance().add(this);
}

store::~store() {
    open_stores::instance().remove(this);
}

void store::forget_connection() {
    connection_.reset();
    key_ids_.clear();
}

void store::remember(std::string_view key, std::int64_t id) {
    if (key_ids_.size() >= most_known_keys) key_ids_.clear();
    key_ids_.insert_or_assign(std::string(key), id);
}

// That a file cannot be opened at all is for the one to tell who made the store.
store_connection& store::ready_connection() {
    if (connection_ && connection_->moved()) forget_connection();
    if (connection_) return *connection_;
    try {
        connection_ = open_store(file_, options_);
    } catch (const store_error& error) {
        if (openings_ > 0) tell_once(error.what());
        throw;
    }
    ++openings_;
    return *connection_;
}

// Opening a file once more checks it, and sets it aside when it is damaged.
template <typename work>
auto store::attempt(work&& do_work) {
    const std::lock_guard lock(mutex_);
    for (bool first = true;; first = false) {
        try {
            return do_work(ready_connection());
        } catch (const sqlite_failure& failure) {
            if (!first || !failure.damage()) {
                const store_error error(failure.fault(), file_ + ": " + failure.what());
                complain(error);
                throw error;
            }
        }
        forget_connection();
    }
}

// Not to be allowed to write is not a fault.
void store::complain(const store_error& error) {
    if (error.fault() != store_fault::access_denied) tell_once(error.what());
}

// Once for each fault, not for each message that meets it.
void store::tell_once(const char* line) {
    if (line == last_complaint_) return;
    last_complaint_ = line;
    tell_user(options_.message, last_complaint_);
}

// `do_work` gets the id of the key and gives an optional, empty when there is no such id any more.
// Then another process has removed the key, and perhaps made it anew.
template <typename work>
auto store::with_key(std::string_view key, work&& do_work) {
    return attempt([&](store_connection& connection) {
        const auto try_with = [&](std::int64_t id) -> decltype(do_work(connection, id)) {
            try {
                return do_work(connection, id);
            } catch (const sqlite_failure& failure) {
                if (!failure.stale_key()) throw;
            }
            return std::nullopt;
        };
        path_.assign(key);
        if (const auto known = key_ids_.find(path_); known != key_ids_.end()) {
            if (auto result = try_with(known->second)) return *std::move(result);
            key_ids_.erase(known);
        }
        if (const std::optional<std::int64_t> id = find_at_once(connection, key)) {
            if (auto result = try_with(*id)) {
                remember(key, *id);
                return *std::move(result);
            }
        }
        throw store_error(store_fault::key_deleted, "there is no key " + path_);
    });
}

bool store::read_only() {
    return attempt([](store_connection& connection) { return connection.read_only(); });
}

bool store::has_key(std::string_view key) {
    return attempt(
        [&](store_connection& connection) { return find_at_once(connection, key).has_value(); });
}

void store::create_key(std::string_view key) {
    attempt([&](store_connection& connection) {
        if (const std::optional<std::int64_t> id = find_at_once(connection, key)) {
            return remember(key, *id);
        }
        write_transaction transaction(connection);
        make_key(connection, key);
        transaction.commit();
    });
}

void store::delete_key(std::string_view key) {
    attempt([&](store_connection& connection) {
        write_transaction transaction(connection);
        const std::optional<std::int64_t> id = find_key(connection, key);
        if (!id) throw store_error(store_fault::not_found, "there is no such key");
        if (*id == root_key_id || connection.run(query::has_subkeys).bind(*id).step()) {
            throw store_error(store_fault::access_denied, "the key has keys below it");
        }
        connection.run(query::remove_values).bind(*id).step();
        connection.run(query::remove_key).bind(*id).step();
        transaction.commit();
    });
}

std::vector<std::string> store::key_names(std::string_view key) {
    return with_key(key, [](store_connection& connection, std::int64_t id) {
        std::optional names = listed(connection, query::list_keys, id);
        if (names->empty() && !key_exists(connection, id)) names.reset();
        return names;
    });
}

std::vector<std::string> store::value_names(std::string_view key) {
    return with_key(key, [](store_connection& connection, std::int64_t id) {
        std::optional names = listed(connection, query::list_values, id);
        if (names->empty() && !key_exists(connection, id)) names.reset();
        return names;
    });
}

store::reading store::read(std::string_view key, std::string_view name, const value_stamp& known) {
    const std::string folded = folded_value_name(name);
    return with_key(key, [&](store_connection& connection, std::int64_t id) {
        std::optional result = read_entry(connection, id, folded, openings_, known);
        if (!result->found && !key_exists(connection, id)) result.reset();
        return result;
    });
}

void store::write(std::string_view key, std::string_view name, const stored_value& value) {
    with_key(key, [&](store_connection& connection, std::int64_t id) {
        put_value(connection, id, name, value);
        return std::optional(true);
    });
}

bool store::delete_value(std::string_view key, std::string_view name) {
    const std::string folded = folded_value_name(name);
    return with_key(key, [&](store_connection& connection, std::int64_t id) -> std::optional<bool> {
        connection.run(query::remove_value).bind(id).bind(folded).step();
        const bool removed = connection.changed_rows() > 0;
        if (!removed && !key_exists(connection, id)) return std::nullopt;
        return removed;
    });
}

void store::update(std::string_view key, std::string_view name, const change_function& change) {
    const std::string folded = folded_value_name(name);
    with_key(key, [&](store_connection& connection, std::int64_t id) -> std::optional<bool> {
        write_transaction transaction(connection);
        reading current = read_entry(connection, id, folded, openings_, {});
        if (!current.found && !key_exists(connection, id)) return std::nullopt;
        std::optional<stored_value> before;
        if (current.found) before = std::move(current.value);
        const std::optional<stored_value> after = change(before);
        if (!after) return false;
        put_value(connection, id, name, *after);
        transaction.commit();
        return true;
    });
}

bool store::add(std::string_view key, std::string_view name, std::uint32_t amount) {
    const std::string folded = folded_value_name(name);
    return with_key(key, [&](store_connection& connection, std::int64_t id) {
        connection.run(query::add_to_value).bind(id).bind(folded).bind(std::int64_t{amount}).step();
        if (connection.changed_rows() > 0) return std::optional(true);
        connection.run(query::insert_sum)
            .bind(id)
            .bind(folded)
            .bind(std::int64_t{amount})
            .bind(name)
            .step();
        return std::optional(connection.changed_rows() > 0);
    });
}

}  // namespace replay::platform
