#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/store.h"
#include "platform/store_connection.h"

// Names, paths, keys and values in terms of a connection. For the sources of the store alone.
// A name that cannot be one throws store_error; what SQLite reports, sqlite_failure.
namespace replay::platform {

inline constexpr std::int64_t root_key_id = 1;

// The name as it stands in comparisons: in lower case.
std::string folded_value_name(std::string_view name);

// The key's id; nullopt when it is not there.
std::optional<std::int64_t> find_key(store_connection& connection, std::string_view path);

// The key's id, made with those on the way. Wants a transaction around it.
std::int64_t make_key(store_connection& connection, std::string_view path);

void put_value(store_connection& connection, std::int64_t key, std::string_view name,
               const stored_value& value);

}  // namespace replay::platform
