#include "image/background_map.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <queue>
#include <random>
#include <tuple>
#include <utility>
#include <vector>

#include "image/blobs.h"

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

using stretches = std::vector<stretch>;

// What the rules say, a pixel at a time.
struct plain_map {
    bool background(std::int32_t x, std::int32_t y) const {
        x = std::clamp(x, 0, levels.width - 1);
        y = std::clamp(y, 0, levels.height - 1);
        return flags[levels.at(x, y)];
    }
    bool clear(std::int32_t x, std::int32_t y) const {
        return background(x, y) || (background(x - 1, y) && background(x + 1, y) &&
                                    background(x, y - 1) && background(x, y + 1));
    }
    bool clear(const rect& area) const {
        for (std::int32_t y = area.top; y <= area.bottom; ++y) {
            for (std::int32_t x = area.left; x <= area.right; ++x) {
                if (!clear(x, y)) return false;
            }
        }
        return true;
    }
    const plane& levels;
    const level_flags& flags;
};

// Of columns or rows that are not clear.
template <typename clear_test>
stretches plain_stretches(std::int32_t first, std::int32_t last, std::int32_t longest_space,
                          clear_test is_clear) {
    stretches found;
    for (std::int32_t at = first; at <= last; ++at) {
        if (is_clear(at)) continue;
        if (found.empty() || at - found.back().last - 1 > longest_space) found.push_back({at, at});
        found.back().last = at;
    }
    return found;
}

// By flooding.
std::vector<rect> plain_blobs(const plain_map& map, const rect& band, std::int32_t lowest) {
    std::vector<rect> blobs;
    std::vector<bool> seen(map.levels.levels.size());
    const auto visit = [&](std::int32_t x, std::int32_t y) -> bool {
        if (x < band.left || x > band.right || y < band.top || y > band.bottom) return false;
        const auto place = static_cast<std::size_t>(y * map.levels.width + x);
        if (map.background(x, y) || seen[place]) return false;
        return seen[place] = true;
    };
    for (std::int32_t top = band.top; top <= band.bottom; ++top) {
        for (std::int32_t left = band.left; left <= band.right; ++left) {
            if (!visit(left, top)) continue;
            rect box{left, top, left, top};
            std::queue<std::pair<std::int32_t, std::int32_t>> reached({{left, top}});
            for (; !reached.empty(); reached.pop()) {
                const auto [x, y] = reached.front();
                box = hull_of(box, {x, y, x, y});
                for (const std::int32_t ny : {y - 1, y, y + 1}) {
                    for (const std::int32_t nx : {x - 1, x, x + 1}) {
                        if (visit(nx, ny)) reached.push({nx, ny});
                    }
                }
            }
            if (height_of(box) >= lowest) blobs.push_back(box);
        }
    }
    std::sort(blobs.begin(), blobs.end(), [](const rect& a, const rect& b) {
        return std::tie(a.left, a.top, a.right, a.bottom) <
               std::tie(b.left, b.top, b.right, b.bottom);
    });
    return blobs;
}

TEST(background_map, agrees_with_the_plain_rules) {
    std::mt19937 random(11);
    const auto below = [&](std::int32_t limit) {
        return static_cast<std::int32_t>(random() % static_cast<unsigned>(limit));
    };
    std::size_t stretches_seen = 0, blobs_seen = 0;
    for (int round = 0; round < 300; ++round) {
        SCOPED_TRACE(round);
        plane levels(1 + below(200), 1 + below(30));
        const std::int32_t rarity = 2 + below(40);
        for (auto& level : levels.levels) {
            level = static_cast<std::uint8_t>(below(rarity) == 0 ? below(3) : 254);
        }
        level_flags flags{};
        flags[254] = flags[2] = true;
        const background_map map(levels, flags);
        const plain_map plain{levels, flags};
        rect area{below(levels.width), below(levels.height), 0, 0};
        area.right = area.left + below(levels.width - area.left);
        area.bottom = area.top + below(levels.height - area.top);
        for (const std::int32_t space : {0, 2, 16}) {
            EXPECT_EQ(map.columns(area, space),
                      plain_stretches(area.left, area.right, space, [&](std::int32_t x) {
                          return plain.clear({x, area.top, x, area.bottom});
                      }));
            EXPECT_EQ(map.rows(area, space),
                      plain_stretches(area.top, area.bottom, space, [&](std::int32_t y) {
                          return plain.clear({area.left, y, area.right, y});
                      }));
        }
        std::int32_t count = 0;
        for (std::int32_t x = area.left; x <= area.right; ++x) {
            EXPECT_EQ(map.is_background(x, area.top), plain.background(x, area.top));
            count += plain.background(x, area.top);
        }
        EXPECT_EQ(map.background_in_row(area.top, area.left, area.right), count);
        const std::vector<rect> blobs = find_blobs(map, area, 2);
        EXPECT_EQ(blobs, plain_blobs(plain, area, 2));
        stretches_seen += map.columns(area, 0).size();
        blobs_seen += blobs.size();
    }
    EXPECT_GT(stretches_seen, 300u);
    EXPECT_GT(blobs_seen, 200u);
}

}  // namespace
}  // namespace brindlemoss::analysis::plugins::image_analysis
