#include "analysis/plugins/folded_words.h"

#include <array>
#include <bit>
#include <string_view>
#include <utility>
#include <vector>

#include "analysis/plugins/word_table.h"

namespace brindlemoss::analysis::plugins::text_analysis {
namespace {

constexpr std::size_t ascii_units = 128;

constexpr std::array<char16_t, ascii_units> make_look_alikes() {
    std::array<char16_t, ascii_units> table{};
    for (std::size_t unit = 0; unit < table.size(); ++unit) {
        table[unit] = static_cast<char16_t>(unit);
    }
    for (const auto& [unit, letter] : {
             std::pair{u'|', u'i'},
             {u'$', u's'},
             {u'l', u'i'},
             {u'0', u'o'},
             {u'1', u'i'},
             {u'3', u'e'},
             {u'4', u'a'},
             {u'7', u't'},
             {u'8', u'b'},
         }) {
        table[unit] = letter;
    }
    return table;
}

constexpr std::array<char16_t, ascii_units> look_alikes = make_look_alikes();

// The letter that a unit looks like, or itself.
char16_t look_alike(char16_t unit) {
    constexpr char16_t euro_sign = 0x20AC;
    if (unit < look_alikes.size()) return look_alikes[unit];
    return unit == euro_sign ? u'e' : unit;
}

template <class Take>
void for_each_bit(std::uint64_t bits, Take take) {
    for (; bits != 0; bits &= bits - 1) take(static_cast<unsigned>(std::countr_zero(bits)));
}

// A set of units in three levels of bits: adding one is a fixed cost, listing them costs their
// number and never the whole range, so that words of any length fold in linear time.
class unit_set {
public:
    void add(char16_t unit) {
        bits_[unit >> 6] |= bit(unit);
        words_in_use_[unit >> 12] |= bit(unit >> 6);
        groups_in_use_ |= bit(unit >> 12);
    }

    // Writes the units in ascending order, empties the set, and gives their number.
    std::size_t move_to(char16_t* out) {
        const char16_t* const begin = out;
        for_each_bit(std::exchange(groups_in_use_, 0), [&](unsigned group) {
            for_each_bit(std::exchange(words_in_use_[group], 0), [&](unsigned word_in_group) {
                const unsigned word = group << 6 | word_in_group;
                for_each_bit(std::exchange(bits_[word], 0), [&](unsigned unit_in_word) {
                    *out++ = static_cast<char16_t>(word << 6 | unit_in_word);
                });
            });
        });
        return static_cast<std::size_t>(out - begin);
    }

private:
    static std::uint64_t bit(unsigned number) { return std::uint64_t{1} << (number & 63); }

    std::array<std::uint64_t, 1024> bits_{};
    std::array<std::uint64_t, 16> words_in_use_{};
    std::uint64_t groups_in_use_ = 0;
};

// What nearly all words fold to: a set of these fits into the bits of a number.
constexpr std::u16string_view plain_letters = u"2569abcdefghijkmnopqrstuvwxyz";
constexpr std::uint32_t other_word = 0x8000'0000;  // above all sets of plain letters

constexpr std::array<std::uint32_t, ascii_units> make_plain_sets() {
    std::array<std::uint32_t, ascii_units> sets{};
    for (std::size_t unit = 0; unit < sets.size(); ++unit) {
        const std::size_t place = plain_letters.find(look_alikes[unit]);
        sets[unit] = place == plain_letters.npos ? other_word : std::uint32_t{1} << place;
    }
    return sets;
}

constexpr std::array<std::uint32_t, ascii_units> plain_sets = make_plain_sets();

// The letters of a word as bits of a number; other_word or above where it has others.
std::uint32_t plain_set_of(std::u16string_view word) {
    char16_t all = 0;
    std::uint32_t set = 0;
    for (const char16_t unit : word) {
        all = static_cast<char16_t>(all | unit);
        set |= plain_sets[unit % ascii_units];
    }
    return all < ascii_units ? set : other_word;
}

}  // namespace

// The different words that hold more than plain letters, numbered as they come.
class folded_words::other_words {
public:
    std::uint32_t number_of(std::u16string_view word) {
        for (const char16_t unit : word) letters_.add(look_alike(unit));
        const std::size_t begin = texts_.units.size();
        texts_.units.resize(begin + word.size());
        texts_.units.resize(begin + letters_.move_to(texts_.units.data() + begin));
        texts_.ends.push_back(texts_.units.size());
        const auto last = static_cast<std::uint32_t>(texts_.size() - 1);
        const std::uint32_t number = table_.add(last, table_.hash(texts_[last]));
        if (number != last) {
            texts_.ends.pop_back();
            texts_.units.resize(begin);
        }
        return number;
    }

    std::u16string_view operator[](std::size_t number) const { return texts_[number]; }

private:
    struct text_list {
        std::size_t size() const { return ends.size(); }
        std::u16string_view operator[](std::size_t index) const {
            const std::size_t begin = index == 0 ? 0 : ends[index - 1];
            return std::u16string_view(units).substr(begin, ends[index] - begin);
        }

        std::u16string units;
        std::vector<std::size_t> ends;
    };

    unit_set letters_;
    text_list texts_;
    word_table<text_list> table_{texts_};
};

folded_words::folded_words(const token_list& words)
    : size_(words.size()), identities_(std::make_unique_for_overwrite<std::uint32_t[]>(size_)) {
    for (std::size_t i = 0; i < size_; ++i) {
        const std::u16string_view word = words[i];
        identities_[i] = plain_set_of(word);
        if (identities_[i] < other_word) continue;
        if (!others_) others_ = std::make_unique<other_words>();
        identities_[i] = other_word | others_->number_of(word);
    }
}

folded_words::~folded_words() = default;

std::size_t folded_words::length(std::size_t index) const noexcept {
    const std::uint32_t identity = identities_[index];
    if (identity >= other_word) return (*others_)[identity ^ other_word].size();
    return static_cast<std::size_t>(std::popcount(identity));
}

void folded_words::append_to(std::u16string& text, std::size_t index) const {
    const std::uint32_t identity = identities_[index];
    if (identity >= other_word) {
        text.append((*others_)[identity ^ other_word]);
    } else {
        for_each_bit(identity, [&](unsigned place) { text += plain_letters[place]; });
    }
}

}  // namespace brindlemoss::analysis::plugins::text_analysis
