#include "platform/store_tree.h"

#include <algorithm>

#include "platform/character_class.h"
#include "platform/utf8.h"

namespace replay::platform {

namespace {

constexpr std::size_t most_key_name_units = 255;
constexpr std::size_t most_value_name_units = 16'383;
constexpr std::size_t most_depth = 512;

bool is_plain(std::string_view name) {
    for (const char byte : name) {
        if (byte == '\0' || static_cast<unsigned char>(byte) > 0x7F) return false;
    }
    return true;
}

[[noreturn]] void refuse(const char* why) {
    throw store_error(store_fault::invalid_parameter, why);
}

std::string folded_name(std::string_view name, std::size_t most_units) {
    if (is_plain(name) && name.size() <= most_units) {
        std::string folded(name);
        for (char& byte : folded) {
            if (byte >= 'A' && byte <= 'Z') byte = static_cast<char>(byte + ('a' - 'A'));
        }
        return folded;
    }
    std::u16string wide;
    if (name.find('\0') != std::string_view::npos ||
        decode_utf8(name, on_error::stop, wide) != conversion_status::done) {
        refuse("a name that is no text");
    }
    if (wide.size() > most_units) refuse("a name that is too long");
    characters().make_lower(wide.data(), wide.size());
    return to_utf8(wide);
}

std::vector<std::string_view> names_of(std::string_view path) {
    std::vector<std::string_view> names;
    while (!path.empty()) {
        const std::string_view name = path.substr(0, path.find('\\'));
        path.remove_prefix(std::min(name.size() + 1, path.size()));
        if (!name.empty()) names.push_back(name);
    }
    if (names.size() > most_depth) refuse("a path that is too deep");
    return names;
}

std::optional<std::int64_t> find_child(store_connection& connection, std::int64_t parent,
                                       std::string_view folded) {
    statement_run run = connection.run(query::find_key);
    if (!run.bind(parent).bind(folded).step()) return std::nullopt;
    return run.number(0);
}

}  // namespace

std::string folded_value_name(std::string_view name) {
    return folded_name(name, most_value_name_units);
}

std::optional<std::int64_t> find_key(store_connection& connection, std::string_view path) {
    std::optional<std::int64_t> key = root_key_id;
    for (const std::string_view name : names_of(path)) {
        key = find_child(connection, *key, folded_name(name, most_key_name_units));
        if (!key) return std::nullopt;
    }
    return key;
}

std::int64_t make_key(store_connection& connection, std::string_view path) {
    std::int64_t key = root_key_id;
    for (const std::string_view name : names_of(path)) {
        const std::string folded = folded_name(name, most_key_name_units);
        if (const std::optional<std::int64_t> found = find_child(connection, key, folded)) {
            key = *found;
            continue;
        }
        connection.run(query::insert_key).bind(key).bind(name).bind(folded).step();
        key = connection.last_id();
    }
    return key;
}

// Most writes change a value that is there; only a new one costs an id.
void put_value(store_connection& connection, std::int64_t key, std::string_view name,
               const stored_value& value) {
    const std::string folded = folded_value_name(name);
    connection.run(query::update_value).bind(key).bind(folded).bind(value).step();
    if (connection.changed_rows() > 0) return;
    connection.run(query::insert_value).bind(key).bind(folded).bind(value).bind(name).step();
}

}  // namespace replay::platform
