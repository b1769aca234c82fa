#include "foundation/line_list.h"

#include <utility>

#include "foundation/registry_values.h"

namespace replay::registry2 {

line_list::line_list(std::string_view bytes)
    : read_(units_in(bytes)), lines_(lines_of_units(read_)) {}

void line_list::insert(line_views::const_iterator before, std::u16string&& line) {
    lines_.insert(before, added_.emplace_back(std::move(line)));
}

void line_list::replace(std::size_t place, std::u16string line) {
    lines_[place] = added_.emplace_back(std::move(line));
}

}  // namespace replay::registry2
