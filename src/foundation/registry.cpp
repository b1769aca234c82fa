#include "foundation/registry.h"

#include <array>
#include <atomic>
#include <system_error>
#include <utility>

#include "foundation/registry_stores.h"
#include "foundation/registry_values.h"
#include "platform/utf8.h"

namespace replay::registry2 {

namespace value_type = platform::value_type;
using platform::store_error;
using platform::store_fault;
using platform::stored_value;

namespace {

constexpr std::size_t integer_size = 4;

std::atomic<std::int32_t> last_handle{0};

std::string numbered(std::int32_t number) {
    return " (" + std::to_string(number) + ")";
}

key_error named_key_error(const char* call, std::u16string_view name, std::int32_t number) {
    return {std::string(call) + "() failed: key \"" + narrow(name) + "\"" + numbered(number),
            number};
}

key_error handle_error(const char* call, std::int32_t handle, std::int32_t number) {
    return {std::string(call) + "() failed: handle " + std::to_string(handle) + numbered(number),
            number};
}

value_error named_value_error(const char* call, std::u16string_view name, std::int32_t number) {
    return {std::string(call) + "() failed: value \"" + narrow(name) + "\"" + numbered(number),
            number};
}

std::string mismatch_text(const char* what, std::u16string_view name, std::size_t expected,
                          std::size_t found) {
    return std::string(what) + " mismatch: value \"" + narrow(name) + "\" expected " +
           std::to_string(expected) + " found " + std::to_string(found);
}

bool is_type(std::int32_t found, std::int32_t expected) {
    return found == expected || found == value_type::none ||
           (found == value_type::expandable_text && expected == value_type::text);
}

// A binary value where a number is wanted may be one with its type lost, so there the size tells
// more than the type.
void check_value(std::u16string_view name, const stored_value& value, std::int32_t expected) {
    const bool wrong_size = expected == value_type::integer && value.bytes.size() != integer_size;
    const bool size_first = wrong_size && value.type == value_type::binary;
    if (!size_first && !is_type(value.type, expected)) {
        const auto found = static_cast<std::uint32_t>(value.type);
        throw type_mismatch(mismatch_text("Type", name, std::size_t(expected), found));
    }
    if (wrong_size) {
        throw size_mismatch(mismatch_text("Size", name, integer_size, value.bytes.size()));
    }
}

template <typename lines>
void check_lines(std::u16string_view name, const lines& all) {
    for (const std::u16string& line : all) {
        if (line.empty()) {
            throw value_error("MULTI_SZ may not contain empty lines",
                              static_cast<std::int32_t>(store_fault::invalid_parameter));
        }
        if (line.find(u'\0') != std::u16string::npos) {
            throw named_value_error("RegSetValueEx", name,
                                    static_cast<std::int32_t>(store_fault::invalid_parameter));
        }
    }
}

std::shared_ptr<platform::store> open_root(predefined_root root) {
    try {
        return open_tree(root);
    } catch (const store_error& error) {
        throw handle_error("RegOpenKeyEx", static_cast<std::int32_t>(root), error.number());
    } catch (const std::system_error&) {
        throw handle_error("RegOpenKeyEx", static_cast<std::int32_t>(root),
                           static_cast<std::int32_t>(store_fault::access_denied));
    }
}

void open_key(platform::store& store, const std::string& path, std::u16string_view name) {
    try {
        if (store.has_key(path)) return;
    } catch (const store_error& error) {
        throw named_key_error("RegOpenKeyEx", name, error.number());
    }
    throw named_key_error("RegOpenKeyEx", name, static_cast<std::int32_t>(store_fault::not_found));
}

void create_key(platform::store& store, const std::string& path, std::u16string_view name) {
    try {
        if (store.read_only()) throw store_error(store_fault::access_denied, "");
        store.create_key(path);
    } catch (const store_error& error) {
        throw named_key_error("RegCreateKeyEx", name, error.number());
    }
}

std::vector<std::u16string> wide_names(const std::vector<std::string>& names) {
    std::vector<std::u16string> wide;
    wide.reserve(names.size());
    for (const std::string& name : names) wide.push_back(wide_name(name));
    return wide;
}

}  // namespace

key_error::key_error(std::string message, std::int32_t number)
    : generic(std::move(message)), number_(number) {
    append_domain("key_error");
}

value_error::value_error(std::string message, std::int32_t number)
    : generic(std::move(message)), number_(number) {
    append_domain("value_error");
}

type_mismatch::type_mismatch(std::string message) : generic(std::move(message)) {
    append_domain("type_mismatch");
}

size_mismatch::size_mismatch(std::string message) : generic(std::move(message)) {
    append_domain("size_mismatch");
}

key::key(predefined_root root)
    : store_(open_root(root)),
      root_(root),
      handle_(static_cast<std::int32_t>(root)),
      action_(when_missing::fail) {}

key::key(const key& parent, std::u16string_view name, when_missing action)
    : store_(parent.store()),
      root_(parent.root_),
      path_(parent.path_ + "\\" + utf8_name(name)),
      handle_(++last_handle),
      action_(action) {
    if (action == when_missing::create) {
        create_key(*store_, path_, name);
    } else {
        open_key(*store_, path_, name);
    }
}

// Of a key that was closed, the one that is open by now.
std::shared_ptr<platform::store> key::store() const {
    const std::lock_guard lock(store_mutex_);
    if (!store_) store_ = open_root(root_);
    return store_;
}

void key::close() {
    const std::scoped_lock lock(lists_mutex_, store_mutex_);
    lists_.clear();
    store_.reset();
}

void key::open_like(const key& other) {
    std::shared_ptr<platform::store> opened = other.store();
    const std::lock_guard lock(store_mutex_);
    store_ = std::move(opened);
}

// Does something in the store; where the key is gone, makes it first if this key may.
template <typename work>
auto key::reviving(work&& do_work) const {
    try {
        return do_work();
    } catch (const store_error& error) {
        if (error.fault() != store_fault::key_deleted || action_ != when_missing::create) throw;
    }
    store()->create_key(path_);
    return do_work();
}

std::optional<stored_value> key::get_raw(std::u16string_view name) const {
    try {
        platform::store::reading found = store()->read(path_, utf8_name(name));
        if (!found.found) return std::nullopt;
        return std::move(found.value);
    } catch (const store_error& error) {
        if (error.fault() == store_fault::key_deleted && action_ == when_missing::create) {
            return std::nullopt;
        }
        throw named_value_error("RegQueryValueEx", name, error.number());
    }
}

std::optional<stored_value> key::query(std::u16string_view name, std::int32_t type) const {
    std::optional<stored_value> value = get_raw(name);
    if (value) check_value(name, *value, type);
    return value;
}

void key::set_raw(std::u16string_view name, const stored_value& value) const {
    try {
        reviving([&] { store()->write(path_, utf8_name(name), value); });
    } catch (const store_error& error) {
        throw named_value_error("RegSetValueEx", name, error.number());
    }
}

std::uint32_t key::get_integer(std::u16string_view name, std::uint32_t otherwise,
                               write_back mode) const {
    if (const auto value = query(name, value_type::integer)) return integer_in(value->bytes);
    if (mode == write_back::yes) set_integer(name, otherwise);
    return otherwise;
}

void key::set_integer(std::u16string_view name, std::uint32_t value) const {
    set_raw(name, integer_value(value));
}

void key::set_integer64(std::u16string_view name, std::uint64_t value) const {
    set_raw(name, integer64_value(value));
}

std::u16string key::get_text(std::u16string_view name, std::u16string_view otherwise,
                             write_back mode) const {
    if (const auto value = query(name, value_type::text)) return text_in(value->bytes);
    if (mode == write_back::yes) set_text(name, otherwise);
    return std::u16string(otherwise);
}

void key::set_text(std::u16string_view name, std::u16string_view text) const {
    set_raw(name, text_value(text));
}

std::string key::get_bytes_text(std::u16string_view name, std::string_view otherwise,
                                write_back mode) const {
    return narrow(get_text(name, widen(otherwise), mode));
}

void key::set_bytes_text(std::u16string_view name, std::string_view text) const {
    set_text(name, widen(text));
}

void key::get_binary(std::u16string_view name, std::string& bytes) const {
    if (auto value = query(name, value_type::binary)) bytes = std::move(value->bytes);
}

void key::set_binary(std::u16string_view name, std::string_view bytes) const {
    set_raw(name, {value_type::binary, std::string(bytes)});
}

text_list key::get_multi_text(std::u16string_view name, const text_list& otherwise,
                              write_back mode) const {
    if (const auto value = query(name, value_type::multi_text)) return lines_in(value->bytes);
    if (mode == write_back::yes) set_multi_text(name, otherwise);
    return otherwise;
}

void key::set_multi_text(std::u16string_view name, const text_list& lines) const {
    check_lines(name, lines);
    set_raw(name, multi_text_value(views_of(lines)));
}

std::shared_ptr<const line_views> key::shared_multi_text(std::u16string_view name) const {
    static const auto& no_lines = *new auto(std::make_shared<const line_views>());
    const std::lock_guard lock(lists_mutex_);
    const auto kept = lists_.find(name);
    platform::store::reading found;
    try {
        found = store()->read(path_, utf8_name(name),
                              kept == lists_.end() ? platform::value_stamp{} : kept->second.stamp);
    } catch (const store_error& error) {
        const bool empty =
            error.fault() == store_fault::key_deleted && action_ == when_missing::create;
        if (!empty) throw named_value_error("RegQueryValueEx", name, error.number());
    }
    if (!found.found) return no_lines;
    if (found.unchanged) return kept->second.lines;
    check_value(name, found.value, value_type::multi_text);
    const auto list = std::make_shared<const line_list>(found.value.bytes);
    std::shared_ptr<const line_views> lines(list, &list->lines());
    lists_.insert_or_assign(std::u16string(name), kept_list{found.stamp, lines});
    return lines;
}

void key::change_multi_text(std::u16string_view name,
                            const std::function<bool(line_list& lines)>& change) const {
    const auto change_value =
        [&](const std::optional<stored_value>& before) -> std::optional<stored_value> {
        if (before) check_value(name, *before, value_type::multi_text);
        line_list list(before ? std::string_view(before->bytes) : std::string_view());
        if (!change(list)) return std::nullopt;
        check_lines(name, list.added());
        return multi_text_value(list.lines());
    };
    try {
        reviving([&] { store()->update(path_, utf8_name(name), change_value); });
    } catch (const store_error& error) {
        throw named_value_error("RegSetValueEx", name, error.number());
    }
}

void key::add_to_integer(std::u16string_view name, std::uint32_t amount) const {
    try {
        if (reviving([&] { return store()->add(path_, utf8_name(name), amount); })) return;
    } catch (const store_error& error) {
        throw named_value_error("RegSetValueEx", name, error.number());
    }
    // What stands there is no 32-bit value, which reading it reports, or has no type.
    set_integer(name, get_integer(name, 0, write_back::no) + amount);
}

std::vector<std::u16string> key::value_names() const {
    try {
        return wide_names(store()->value_names(path_));
    } catch (const store_error& error) {
        throw handle_error("RegEnumValue", handle_, error.number());
    }
}

std::vector<std::u16string> key::key_names() const {
    try {
        return wide_names(store()->key_names(path_));
    } catch (const store_error& error) {
        throw handle_error("RegEnumKeyEx", handle_, error.number());
    }
}

key::counts key::query_info() const {
    try {
        return {store()->key_names(path_).size(), store()->value_names(path_).size()};
    } catch (const store_error& error) {
        throw handle_error("RegQueryInfoKey", handle_, error.number());
    }
}

void key::delete_value(std::u16string_view name) const {
    try {
        if (store()->delete_value(path_, utf8_name(name))) return;
    } catch (const store_error& error) {
        throw named_value_error("RegDeleteValue", name, error.number());
    }
    throw named_value_error("RegDeleteValue", name,
                            static_cast<std::int32_t>(store_fault::not_found));
}

void key::delete_key(std::u16string_view name) const {
    try {
        store()->delete_key(path_ + "\\" + utf8_name(name));
    } catch (const store_error& error) {
        throw named_key_error("RegDeleteKey", name, error.number());
    }
}

namespace {

// A key once made stays: threads that nobody waits for may use it while all are closed.
struct table_keys {
    struct slot {
        std::atomic<key*> open;  // null while it is closed
        std::unique_ptr<key> made;
    };

    std::mutex opening;  // taken to open and close
    std::array<slot, static_cast<std::size_t>(tree_key::count)> slots;
};

// Never destroyed, like the trees.
table_keys& open_keys() {
    static table_keys& all = *new table_keys;
    return all;
}

}  // namespace

const key& at(tree_key wanted) {
    table_keys& all = open_keys();
    table_keys::slot& slot = all.slots[static_cast<std::size_t>(wanted)];
    if (const key* const open = slot.open.load(std::memory_order_acquire)) return *open;
    const std::lock_guard lock(all.opening);
    if (const key* const open = slot.open.load(std::memory_order_relaxed)) return *open;
    const key_place& place = place_of(wanted);
    const when_missing action =
        place.root == predefined_root::current_user ? when_missing::create : when_missing::fail;
    auto opened = std::make_unique<key>(key(place.root), place.path, action);
    if (slot.made) {
        slot.made->open_like(*opened);
    } else {
        slot.made = std::move(opened);
    }
    slot.open.store(slot.made.get(), std::memory_order_release);
    return *slot.made;
}

std::uint32_t get_integer(const setting& row, write_back mode) {
    return at(row.key).get_integer(row.name, row.integer_default, mode);
}

std::u16string get_text(const setting& row, write_back mode) {
    return at(row.key).get_text(row.name, row.text_default, mode);
}

std::string get_utf8(const setting& row, write_back mode) {
    return platform::to_utf8(get_text(row, mode));
}

void close_all() {
    table_keys& all = open_keys();
    const std::lock_guard lock(all.opening);
    close_trees();
    for (table_keys::slot& slot : all.slots) {
        slot.open.store(nullptr, std::memory_order_release);
        if (slot.made) slot.made->close();
    }
}

}  // namespace replay::registry2
