#include "image/word_signatures.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

namespace brindlemoss::analysis::plugins::image_analysis {

namespace {

constexpr std::size_t least_words = 30;  // of which a signature is made

using word_heights = std::vector<std::int64_t>;  // of one block

std::size_t count_words(const block& each) {
    std::size_t count = 0;
    for (const text_line* line : each.lines) count += line->words.size();
    return count;
}

word_heights heights_of_valid_words(const block& each) {
    word_heights heights;
    for (const meta_line& meta : each.meta_lines) {
        for (const text_line* line : meta.lines) {
            for (const component* word : line->valid_words) {
                heights.push_back(height_of(word->box));
            }
        }
    }
    return heights;
}

std::string signature_of(std::span<const word_heights> blocks) {
    std::string signature = "[ocr-v8.0a]";
    std::int64_t previous = -1;
    for (const word_heights& heights : blocks) {
        for (const std::int64_t height : heights) {
            if (previous > 0) signature += height < previous ? ".0" : ".1";
            previous = height;
        }
    }
    return signature;
}

// One signature for each window of blocks that is as short as it can be. The next window starts
// behind the first block of the one before; a window starts in a block with words, so that fewer
// than `least_words` of them reach over any block.
void flush(std::vector<word_heights>& pending, std::vector<std::string>& signatures) {
    std::size_t start = 0;
    std::size_t total = 0;  // from `start` up to `end`
    for (std::size_t end = 0; end < pending.size(); ++end) {
        total += pending[end].size();
        if (total < least_words) continue;
        while (total - pending[start].size() >= least_words) total -= pending[start++].size();
        signatures.push_back(signature_of(std::span(pending).subspan(start, end - start + 1)));
        end = start++;
        total = 0;
    }
    pending.clear();
}

}  // namespace

void make_word_signatures(const std::list<block>& blocks, std::vector<std::string>& signatures) {
    std::vector<word_heights> pending;
    for (const block& each : blocks) {
        const std::size_t words = count_words(each);
        if (words == 0) continue;
        word_heights heights = heights_of_valid_words(each);
        if (words < least_words) {
            pending.push_back(std::move(heights));
            continue;
        }
        signatures.push_back(signature_of({&heights, 1}));
        flush(pending, signatures);
    }
    flush(pending, signatures);
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
