#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace brindlemoss::analysis::plugins::text_analysis {

// A hash that a sender cannot foresee, so that no choice of words makes a table of them slow. The
// same for all of the process.
class secret_hash {
public:
    secret_hash();

    std::uint32_t operator()(std::u16string_view word) const noexcept {
        constexpr std::size_t units_a_step = sizeof(std::uint64_t) / sizeof(char16_t);
        std::uint64_t state = first_key_ ^ word.size();
        const char16_t* unit = word.data();
        std::size_t left = word.size();
        for (; left >= units_a_step; left -= units_a_step, unit += units_a_step) {
            std::uint64_t step;
            std::memcpy(&step, unit, sizeof step);
            state = mixed(state ^ step);
        }
        std::uint64_t rest = 0;
        for (; left > 0; --left) rest = rest << 16 | *unit++;
        return static_cast<std::uint32_t>(mixed(state ^ rest));
    }

    std::uint32_t operator()(std::uint32_t number) const noexcept {
        return static_cast<std::uint32_t>(mixed(first_key_ ^ number));
    }

private:
    // Both halves of the product, so that every bit of the state acts on every bit of the next.
    std::uint64_t mixed(std::uint64_t state) const noexcept {
        __extension__ using wide = unsigned __int128;
        const wide product = static_cast<wide>(state) * second_key_;
        return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
    }

    std::uint64_t first_key_;
    std::uint64_t second_key_;
};

// Numbers the different words of a list from 0 in the order in which they are added. `Words` gives
// a word by its index as something that std::u16string_view takes; the list must outlive the table,
// and what was added must stay as it is. Takes 15 to 25 bytes a different word, and while it grows
// half as many again.
template <class Words>
class word_table {
public:
    explicit word_table(const Words& words) : words_(words), slots_(first_size(words.size())) {}

    std::size_t size() const { return first_index_.size(); }

    std::uint32_t hash(std::u16string_view word) const noexcept { return hash_(word); }

    // Has the memory brought near that add() and find() with this hash will touch.
    void prefetch(std::uint32_t hash) const { __builtin_prefetch(&slots_[home_of(hash)]); }

    // The number of the word at `index`, whose hash is `hash`; a new one if it is the first.
    std::uint32_t add(std::uint32_t index, std::uint32_t hash) {
        slot& place = slot_of(words_[index], hash);
        if (!place.is_free()) return place.number();
        const std::uint32_t number = static_cast<std::uint32_t>(size());
        place = {hash, number + 1};
        first_index_.push_back(index);
        if (size() > slots_.size() / 4 * 3) grow();
        return number;
    }

    std::optional<std::uint32_t> find(std::u16string_view word, std::uint32_t hash) {
        const slot& place = slot_of(word, hash);
        if (place.is_free()) return std::nullopt;
        return place.number();
    }

private:
    struct slot {
        std::uint32_t hash = 0;
        std::uint32_t number_and_one = 0;

        bool is_free() const { return number_and_one == 0; }
        std::uint32_t number() const { return number_and_one - 1; }
    };

    // Large lists may hold few different words.
    static std::size_t first_size(std::size_t words) {
        constexpr std::size_t fewest = 16;
        constexpr std::size_t most = 4096;
        return std::bit_ceil(std::clamp(words * 2, fewest, most));
    }

    // Where the word stands, or the free slot that it belongs to.
    slot& slot_of(std::u16string_view word, std::uint32_t hash) {
        std::size_t at = home_of(hash);
        while (!slots_[at].is_free() &&
               !(slots_[at].hash == hash && is_word(slots_[at].number(), word))) {
            at = behind(at);
        }
        return slots_[at];
    }

    bool is_word(std::uint32_t number, std::u16string_view word) const {
        const std::u16string_view known = words_[first_index_[number]];
        return known.size() == word.size() &&
               std::memcmp(known.data(), word.data(), word.size() * sizeof(char16_t)) == 0;
    }

    void grow() {
        const std::vector<slot> old = std::exchange(slots_, std::vector<slot>(slots_.size() * 2));
        for (const slot& moved : old) {
            if (moved.is_free()) continue;
            std::size_t at = home_of(moved.hash);
            while (!slots_[at].is_free()) at = behind(at);
            slots_[at] = moved;
        }
    }

    std::size_t home_of(std::uint32_t hash) const { return hash & (slots_.size() - 1); }
    std::size_t behind(std::size_t at) const { return (at + 1) & (slots_.size() - 1); }

    const Words& words_;
    secret_hash hash_;
    std::vector<slot> slots_;                 // a power of two, at most three quarters in use
    std::vector<std::uint32_t> first_index_;  // by number
};

}  // namespace brindlemoss::analysis::plugins::text_analysis
