#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>

#include "rules/sender_entry.h"

namespace brindlemoss::rules {

// A list of entries made ready for look-ups. Answers, and throws unpack_failed, exactly as a walk
// through the list from its first entry on does; the first look-up in a list is one, as many a list
// changes before there is a second. Not synchronised.
class sender_index {
public:
    explicit sender_index(entry_key read) : read_(read) {}

    // Takes the list in place of the one it had. Does nothing if that is the same object, which
    // must not change.
    void follow(std::shared_ptr<const line_views> entries);

    // The first entry with this key, if there is one. It lives as long as the list.
    std::optional<std::u16string_view> find(std::u16string_view key);

    // Whether `text` ends in the key of an entry; there need be no boundary before it.
    bool holds_end_of(std::u16string_view text);

private:
    void build();
    std::optional<std::u16string_view> find_by_walk(std::u16string_view key) const;
    void add(std::u16string_view key, std::size_t number);
    void require_all_read() const;

    entry_key read_;
    std::shared_ptr<const line_views> entries_;
    bool was_asked_ = false;
    bool is_built_ = false;            // what stands below is of these entries
    std::deque<std::u16string> keys_;  // those that do not stand in the list in normal form
    std::unordered_map<std::u16string_view, std::size_t> numbers_;
    std::set<std::size_t> key_sizes_;
    std::optional<std::size_t> broken_;  // the first entry that is; those behind it are not read
};

}  // namespace brindlemoss::rules
