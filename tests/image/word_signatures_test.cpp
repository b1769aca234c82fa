#include "image/word_signatures.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <random>

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using heights = std::vector<std::int32_t>;

// Blocks of one meta line each, with words of certain heights.
struct page {
    // The words are spread over two lines; those that are not valid come on top.
    page& block_of(const heights& words, std::size_t invalid = 0) {
        block& added = blocks.emplace_back();
        meta_line& meta = added.meta_lines.emplace_back();
        const std::size_t half = words.size() / 2;
        for (const auto& [from, to] : {std::pair{std::size_t{0}, half}, {half, words.size()}}) {
            text_line& line = lines.emplace_back();
            for (std::size_t word = from; word < to; ++word) {
                line.words.push_back({{0, 0, 9, words[word] - 1}});
            }
            if (from == 0) line.words.resize(line.words.size() + invalid);
            for (std::size_t word = 0; word < to - from; ++word) {
                line.valid_words.push_back(&line.words[word]);
            }
            added.lines.push_front(&line);  // meta lines have an order of their own
            meta.lines.push_back(&line);
        }
        return *this;
    }

    std::vector<std::string> signatures() const {
        std::vector<std::string> result;
        make_word_signatures(blocks, result);
        return result;
    }

    std::list<text_line> lines;
    std::list<block> blocks;
};

std::string repeated(const char* text, int times) {
    std::string result;
    for (; times > 0; --times) result += text;
    return result;
}

// Falls by one from word to word, so that it is seen where one ends and the next begins.
heights falling(std::int32_t count, std::int32_t first = 100) {
    heights result;
    for (std::int32_t word = 0; word < count; ++word) result.push_back(first - word);
    return result;
}

std::string of_falling(const std::vector<int>& counts) {
    std::string result = "[ocr-v8.0a]";
    for (const int count : counts) {
        if (result.size() > 11) result += ".1";
        result += repeated(".0", count - 1);
    }
    return result;
}

TEST(make_word_signatures, follow_the_heights_up_and_down) {
    heights words = {10, 10, 9, 12};
    words.resize(30, 12);
    EXPECT_THAT(page().block_of(words).signatures(),
                ElementsAre("[ocr-v8.0a].1.0.1" + repeated(".1", 26)));
}

TEST(make_word_signatures, count_invalid_words_but_do_not_show_them) {
    EXPECT_THAT(page().block_of(falling(4), 26).signatures(), ElementsAre("[ocr-v8.0a].0.0.0"));
    EXPECT_THAT(page().block_of(falling(4), 25).signatures(), IsEmpty());
    EXPECT_THAT(page().block_of({}, 30).signatures(), ElementsAre("[ocr-v8.0a]"));
    EXPECT_THAT(page().block_of({}).signatures(), IsEmpty());
}

TEST(make_word_signatures, join_small_blocks_in_windows) {
    const struct {
        const char* name;
        std::vector<int> blocks;
        std::vector<std::vector<int>> windows;
    } rows[] = {
        {"29 are too few", {29}, {}},
        {"29 and 1", {29, 1}, {{29, 1}}},
        {"20, 20, 20", {20, 20, 20}, {{20, 20}, {20, 20}}},
        {"10 each", {10, 10, 10, 10}, {{10, 10, 10}, {10, 10, 10}}},
        {"the first is not needed", {5, 10, 21, 5}, {{10, 21}}},
        {"many are not needed", {3, 3, 3, 3, 29, 2}, {{3, 29}, {29, 2}}},
        {"too few are left", {20, 15, 14}, {{20, 15}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        page text;
        for (const int count : row.blocks) text.block_of(falling(count));
        std::vector<std::string> expected;
        for (const auto& window : row.windows) expected.push_back(of_falling(window));
        EXPECT_EQ(text.signatures(), expected);
    }
}

TEST(make_word_signatures, flush_small_blocks_behind_each_large_one) {
    const auto large = falling(30), small = falling(16);
    page text;
    text.block_of(small).block_of(small).block_of(large).block_of(small).block_of(large);
    text.block_of(falling(20)).block_of(falling(20));
    EXPECT_THAT(text.signatures(), ElementsAre(of_falling({30}), of_falling({16, 16}),
                                               of_falling({30}), of_falling({20, 20})));
}

// Blocks whose words are all invalid count as blocks, but bring nothing.
TEST(make_word_signatures, look_over_blocks_without_valid_words) {
    page text;
    text.block_of({}, 3).block_of(falling(15));
    for (int block = 0; block < 5000; ++block) text.block_of({}, 3);
    text.block_of(falling(15)).block_of({}, 3).block_of(falling(15));
    EXPECT_THAT(text.signatures(), ElementsAre(of_falling({15, 15}), of_falling({15, 15})));
}

}  // namespace
}  // namespace brindlemoss::analysis::plugins::image_analysis
