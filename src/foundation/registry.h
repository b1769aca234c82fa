#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/exception.h"
#include "foundation/line_list.h"
#include "foundation/registry_tree.h"
#include "platform/store.h"

// The lasting state of the program: keys with typed values, in one tree for the machine and one for
// the user. Names, types and defaults stand in registry_tree.h, how a tree is kept in
// platform/store.h: names without regard to case, what another process wrote seen at once.
//
// The numbers in the texts of exceptions are those of platform::store_fault. Names stand in them
// byte for byte, "?" for a character above 255.
namespace replay::registry2 {

class generic : public replay::exception {
public:
    explicit generic(std::string message) : exception(std::move(message)) {
        append_domain("registry2");
    }
};

class key_error : public generic {
public:
    key_error(std::string message, std::int32_t number);
    std::int32_t number() const noexcept { return number_; }

private:
    std::int32_t number_;
};

class value_error : public generic {
public:
    value_error(std::string message, std::int32_t number);
    std::int32_t number() const noexcept { return number_; }

private:
    std::int32_t number_;
};

class type_mismatch : public generic {
public:
    explicit type_mismatch(std::string message);
};

class size_mismatch : public generic {
public:
    explicit size_mismatch(std::string message);
};

enum class when_missing { fail, create };

// Whether a default stands in the store from then on.
enum class write_back { no, yes };

using text_list = std::vector<std::u16string>;

// An open key. Any thread may use it. It keeps its store open, not its parent.
//
// A key that was removed while open throws with number 1018, until it is there again; one opened
// with when_missing::create is made again by whatever is written to it, and reads as empty.
//
// Reading a missing value gives the default. Otherwise it throws type_mismatch when the value has
// another type (an expandable text is a text too, a value without a type is anything), and
// size_mismatch when a 32-bit value or a binary one in its place has not 4 bytes. Failures of the
// store throw value_error. Writing throws value_error too, with number 5 where only reading is
// allowed.
class key {
public:
    // Throws key_error when the tree cannot be opened.
    explicit key(predefined_root root);

    // A key below `parent`; `name` may lead over several, with "\" between them. Where the store
    // may not be written the key can still be opened, but not with when_missing::create: that
    // throws key_error even if the key is there.
    key(const key& parent, std::u16string_view name, when_missing action);

    key(const key&) = delete;
    key& operator=(const key&) = delete;

    std::uint32_t get_integer(std::u16string_view name, std::uint32_t otherwise,
                              write_back mode) const;
    void set_integer(std::u16string_view name, std::uint32_t value) const;
    void set_integer64(std::u16string_view name, std::uint64_t value) const;

    std::u16string get_text(std::u16string_view name, std::u16string_view otherwise,
                            write_back mode) const;
    void set_text(std::u16string_view name, std::u16string_view text) const;

    // The same with one byte a character; reading gives "?" for a character above 255.
    std::string get_bytes_text(std::u16string_view name, std::string_view otherwise,
                               write_back mode) const;
    void set_bytes_text(std::u16string_view name, std::string_view text) const;

    // `bytes` stays as it is when there is no such value.
    void get_binary(std::u16string_view name, std::string& bytes) const;
    void set_binary(std::u16string_view name, std::string_view bytes) const;

    // A list ends at its first empty line. Writing one with an empty line throws value_error
    // "MULTI_SZ may not contain empty lines"; one with a NUL in a line, which would be split there
    // or end the list, throws it with number 87. Both leave the old list in place.
    text_list get_multi_text(std::u16string_view name, const text_list& otherwise,
                             write_back mode) const;
    void set_multi_text(std::u16string_view name, const text_list& lines) const;

    // The list as get_multi_text() gives it, empty when missing. While nobody has written it, each
    // call gives the same object, so what a caller makes of it can be kept as long as the pointers
    // are equal. For long lists that are read often. The lines live as long as the list.
    std::shared_ptr<const line_views> shared_multi_text(std::u16string_view name) const;

    // Reads, changes and writes a list while no other process writes. `change` tells whether it
    // changed anything; it may be called again, and may not use the registry.
    void change_multi_text(std::u16string_view name,
                           const std::function<bool(line_list& lines)>& change) const;

    // Adds to a 32-bit value in one step; the sum wraps. A missing value counts as 0.
    void add_to_integer(std::u16string_view name, std::uint32_t amount) const;

    // A value of any type as it is kept (platform::value_type), for tools.
    std::optional<platform::stored_value> get_raw(std::u16string_view name) const;
    void set_raw(std::u16string_view name, const platform::stored_value& value) const;

    // In the order in which they were first written. Throw key_error.
    std::vector<std::u16string> value_names() const;
    std::vector<std::u16string> key_names() const;

    struct counts {
        std::size_t subkeys;
        std::size_t values;
    };
    counts query_info() const;

    void delete_value(std::u16string_view name) const;  // a missing one throws: number 2

    // With its values; one with keys below it stays: number 5, a missing one: 2.
    void delete_key(std::u16string_view name) const;

private:
    struct kept_list {
        platform::value_stamp stamp;
        std::shared_ptr<const line_views> lines;
    };

    std::optional<platform::stored_value> query(std::u16string_view name, std::int32_t type) const;
    template <typename work>
    auto reviving(work&& do_work) const;

    friend const key& at(tree_key key);
    friend void close_all();
    std::shared_ptr<platform::store> store() const;
    void close();
    void open_like(const key& other);

    mutable std::mutex store_mutex_;
    mutable std::shared_ptr<platform::store> store_;  // guarded by store_mutex_; null once closed

    predefined_root root_;
    std::string path_;
    std::int32_t handle_;
    when_missing action_;

    mutable std::mutex lists_mutex_;
    mutable std::map<std::u16string, kept_list, std::less<>> lists_;  // guarded by lists_mutex_
};

// The keys of the table. Each is opened when it is first asked for, rather than when the library is
// loaded, where nothing may wait or fail; it stays open until close_all(), and can be used for
// ever. Throws key_error, and tries again at the next call.
const key& at(tree_key key);

// Values of the table, with its defaults: get_integer(setting_of(tree_key::user_thresholds,
// u"Filter"), write_back::yes).
std::uint32_t get_integer(const setting& row, write_back mode);
std::u16string get_text(const setting& row, write_back mode);
std::string get_utf8(const setting& row, write_back mode);  // U+FFFD for a lone surrogate

// The file that holds a tree. The machine's is "machine.store" in its folder; where there is none
// that may be read and none can be made, in the user's. One that the program makes begins with the
// tree that an installer would lay, with "Refresh" 0: it searches for no servers.
std::string store_file(predefined_root root);

// Whom the stores tell what the user should know, in one line of UTF-8; standard error when empty.
// It counts for the trees that are opened from then on, and may not use the registry.
void set_message_sink(std::function<void(std::string_view)> sink);

// Closes the keys of the table and the trees, once the operations under way are through. The next
// call opens them again, where paths leads to by then; so does a key that at() gave before.
void close_all();

}  // namespace replay::registry2
