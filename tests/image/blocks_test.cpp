#include "image/blocks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <random>
#include <vector>

#include "image/reading_order.h"

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

struct found_block {
    rect box;
    std::vector<rect> lines;

    friend bool operator==(const found_block&, const found_block&) = default;
};

std::vector<found_block> blocks_of(std::list<text_line>& lines) {
    std::list<block> blocks;
    find_blocks(lines, blocks, checkpoints());
    std::vector<found_block> found;
    for (const block& each : blocks) {
        found.push_back({each.box, {}});
        for (const text_line* line : each.lines) found.back().lines.push_back(line->box);
    }
    return found;
}

std::vector<found_block> blocks_of(const std::vector<rect>& boxes) {
    std::list<text_line> lines;
    for (const rect& box : boxes) lines.emplace_back(box);
    return blocks_of(lines);
}

// Looks at everything again whenever something has joined.
std::vector<found_block> slowly_found(const std::vector<rect>& boxes) {
    std::list<rect> waiting(boxes.begin(), boxes.end());
    sort_in_reading_order(waiting, [](const rect& box) -> const rect& { return box; });
    std::vector<found_block> blocks;
    while (!waiting.empty()) {
        found_block fresh{waiting.front(), {waiting.front()}};
        waiting.pop_front();
        const auto near = [&](const rect& line) {
            return touch(fresh.box, line) ||
                   (overlap_in_x(fresh.box, line) && vertical_gap(fresh.box, line) - 1 < 16) ||
                   (overlap_in_y(fresh.box, line) && horizontal_gap(fresh.box, line) - 1 < 16);
        };
        for (auto tail = std::find_if(waiting.begin(), waiting.end(), near); tail != waiting.end();
             tail = std::find_if(waiting.begin(), waiting.end(), near)) {
            fresh.lines.push_back(*tail);
            fresh.box = hull_of(fresh.box, *tail);
            waiting.erase(tail);
        }
        const auto touched = [&](const found_block& each) { return touch(each.box, fresh.box); };
        for (auto earlier = std::find_if(blocks.begin(), blocks.end(), touched);
             earlier != blocks.end();
             earlier = std::find_if(blocks.begin(), blocks.end(), touched)) {
            fresh.lines.insert(fresh.lines.end(), earlier->lines.begin(), earlier->lines.end());
            fresh.box = hull_of(fresh.box, earlier->box);
            blocks.erase(earlier);
        }
        blocks.push_back(fresh);
    }
    return blocks;
}

TEST(find_blocks, passes_over_invalid_lines_and_leaves_the_list_as_it_is) {
    std::list<text_line> lines;
    for (const rect& box : {rect{0, 50, 9, 59}, rect{0, 25, 9, 34}, rect{0, 0, 9, 9}}) {
        lines.emplace_back(box).visited = true;
    }
    std::next(lines.begin())->valid = false;  // the link between the two others
    const std::vector<found_block> expected = {{{0, 0, 9, 9}, {{0, 0, 9, 9}}},
                                               {{0, 50, 9, 59}, {{0, 50, 9, 59}}}};
    EXPECT_EQ(blocks_of(lines), expected);
    EXPECT_EQ(lines.front().box, (rect{0, 50, 9, 59}));
    EXPECT_TRUE(lines.front().visited);
}

TEST(find_blocks, finds_what_the_slow_way_finds) {
    std::mt19937 random(4711);
    std::size_t merged = 0;
    for (int round = 0; round < 400; ++round) {
        SCOPED_TRACE(round);
        const auto below = [&](std::size_t limit) {
            return static_cast<std::int32_t>(random() % limit);
        };
        const std::size_t side = 200 + random() % 1500;
        const std::size_t longest = 2 + random() % 120;
        std::vector<rect> boxes;
        for (std::size_t left = random() % 150; left > 0; --left) {
            const std::int32_t x = below(side), y = below(side);
            boxes.push_back({x, y, x + below(longest), y + below(longest)});
            if (random() % 50 == 0) boxes.push_back(inverted_rect);
        }
        const std::vector<found_block> slow = slowly_found(boxes);
        ASSERT_EQ(blocks_of(boxes), slow);
        merged += slow.size() < boxes.size();
    }
    EXPECT_GT(merged, 100u);
}

// Two lines whose hull reaches over an earlier one make a block in the free corner of which
// thousands of specks stand. Each is found by itself and takes in that block.
TEST(find_blocks, takes_in_one_block_again_and_again) {
    std::vector<rect> boxes = {
        {100, 2000, 3900, 2010}, {3000, 2030, 3905, 2040}, {3920, 1990, 3930, 4000}};
    for (std::int32_t y = 2060; y < 4000; y += 20) {
        for (std::int32_t x = 100; x < 2980; x += 20) boxes.push_back({x, y, x + 1, y + 1});
    }
    const std::vector<found_block> found = blocks_of(boxes);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found.front().box, (rect{100, 1990, 3930, 4000}));
    EXPECT_EQ(found.front().lines.size(), boxes.size());
    EXPECT_EQ(found.front().lines.front(), boxes.back());
}

}  // namespace
}  // namespace brindlemoss::analysis::plugins::image_analysis
