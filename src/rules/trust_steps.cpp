#include "rules/trust_steps.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace brindlemoss::rules {

namespace {

std::u16string with_one_more(std::u16string_view entry, std::u16string_view name,
                             std::u16string_view address) {
    const trust_entry before = unpack_trust(entry);
    return pack(trust_entry{name, address, before.count + 1, before.first_seen});
}

std::u16string first_step(std::u16string_view name, std::u16string_view address,
                          std::uint32_t now) {
    return pack(trust_entry{name, address, 1, now});
}

}  // namespace

void add_step(line_list& entries, std::u16string_view name, std::u16string_view address,
              std::uint32_t now) {
    const line_views& lines = entries.lines();
    const auto found = find_entry(lines, address, trusted_address_of);
    if (found == lines.end()) return insert_sorted(entries, first_step(name, address, now));
    entries.replace(static_cast<std::size_t>(found - lines.begin()),
                    with_one_more(*found, name, address));
}

trust_steps::trust_steps(line_list& entries) : entries_(entries) {
    const line_views& lines = entries.lines();
    for (std::size_t place = 0; place < lines.size(); ++place) {
        try {
            places_[normalized(trusted_address_of(lines[place]))].push_back(place);
        } catch (const unpack_failed&) {
            broken_ = lines[place];
            return;
        }
    }
}

void trust_steps::add(std::u16string_view name, const std::u16string& address, std::uint32_t now) {
    const auto known = places_.find(address);
    if (known == places_.end()) {
        if (broken_) trusted_address_of(*broken_);  // throws
        return append(first_step(name, address, now));
    }
    std::vector<std::size_t>& all = known->second;
    const auto first = std::min_element(
        all.begin(), all.end(),
        [this](std::size_t left, std::size_t right) { return stands_before(left, right); });
    const std::size_t place = *first;
    all.erase(first);
    if (all.empty()) places_.erase(known);
    rewrite(place, with_one_more(entries_.lines()[place], name, address));
}

void trust_steps::append(std::u16string entry) {
    entries_.push_back(std::move(entry));
    const line_views& lines = entries_.lines();
    places_[normalized(trusted_address_of(lines.back()))].push_back(lines.size() - 1);
    rewritten_.clear();
    is_to_sort_ = true;
}

// A tab in the new name may make it the entry of another address.
void trust_steps::rewrite(std::size_t place, std::u16string entry) {
    places_[normalized(trusted_address_of(entry))].push_back(place);
    if (is_to_sort_) rewritten_.try_emplace(place, entries_.lines()[place]);
    entries_.replace(place, std::move(entry));
}

void trust_steps::finish() {
    if (!is_to_sort_) return;
    const line_views& lines = entries_.lines();
    std::vector<std::size_t> order(lines.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::sort(order.begin(), order.end(),
              [this](std::size_t left, std::size_t right) { return stands_before(left, right); });
    line_views sorted;
    sorted.reserve(lines.size());
    for (const std::size_t place : order) sorted.push_back(lines[place]);
    entries_.set_lines(std::move(sorted));
}

// Of two entries that were equal the one that was rewritten stood before: the first one is.
bool trust_steps::stands_before(std::size_t left, std::size_t right) const {
    if (!is_to_sort_) return left < right;
    const int order = sorted_as(left).compare(sorted_as(right));
    if (order != 0) return order < 0;
    const bool left_is_rewritten = rewritten_.contains(left);
    return left_is_rewritten != rewritten_.contains(right) ? left_is_rewritten : left < right;
}

std::u16string_view trust_steps::sorted_as(std::size_t place) const {
    const auto before = rewritten_.find(place);
    return before == rewritten_.end() ? entries_.lines()[place] : before->second;
}

}  // namespace brindlemoss::rules
