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

void add_step(text_list& entries, std::u16string_view name, std::u16string_view address,
              std::uint32_t now) {
    const auto found = find_entry(entries, address, trusted_address_of);
    if (found == entries.end()) return insert_sorted(entries, first_step(name, address, now));
    entries[static_cast<std::size_t>(found - entries.begin())] =
        with_one_more(*found, name, address);
}

trust_steps::trust_steps(text_list& entries) : entries_(entries) {
    for (std::size_t place = 0; place < entries.size(); ++place) {
        try {
            places_[normalized(trusted_address_of(entries[place]))].push_back(place);
        } catch (const unpack_failed&) {
            broken_ = &entries[place];
            return;
        }
    }
}

void trust_steps::add(std::u16string_view name, const std::u16string& address, std::uint32_t now) {
    const auto known = places_.find(address);
    if (known == places_.end()) {
        if (broken_ != nullptr) trusted_address_of(*broken_);  // throws
        return append(first_step(name, address, now));
    }
    std::vector<std::size_t>& all = known->second;
    const auto first = std::min_element(
        all.begin(), all.end(),
        [this](std::size_t left, std::size_t right) { return stands_before(left, right); });
    const std::size_t place = *first;
    all.erase(first);
    if (all.empty()) places_.erase(known);
    rewrite(place, with_one_more(entries_[place], name, address));
}

void trust_steps::append(std::u16string entry) {
    entries_.push_back(std::move(entry));
    places_[normalized(trusted_address_of(entries_.back()))].push_back(entries_.size() - 1);
    rewritten_.clear();
    is_to_sort_ = true;
}

// A tab in the new name may make it the entry of another address.
void trust_steps::rewrite(std::size_t place, std::u16string entry) {
    places_[normalized(trusted_address_of(entry))].push_back(place);
    if (is_to_sort_) rewritten_.try_emplace(place, entries_[place]);
    entries_[place] = std::move(entry);
}

void trust_steps::finish() {
    if (!is_to_sort_) return;
    std::vector<std::size_t> order(entries_.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::sort(order.begin(), order.end(),
              [this](std::size_t left, std::size_t right) { return stands_before(left, right); });
    text_list sorted;
    sorted.reserve(entries_.size());
    for (const std::size_t place : order) sorted.push_back(std::move(entries_[place]));
    entries_ = std::move(sorted);
}

// Of two entries that were equal the one that was rewritten stood before: the first one is.
bool trust_steps::stands_before(std::size_t left, std::size_t right) const {
    if (!is_to_sort_) return left < right;
    const int order = sorted_as(left).compare(sorted_as(right));
    if (order != 0) return order < 0;
    const bool left_is_rewritten = rewritten_.contains(left);
    return left_is_rewritten != rewritten_.contains(right) ? left_is_rewritten : left < right;
}

const std::u16string& trust_steps::sorted_as(std::size_t place) const {
    const auto before = rewritten_.find(place);
    return before == rewritten_.end() ? entries_[place] : before->second;
}

}  // namespace brindlemoss::rules
