#include "image/rect_index.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <vector>

namespace {

using namespace brindlemoss::analysis::plugins::image_analysis;

std::vector<std::size_t> taken(rect_index& index, const rect& area, const rect* emptied = nullptr) {
    std::vector<std::size_t> found;
    index.take(area, found, emptied);
    std::sort(found.begin(), found.end());
    return found;
}

TEST(rect_index, holds_what_lies_outside_its_extent) {
    constexpr auto least = std::numeric_limits<std::int32_t>::min();
    constexpr auto most = std::numeric_limits<std::int32_t>::max();
    rect_index index({0, 0, 99, 99});
    index.add(1, {-500, -500, -400, -400});
    index.add(2, {most - 5, 10, most, 20});
    index.add(3, inverted_rect);
    EXPECT_EQ(taken(index, {-450, -450, -450, -450}), (std::vector<std::size_t>{1}));
    EXPECT_TRUE(taken(index, inverted_rect).empty());
    EXPECT_EQ(taken(index, {least, least, most, most}), (std::vector<std::size_t>{2}));
}

TEST(rect_index, finds_all_neighbours_of_a_growing_area) {
    std::mt19937 random(11);
    const auto below = [&](std::uint32_t limit) {
        return static_cast<std::int32_t>(random() % limit);
    };
    for (int round = 0; round < 200; ++round) {
        std::vector<rect> rects;
        rect_index index({0, 0, 1499, 799});
        for (std::size_t id = 0; id < 200; ++id) {
            const rect r{below(1500), below(800), 0, 0};
            rects.push_back({r.left, r.top, r.left + below(120), r.top + below(40)});
            index.add(id, rects.back());
        }
        std::vector<bool> gone(rects.size());
        rect area{below(1500), below(800), 0, 0};
        area.right = area.left;
        area.bottom = area.top;
        rect before = area;
        for (int step = 0; step < 12; ++step) {
            std::vector<std::size_t> expected;
            for (std::size_t id = 0; id < rects.size(); ++id) {
                if (gone[id] || !intersect(rects[id], area)) continue;
                gone[id] = true;
                expected.push_back(id);
            }
            ASSERT_EQ(taken(index, area, step == 0 ? nullptr : &before), expected);
            before = area;
            area.left -= below(90);
            area.top -= below(90);
            area.right += below(200);
            area.bottom += below(90);
        }
    }
}

}  // namespace
