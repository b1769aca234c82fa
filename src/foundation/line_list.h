#pragma once

#include <algorithm>
#include <cstddef>
#include <deque>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace replay::registry2 {

using line_views = std::vector<std::u16string_view>;

// The lines of a list while they are changed. They are views, into the text that was read and into
// lines that came in later, so that a line of a long list costs no allocation. A view is good as
// long as this object, even when its line is no longer in the list. Not synchronised; throws only
// std::bad_alloc.
class line_list {
public:
    // Those of a stored value of type value_type::multi_text.
    explicit line_list(std::string_view bytes);

    line_list(const line_list&) = delete;
    line_list& operator=(const line_list&) = delete;

    const line_views& lines() const noexcept { return lines_; }

    void insert(line_views::const_iterator before, std::u16string&& line);
    void push_back(std::u16string line) { insert(lines_.end(), std::move(line)); }
    void replace(std::size_t place, std::u16string line);
    void erase(line_views::const_iterator line) { lines_.erase(line); }
    void sort() { std::sort(lines_.begin(), lines_.end()); }

    // Lines of this list: in another order, or not all of them.
    void set_lines(line_views lines) { lines_ = std::move(lines); }

    // All that ever came in by insert() and replace().
    const std::deque<std::u16string>& added() const noexcept { return added_; }

private:
    const std::u16string read_;
    std::deque<std::u16string> added_;
    line_views lines_;
};

}  // namespace replay::registry2
