#pragma once

#include <cstddef>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>

namespace replay::internet::message2 {

// One header of a part as it was read: unfolded, not decoded. The views live as long as the list
// is neither changed nor destroyed.
struct header {
    std::string_view name;
    std::string_view value;
};

// The headers of a part in order of appearance.
//
// All of them stand in one string, each behind the two lengths of its name and value, so that a
// list costs one allocation and little more than its text: mail can hold a header in every two
// bytes. Names are compared without regard to case; look-ups go through the list from the start.
class header_list {
public:
    class iterator {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = header;
        using difference_type = std::ptrdiff_t;
        using pointer = const header*;
        using reference = const header&;

        iterator() = default;

        reference operator*() const { return current_; }
        pointer operator->() const { return &current_; }
        iterator& operator++();
        iterator operator++(int);
        // Only iterators of one list are compared.
        bool operator==(const iterator& other) const { return position_ == other.position_; }

    private:
        friend class header_list;
        iterator(const char* position, const char* end);
        void read();

        const char* position_ = nullptr;
        const char* end_ = nullptr;
        const char* next_ = nullptr;
        header current_;
    };

    iterator begin() const;
    iterator end() const;
    bool empty() const { return packed_.empty(); }

    // The raw value of the first header of that name.
    std::optional<std::string_view> find(std::string_view name) const;

    // Neither text may be a view into this list.
    void add(std::string_view name, std::string_view value);

    // Drops every header of that name.
    void remove(std::string_view name);

    // Makes room for about `size_in_bytes` of names and values in one step.
    void reserve(std::size_t size_in_bytes) { packed_.reserve(size_in_bytes); }

    bool operator==(const header_list&) const = default;

private:
    std::string packed_;
};

}  // namespace replay::internet::message2
