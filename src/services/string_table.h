#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace brindlemoss::services {

// The texts of one language file: text in UTF-8 of the form
//
//     [Group]
//     Item = Text
//
// with LF or CR LF behind each line. Case does not count in groups and items, and white space does
// not around items and texts. Of two equal items the later one counts. A text may hold "=". What
// stands in front of the first group belongs to the group with the empty name; lines of any other
// form are passed over.
//
// Bytes that are no UTF-8 read as U+FFFD. A byte order mark in front of the first line is no part
// of it. A line may be of any length.
class string_table {
public:
    using items = std::map<std::u16string, std::u16string, std::less<>>;
    using groups = std::map<std::u16string, items, std::less<>>;

    // A larger file, in bytes, counts as one that cannot be opened.
    static constexpr std::size_t most_file_bytes = std::size_t{16} << 20;

    string_table() = default;

    // The texts in these bytes. Takes linear time.
    explicit string_table(std::string_view bytes);

    // Those of a file, none at all when it cannot be opened or is no regular file. Throws only
    // std::bad_alloc.
    static string_table read(const std::string& path);

    // nullptr when there is no such text. Both names must be in lower case. The text stands as long
    // as the table.
    const std::u16string* find(std::u16string_view group, std::u16string_view item) const;

    // All texts, by groups and items in lower case.
    const groups& all() const { return groups_; }

private:
    groups groups_;
};

}  // namespace brindlemoss::services
