#include "analysis/plugins/token_signatures.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "analysis/plugins/signatures.h"
#include "analysis/plugins/word_table.h"
#include "analysis/report_text.h"
#include "foundation/translate.h"
#include "message/character_set.h"

namespace brindlemoss::analysis::plugins::text_analysis {
namespace {

void push_block(std::u16string_view block, signature_list& signatures) {
    push_signature(signatures, u"tbd",
                   digest_text(replay::unicode::from_wide(block, replay::unicode::utf8)),
                   joined({u"Block: \"", block, u"\""}));
}

// A text as its pattern of repetitions: each word is the number of different words before its
// first occurrence.
struct pattern {
    std::vector<std::uint32_t> numbers;  // one a word
    std::vector<std::uint32_t> counts;   // how often each number occurs

    std::size_t unique() const { return counts.size(); }
};

// Numbers identities from 0 in the order in which they come. Like word_table, but needs only the
// identity of a word to know it.
class identity_table {
public:
    explicit identity_table(std::size_t words)
        : slots_(std::bit_ceil(std::clamp<std::size_t>(words * 2, 16, 4096))) {}

    void prefetch(std::uint32_t identity) const {
        __builtin_prefetch(slots_.data() + home_of(identity));
    }

    std::uint32_t number_of(std::uint32_t identity) {
        slot& place = slot_of(identity);
        if (place.number_and_one != 0) return place.number_and_one - 1;
        const std::uint32_t number = size_++;
        place = {identity, number + 1};
        if (size_ > slots_.size() / 4 * 3) grow();
        return number;
    }

private:
    struct slot {
        std::uint32_t identity = 0;
        std::uint32_t number_and_one = 0;  // 0: free
    };

    std::size_t home_of(std::uint32_t identity) const {
        return hash_(identity) & (slots_.size() - 1);
    }

    // Where the identity stands, or the free slot that it belongs to.
    slot& slot_of(std::uint32_t identity) {
        slot* const slots = slots_.data();
        std::size_t at = home_of(identity);
        while (slots[at].number_and_one != 0 && slots[at].identity != identity) {
            at = (at + 1) & (slots_.size() - 1);
        }
        return slots[at];
    }

    void grow() {
        const std::vector<slot> old = std::exchange(slots_, std::vector<slot>(slots_.size() * 2));
        for (const slot& moved : old) {
            if (moved.number_and_one != 0) slot_of(moved.identity) = moved;
        }
    }

    secret_hash hash_;
    std::vector<slot> slots_;  // a power of two, at most three quarters in use
    std::uint32_t size_ = 0;
};

pattern pattern_of(const folded_words& words) {
    // So far ahead the memory of a large table is fetched.
    constexpr std::size_t ahead = 16;
    identity_table table(words.size());
    pattern found;
    found.numbers.resize(words.size());
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (i + ahead < words.size()) table.prefetch(words[i + ahead]);
        const std::uint32_t number = table.number_of(words[i]);
        if (number == found.counts.size()) found.counts.push_back(0);
        ++found.counts[number];
        found.numbers[i] = number;
    }
    return found;
}

// What is left of a pattern without the words that occur `threshold` times or less.
struct remainder {
    std::size_t words = 0;
    std::size_t unique = 0;
};

remainder remainder_of(const pattern& words, std::uint32_t threshold) {
    remainder left;
    for (const std::uint32_t count : words.counts) {
        left.words += count > threshold ? count : 0;
        left.unique += count > threshold;
    }
    return left;
}

// Leaves out the words that occur `threshold` times or less.
void drop_rare(pattern& words, std::uint32_t threshold) {
    constexpr std::uint32_t dropped = UINT32_MAX;
    std::vector<std::uint32_t> renumbered(words.counts.size(), dropped);
    std::uint32_t kept = 0;
    for (std::size_t number = 0; number < words.counts.size(); ++number) {
        const std::uint32_t count = words.counts[number];
        if (count <= threshold) continue;
        renumbered[number] = kept;
        words.counts[kept++] = count;
    }
    words.counts.resize(kept);
    const std::uint32_t* const new_number_of = renumbered.data();
    std::uint32_t* written = words.numbers.data();
    for (const std::uint32_t number : words.numbers) {
        *written = new_number_of[number];
        written += *written != dropped;
    }
    words.numbers.resize(static_cast<std::size_t>(written - words.numbers.data()));
}

// The texts of numbers of at most three digits, a "." in front: one copy of fixed size writes one.
constexpr std::size_t short_numbers = 1000;

constexpr auto make_short_texts() {
    std::array<std::array<char, 4>, short_numbers> texts{};
    for (std::size_t number = 0; number < texts.size(); ++number) {
        const char digits[] = {static_cast<char>('0' + number / 100),
                               static_cast<char>('0' + number / 10 % 10),
                               static_cast<char>('0' + number % 10)};
        const std::size_t leading_zeros = number >= 100 ? 0 : number >= 10 ? 1 : 2;
        texts[number][0] = '.';
        for (std::size_t i = leading_zeros; i < 3; ++i) {
            texts[number][1 + i - leading_zeros] = digits[i];
        }
    }
    return texts;
}

constexpr auto short_texts = make_short_texts();

// Writes at most 11 bytes, a few more than it counts as written.
char* write_number(char* out, std::uint32_t number) {
    if (number < short_numbers) {
        std::memcpy(out, short_texts[number].data(), short_texts[number].size());
        return out + (number < 10 ? 2 : number < 100 ? 3 : 4);
    }
    *out = '.';
    return std::to_chars(out + 1, out + 11, number).ptr;
}

// Writes the numbers of a pattern joined by ".".
class structure_writer {
public:
    // Makes room for the pattern and for all that is left of it when words are dropped.
    explicit structure_writer(const pattern& words) {
        std::array<char, 16> last_number;
        const char* const end =
            write_number(last_number.data(), static_cast<std::uint32_t>(words.unique() - 1));
        const auto longest = static_cast<std::size_t>(end - last_number.data());
        buffer_ = std::make_unique_for_overwrite<char[]>(words.numbers.size() * longest +
                                                         short_texts[0].size());
    }

    // The view is good until the next call.
    std::string_view write(const pattern& words) {
        char* out = buffer_.get();
        for (const std::uint32_t number : words.numbers) out = write_number(out, number);
        return std::string_view(buffer_.get(), out).substr(1);
    }

private:
    std::unique_ptr<char[]> buffer_;
};

void push_structure(const pattern& words, structure_writer& writer, signature_list& signatures) {
    const std::string_view structure = writer.write(words);
    const std::u16string numbers = joined(
        {u"Tokens: ", number_text(static_cast<long long>(words.numbers.size())), u" Unique: ",
         number_text(static_cast<long long>(words.unique())), u" Structure: "});
    const std::string_view shown = structure.substr(0, longest_shown_structure);
    std::u16string comment;
    comment.reserve(numbers.size() + shown.size());
    comment.append(numbers);
    replay::unicode::append_wide(shown, replay::unicode::byte_for_byte, comment);
    push_signature(signatures, u"tsd", digest_text(structure), std::move(comment));
}

}  // namespace

void push_block_signatures(const folded_words& words, signature_list& signatures) {
    constexpr std::size_t most_blocks = 4;
    constexpr std::size_t longest_open_block = 48;
    std::u16string block;
    block.reserve(128);
    std::size_t blocks = 0;
    for (std::size_t i = 0; i < words.size() && blocks < most_blocks; ++i) {
        words.append_to(block, i);
        if (block.size() <= longest_open_block) continue;
        push_block(block, signatures);
        ++blocks;
        block.clear();
    }
    if (blocks == 0 && !block.empty()) push_block(block, signatures);
}

void push_length_curve_signatures(const folded_words& words, signature_list& signatures) {
    constexpr std::size_t steps_a_curve = 64;
    constexpr std::size_t steps_between = 32;
    constexpr std::size_t last_curve = steps_a_curve + 3 * steps_between;
    std::uint64_t curve = 0;
    std::size_t length = words.size() > 0 ? words.length(0) : 0;
    for (std::size_t i = 1; i < words.size() && i <= last_curve; ++i) {
        const std::size_t length_before = std::exchange(length, words.length(i));
        curve = curve << 1 | (length >= length_before ? 1 : 0);
        if (i < steps_a_curve || i % steps_between != 0) continue;
        using replay::coding::translate::base64_encode;
        using replay::coding::translate::padding;
        push_signature(signatures, u"tlc", widen(base64_encode(curve, padding::none)),
                       joined({u"Offset: ", number_text(static_cast<long long>(i)), u" Tokens: ",
                               number_text(static_cast<long long>(words.size()))}));
    }
}

void push_structure_signatures(const folded_words& words, signature_list& signatures) {
    constexpr std::size_t fewest_unique = 8;
    constexpr std::size_t fewest_repetitions = 10;
    constexpr std::uint32_t highest_threshold = 7;
    if (words.size() < fewest_unique + fewest_repetitions) return;
    pattern pattern_left = pattern_of(words);
    structure_writer writer(pattern_left);
    for (std::uint32_t threshold = 0; threshold <= highest_threshold; ++threshold) {
        const remainder left = remainder_of(pattern_left, threshold);
        // Dropping words never raises either.
        if (left.unique < fewest_unique || left.words - left.unique < fewest_repetitions) return;
        if (threshold > 0 && left.unique == pattern_left.unique()) {
            signatures.push_back(signatures.back());
            continue;
        }
        if (threshold > 0) drop_rare(pattern_left, threshold);
        push_structure(pattern_left, writer, signatures);
    }
}

}  // namespace brindlemoss::analysis::plugins::text_analysis
