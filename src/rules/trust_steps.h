#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "rules/sender_entry.h"

namespace brindlemoss::rules {

// Adds a step to the first entry of an address, which keeps its place even if its new name belongs
// elsewhere, or adds an entry and sorts. Throws unpack_failed at a broken entry before it.
void add_step(line_list& entries, std::u16string_view name, std::u16string_view address,
              std::uint32_t now);

// Many calls of add_step() on one list, with their outcome, in time that grows with the list and
// the number of calls and not with their product. A message may name 100,000 people.
class trust_steps {
public:
    explicit trust_steps(line_list& entries);

    void add(std::u16string_view name, const std::u16string& address, std::uint32_t now);

    // Brings the list in order; to be called once, also when add() has thrown.
    void finish();

private:
    void append(std::u16string entry);
    void rewrite(std::size_t place, std::u16string entry);
    bool stands_before(std::size_t left, std::size_t right) const;
    std::u16string_view sorted_as(std::size_t place) const;

    line_list& entries_;
    std::unordered_map<std::u16string, std::vector<std::size_t>> places_;
    std::optional<std::u16string_view> broken_;  // the first entry that is

    // Sorting is put off to the end. Until then what was rewritten behind the last addition is
    // known as it was when the list would have been sorted.
    bool is_to_sort_ = false;
    std::unordered_map<std::size_t, std::u16string_view> rewritten_;
};

}  // namespace brindlemoss::rules
