#include "rules/sender_index.h"

#include <utility>

namespace brindlemoss::rules {

void sender_index::follow(std::shared_ptr<const line_views> entries) {
    if (entries == entries_) return;
    entries_ = std::move(entries);
    is_built_ = false;
    was_asked_ = false;
}

void sender_index::build() {
    numbers_.clear();
    key_sizes_.clear();
    keys_.clear();
    broken_.reset();
    numbers_.reserve(entries_->size());
    for (std::size_t number = 0; number < entries_->size() && !broken_; ++number) {
        try {
            add(read_((*entries_)[number]), number);
        } catch (const unpack_failed&) {
            broken_ = number;
        }
    }
    is_built_ = true;
}

void sender_index::add(std::u16string_view key, std::size_t number) {
    std::u16string normal = normalized(key);
    if (normal != key) key = keys_.emplace_back(std::move(normal));
    numbers_.emplace(key, number);
    key_sizes_.insert(key.size());
}

std::optional<std::u16string_view> sender_index::find(std::u16string_view key) {
    if (!is_built_ && !std::exchange(was_asked_, true)) return find_by_walk(key);
    if (!is_built_) build();
    const auto found = numbers_.find(key);
    if (found != numbers_.end()) return (*entries_)[found->second];
    require_all_read();
    return std::nullopt;
}

std::optional<std::u16string_view> sender_index::find_by_walk(std::u16string_view key) const {
    const auto found = find_entry(*entries_, key, read_);
    if (found == entries_->end()) return std::nullopt;
    return *found;
}

bool sender_index::holds_end_of(std::u16string_view text) {
    if (!is_built_) build();
    for (const std::size_t size : key_sizes_) {
        if (size > text.size()) break;
        if (numbers_.contains(text.substr(text.size() - size))) return true;
    }
    require_all_read();
    return false;
}

void sender_index::require_all_read() const {
    if (broken_) read_((*entries_)[*broken_]);
}

}  // namespace brindlemoss::rules
