#include "analysis/plugins/tokens.h"

#include <algorithm>
#include <functional>
#include <limits>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "analysis/plugins/word_table.h"
#include "analysis/report_text.h"
#include "foundation/ascii.h"
#include "message/character_set.h"
#include "message/header_value.h"
#include "platform/character_class.h"

namespace brindlemoss::analysis::plugins::text_analysis {
namespace {

namespace character_class = replay::platform::character_class;
using replay::internet::message2::part;
using replay::internet::message2::header_type::addresses_value_type;

constexpr std::size_t most_customised_words = 3;
constexpr std::size_t most_permutated_tokens = 3;

void push_word_test(test_list& tests, std::u16string_view name, std::u16string_view word) {
    constexpr std::int32_t score = 5;
    push_test(tests, std::u16string(name), score, joined({u"Token: \"", word, u"\""}));
}

// What stands before the "@", those in front not counted.
std::string_view local_part(std::string_view address) {
    const std::size_t begin = address.find_first_not_of('@');
    if (begin == std::string_view::npos) return {};
    return address.substr(begin, address.find('@', begin) - begin);
}

void append_local_parts(const part& root, std::string_view header,
                        std::vector<std::u16string>& local_parts) {
    addresses_value_type value;
    try {
        root.find_header(header, value);
    } catch (const replay::unicode::generic&) {
        return;
    }
    for (const auto& record : value.addresses()) {
        const std::string_view name = local_part(record.address);
        if (!name.empty()) local_parts.push_back(widen(replay::ascii::to_lower(name)));
    }
}

// Where words of a small list stand in a large one.
class occurrence_table {
public:
    explicit occurrence_table(const std::vector<std::u16string>& wanted) : table_(wanted) {
        for (std::uint32_t i = 0; i < wanted.size(); ++i) {
            table_.add(i, table_.hash(wanted[i]));
            lengths_ |= length_bit(wanted[i]);
        }
        occurrences_.resize(table_.size());
    }

    void count(const token_list& tokens) {
        for (std::size_t i = 0; i < tokens.size(); ++i) {
            const std::u16string_view token = tokens[i];
            if ((lengths_ & length_bit(token)) == 0) continue;
            const auto number = table_.find(token, table_.hash(token));
            if (!number) continue;
            ++occurrences_[*number].count;
            occurrences_[*number].last = i;
        }
    }

    // Where `word`, one of those wanted, stands if it stands nowhere else; not twice.
    std::optional<std::size_t> take_only_one(std::u16string_view word) {
        occurrence& found = occurrences_[*table_.find(word, table_.hash(word))];
        if (found.count != 1) return std::nullopt;
        found.count = 0;
        return found.last;
    }

private:
    struct occurrence {
        std::size_t count = 0;
        std::size_t last = 0;
    };

    // Most words are told apart by their length.
    static std::uint64_t length_bit(std::u16string_view word) {
        return std::uint64_t{1} << std::min<std::size_t>(word.size(), 63);
    }

    word_table<std::vector<std::u16string>> table_;
    std::vector<occurrence> occurrences_;
    std::uint64_t lengths_ = 0;
};

// Digits are looked for in blocks that compilers make a loop of vector instructions of.
std::size_t find_digit(std::u16string_view units, std::size_t from) {
    constexpr std::size_t block_units = 32;
    const auto digit_bit = [](char16_t unit) {
        return static_cast<char16_t>(static_cast<char16_t>(unit - u'0') < 10 ? 1 : 0);
    };
    for (; units.size() - from >= block_units; from += block_units) {
        char16_t found = 0;
        for (std::size_t i = 0; i < block_units; ++i) {
            found = static_cast<char16_t>(found | digit_bit(units.data()[from + i]));
        }
        if (found != 0) break;
    }
    while (from < units.size() && digit_bit(units[from]) == 0) ++from;
    return from;
}

constexpr std::size_t ascii_units = 128;

// Long enough for compilers to make a loop of vector instructions of it.
constexpr std::size_t block_units = 32;

bool is_ascii_block(const char16_t* block) {
    char16_t all = 0;
    for (std::size_t i = 0; i < block_units; ++i) all = static_cast<char16_t>(all | block[i]);
    return all < ascii_units;
}

// What character_table says of ASCII.
void normalise_ascii_block(char16_t* block) {
    for (std::size_t i = 0; i < block_units; ++i) {
        const char16_t unit = block[i];
        const bool is_upper = static_cast<char16_t>(unit - u'A') < 26;
        const bool is_control = unit < u' ' || unit == 0x7F;
        const char16_t lower = static_cast<char16_t>(is_upper ? unit | 0x20 : unit);
        block[i] = is_control ? u' ' : lower;
    }
}

}  // namespace

void normalise(std::u16string& text) {
    const auto& characters = replay::platform::characters();
    constexpr auto blanks = character_class::space | character_class::control;
    const std::span<char16_t> units(text);
    for (std::size_t at = 0; at < units.size(); at += block_units) {
        const auto block = units.subspan(at, std::min(block_units, units.size() - at));
        if (block.size() == block_units && is_ascii_block(block.data())) {
            normalise_ascii_block(block.data());
            continue;
        }
        for (char16_t& unit : block) {
            unit = (characters.classes(unit) & blanks) != 0 ? u' ' : characters.to_lower(unit);
        }
    }
}

token_list::token_list(std::u16string_view normalised) {
    if (normalised.size() > std::numeric_limits<std::uint32_t>::max()) {
        throw std::length_error("token_list");
    }
    // Room for the most words there can be, one unit and a blank each, and for one unit and one
    // bound that are written ahead. What is never written costs no memory in a large text.
    units_ = std::make_unique_for_overwrite<char16_t[]>(normalised.size() + 1);
    bounds_ = std::make_unique_for_overwrite<std::uint32_t[]>(normalised.size() / 2 + 3);
    bounds_[0] = 0;
    read(normalised);
}

namespace {

// Whether the text ends with the scheme of a URL that is a word so far.
bool ends_with_url_scheme(std::u16string_view text) {
    for (const std::u16string_view scheme : {u"http", u"https"}) {
        if (!text.ends_with(scheme)) continue;
        const std::u16string_view before = text.substr(0, text.size() - scheme.size());
        if (before.empty() || replay::platform::characters().is_space(before.back())) return true;
    }
    return false;
}

}  // namespace

// Each unit and each bound is written, and the next one overwrites it unless it counts: where words
// end cannot be foreseen by a processor, so a branch on it would be dear.
void token_list::read(std::u16string_view normalised) {
    const auto& characters = replay::platform::characters();
    constexpr auto dropped = character_class::space | character_class::punctuation;
    char16_t* const units = units_.get();
    std::uint32_t* bound = bounds_.get() + 1;  // the end of the word that is read
    std::uint32_t written = 0;
    unsigned in_word = 0;
    const char16_t* const begin = normalised.data();
    const char16_t* const end = begin + normalised.size();
    for (const char16_t* at = begin; at != end; ++at) {
        const unsigned classes = characters.classes(*at);
        const unsigned is_space = (classes & character_class::space) != 0 ? 1 : 0;
        units[written] = *at;
        written += (classes & dropped) == 0;
        *bound = written;
        bound += is_space & in_word;
        in_word = is_space ^ 1;
        if (*at == u':' && ends_with_url_scheme({begin, at})) {
            while (at + 1 != end && !characters.is_space(at[1])) ++at;
            written = bound[-1];
            in_word = 0;
        }
    }
    *bound = written;
    bound += in_word;
    size_ = static_cast<std::size_t>(bound - bounds_.get()) - 1;
}

void token_list::erase(std::size_t index) {
    const std::uint32_t length = bounds_[index + 1] - bounds_[index];
    std::char_traits<char16_t>::move(units_.get() + bounds_[index],
                                     units_.get() + bounds_[index + 1],
                                     bounds_[size_] - bounds_[index + 1]);
    for (std::size_t i = index + 1; i < size_; ++i) bounds_[i] = bounds_[i + 1] - length;
    --size_;
}

void check_address_customisation(const part& root, token_list& tokens, test_list& tests) {
    std::vector<std::u16string> local_parts;
    append_local_parts(root, "To", local_parts);
    append_local_parts(root, "CC", local_parts);
    if (local_parts.empty()) return;

    occurrence_table occurrences(local_parts);
    occurrences.count(tokens);
    std::vector<std::size_t> hits;
    for (std::size_t i = 0; i < local_parts.size() && hits.size() < most_customised_words; ++i) {
        const auto hit = occurrences.take_only_one(local_parts[i]);
        if (!hit) continue;
        push_word_test(tests, u"Part.Text.Address_Customization", local_parts[i]);
        hits.push_back(*hit);
    }
    std::ranges::sort(hits, std::greater<>{});
    for (const std::size_t hit : hits) tokens.erase(hit);
}

void check_permutated_tokens(const token_list& tokens, test_list& tests) {
    const auto& characters = replay::platform::characters();
    const std::u16string_view units = tokens.units();
    std::size_t hits = 0;
    // Digits are rarer than words, so it is they that are looked for.
    std::size_t token = 0;
    std::size_t end = 0;  // of the token
    std::size_t position = find_digit(units, 0);
    while (position < units.size()) {
        while (end <= position) end += tokens[token++].size();
        const std::u16string_view found = tokens[token - 1];
        if (characters.is_alpha(found.front())) {
            push_word_test(tests, u"Part.Text.Permutated_Token", found);
            if (++hits == most_permutated_tokens) return;
        }
        position = find_digit(units, end);
    }
}

}  // namespace brindlemoss::analysis::plugins::text_analysis
