#include "rules/sender_index.h"

#include <utility>

namespace brindlemoss::rules {

void sender_index::follow(std::shared_ptr<const text_list> entries) {
    if (entries == entries_) return;
    entries_.reset();  // if memory runs out below, the next call begins anew
    numbers_.clear();
    key_sizes_.clear();
    keys_.clear();
    broken_.reset();
    numbers_.reserve(entries->size());
    for (std::size_t number = 0; number < entries->size() && !broken_; ++number) {
        try {
            add(read_((*entries)[number]), number);
        } catch (const unpack_failed&) {
            broken_ = number;
        }
    }
    entries_ = std::move(entries);
}

void sender_index::add(std::u16string_view key, std::size_t number) {
    std::u16string normal = normalized(key);
    if (normal != key) key = keys_.emplace_back(std::move(normal));
    numbers_.emplace(key, number);
    key_sizes_.insert(key.size());
}

const std::u16string* sender_index::find(std::u16string_view key) const {
    const auto found = numbers_.find(key);
    if (found != numbers_.end()) return &(*entries_)[found->second];
    require_all_read();
    return nullptr;
}

bool sender_index::holds_end_of(std::u16string_view text) const {
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
