#include "analysis/plugins/token_signatures.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
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
    std::u16string comment = u"Block: \"";
    comment.append(block).append(u"\"");
    push_signature(signatures, u"tbd",
                   digest_text(replay::unicode::from_wide(block, replay::unicode::utf8)),
                   std::move(comment));
}

// A text as its pattern of repetitions: each word is the number of different words before its
// first occurrence.
struct pattern {
    std::vector<std::uint32_t> numbers;  // one a word
    std::vector<std::uint32_t> counts;   // how often each number occurs

    std::size_t unique() const { return counts.size(); }
    std::size_t repetitions() const { return numbers.size() - counts.size(); }
};

pattern pattern_of(const token_list& words) {
    // So many are hashed ahead that the memory of one large table is fetched for all at once.
    constexpr std::size_t batch_size = 16;
    std::array<std::uint32_t, batch_size> hashes;
    word_table<token_list> table(words);
    pattern found;
    found.numbers.reserve(words.size());
    for (std::size_t begin = 0; begin < words.size(); begin += batch_size) {
        const std::size_t end = std::min(begin + batch_size, words.size());
        for (std::size_t i = begin; i < end; ++i) {
            hashes[i - begin] = table.hash(words[i]);
            table.prefetch(hashes[i - begin]);
        }
        for (std::size_t i = begin; i < end; ++i) {
            const std::uint32_t number =
                table.add(static_cast<std::uint32_t>(i), hashes[i - begin]);
            if (number == found.counts.size()) found.counts.push_back(0);
            ++found.counts[number];
            found.numbers.push_back(number);
        }
    }
    return found;
}

// Leaves out the words that occur `threshold` times or less. False where there are none.
bool drop_rare(pattern& words, std::uint32_t threshold) {
    constexpr std::uint32_t dropped = UINT32_MAX;
    std::vector<std::uint32_t> renumbered(words.counts.size(), dropped);
    std::uint32_t kept = 0;
    for (std::size_t number = 0; number < words.counts.size(); ++number) {
        const std::uint32_t count = words.counts[number];
        if (count <= threshold) continue;
        renumbered[number] = kept;
        words.counts[kept++] = count;
    }
    if (kept == words.counts.size()) return false;
    words.counts.resize(kept);
    std::size_t written = 0;
    for (const std::uint32_t number : words.numbers) {
        words.numbers[written] = renumbered[number];
        written += renumbered[number] != dropped;
    }
    words.numbers.resize(written);
    return true;
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

// The numbers joined by ".", in `buffer`.
std::string_view structure_of(const pattern& words, std::string& buffer) {
    std::array<char, 16> last_number;
    const char* const end =
        write_number(last_number.data(), static_cast<std::uint32_t>(words.unique() - 1));
    const std::size_t longest = static_cast<std::size_t>(end - last_number.data());
    buffer.resize(words.numbers.size() * longest + short_texts[0].size());
    char* out = buffer.data();
    for (const std::uint32_t number : words.numbers) out = write_number(out, number);
    return std::string_view(buffer.data(), out).substr(1);
}

void push_structure(const pattern& words, std::string& buffer, signature_list& signatures) {
    const std::string_view structure = structure_of(words, buffer);
    std::u16string comment = u"Tokens: ";
    comment.append(number_text(static_cast<long long>(words.numbers.size())))
        .append(u" Unique: ")
        .append(number_text(static_cast<long long>(words.unique())))
        .append(u" Structure: ");
    replay::unicode::append_wide(structure.substr(0, longest_shown_structure),
                                 replay::unicode::byte_for_byte, comment);
    push_signature(signatures, u"tsd", digest_text(structure), std::move(comment));
}

}  // namespace

void push_block_signatures(const token_list& folded, signature_list& signatures) {
    constexpr std::size_t most_blocks = 4;
    constexpr std::size_t longest_open_block = 48;
    std::u16string block;
    block.reserve(128);
    std::size_t blocks = 0;
    for (std::size_t i = 0; i < folded.size() && blocks < most_blocks; ++i) {
        block.append(folded[i]);
        if (block.size() <= longest_open_block) continue;
        push_block(block, signatures);
        ++blocks;
        block.clear();
    }
    if (blocks == 0 && !block.empty()) push_block(block, signatures);
}

void push_length_curve_signatures(const token_list& folded, signature_list& signatures) {
    constexpr std::size_t steps_a_curve = 64;
    constexpr std::size_t steps_between = 32;
    constexpr std::size_t last_curve = steps_a_curve + 3 * steps_between;
    std::uint64_t curve = 0;
    for (std::size_t i = 1; i < folded.size() && i <= last_curve; ++i) {
        curve = curve << 1 | (folded[i].size() >= folded[i - 1].size() ? 1 : 0);
        if (i < steps_a_curve || i % steps_between != 0) continue;
        std::u16string comment = u"Offset: ";
        comment.append(number_text(static_cast<long long>(i)))
            .append(u" Tokens: ")
            .append(number_text(static_cast<long long>(folded.size())));
        using replay::coding::translate::base64_encode;
        using replay::coding::translate::padding;
        push_signature(signatures, u"tlc", widen(base64_encode(curve, padding::none)),
                       std::move(comment));
    }
}

void push_structure_signatures(const token_list& folded, signature_list& signatures) {
    constexpr std::size_t fewest_unique = 8;
    constexpr std::size_t fewest_repetitions = 10;
    constexpr std::uint32_t highest_threshold = 7;
    if (folded.size() < fewest_unique + fewest_repetitions) return;
    pattern words = pattern_of(folded);
    std::string buffer;
    for (std::uint32_t threshold = 0; threshold <= highest_threshold; ++threshold) {
        const bool changed = drop_rare(words, threshold);
        // Dropping words never raises either.
        if (words.unique() < fewest_unique || words.repetitions() < fewest_repetitions) return;
        if (changed || threshold == 0) {
            push_structure(words, buffer, signatures);
        } else {
            signatures.push_back(signatures.back());
        }
    }
}

}  // namespace brindlemoss::analysis::plugins::text_analysis
