#include "image/region_growth.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "support/engine_on.h"
#include "support/recorded_checkpoints.h"

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

using namespace test_support;

// Pass after pass over all segments and all pairs of regions, without any thought of cost.
std::vector<rect> plainly_grown(row_segments segments, const rect& crop) {
    const auto take = [](std::vector<text_segment>& row, rect& region) {
        bool any = false;
        for (text_segment& each : row) {
            if (each.used || each.left > region.right || region.left > each.right) continue;
            each.used = any = true;
            region.left = std::min(region.left, each.left);
            region.right = std::max(region.right, each.right);
        }
        return any;
    };
    std::vector<rect> found;
    for (std::int32_t y = 0; y < static_cast<std::int32_t>(segments.rows.size()); ++y) {
        for (text_segment& seed : segments.of(y)) {
            if (seed.used) continue;
            seed.used = true;
            rect region{seed.left, y, seed.right, y};
            while (region.bottom < crop.bottom && take(segments.of(region.bottom + 1), region)) {
                ++region.bottom;
            }
            for (bool again = true; again;) {
                again = false;
                for (std::int32_t row = y; row <= region.bottom; ++row) {
                    if (take(segments.of(row), region)) again = true;
                }
            }
            if (region.left > crop.left + 10) region.left += 10;
            if (region.right < crop.right - 10) region.right -= 10;
            for (std::size_t i = 0; i < found.size();) {
                const rect other = found[i++];
                if (other.top > region.bottom + 1 || other.bottom < region.top - 1 ||
                    other.left > region.right + 1 || other.right < region.left - 1) {
                    continue;
                }
                found.erase(found.begin() + static_cast<std::ptrdiff_t>(i - 1));
                region = hull_of(region, other);
                i = 0;
            }
            found.push_back(region);
        }
    }
    return found;
}

row_segments random_segments(std::mt19937& random, std::int32_t width, std::int32_t height) {
    row_segments segments(height);
    const int longest = 1 + static_cast<int>(random() % 60);
    const int widest_gap = 1 + static_cast<int>(random() % 80);
    const auto empty_rows = 1 + random() % 6;
    for (std::int32_t y = 0; y < height; ++y) {
        if (random() % empty_rows != 0 && random() % 2 == 0) continue;
        std::int32_t x = static_cast<std::int32_t>(random() % widest_gap);
        while (true) {
            const auto right = x + static_cast<std::int32_t>(random() % longest);
            if (right >= width) break;
            segments.of(y).push_back({x, right, y});
            x = right + 2 + static_cast<std::int32_t>(random() % widest_gap);
        }
    }
    return segments;
}

bool is_valid(const rect& r) {
    const std::int64_t w = width_of(r), h = height_of(r);
    return h >= 4 && h <= 40 && w >= 8 && 2 * w >= 3 * h;
}

TEST(region_growth, comes_out_as_if_everything_were_compared_with_everything) {
    std::mt19937 random(4411);
    std::size_t valid_ones = 0, inverted_ones = 0;
    for (int round = 0; round < 4000; ++round) {
        SCOPED_TRACE(round);
        const auto width = static_cast<std::int32_t>(40 + random() % 500);
        const auto height = static_cast<std::int32_t>(4 + random() % 90);
        row_segments segments = random_segments(random, width, height);
        recorded_checkpoints hook;
        text_engine engine = engine_on(plane(width, height), &hook);
        std::vector<rect> valid, invalid;
        std::int64_t area = 0;
        for (const rect& each : plainly_grown(segments, engine.crop)) {
            (is_valid(each) ? valid : invalid).push_back(each);
            if (is_valid(each)) area += area_of(each);
            if (each.right < each.left) ++inverted_ones;
        }
        build_regions(engine, segments);
        ASSERT_EQ(engine.regions, valid);
        ASSERT_EQ(hook.at_label["Invalid text regions"], invalid);
        ASSERT_EQ(engine.region_area, area);
        ASSERT_EQ(engine.region_density,
                  static_cast<double>(area) / (static_cast<double>(width) * height));
        valid_ones += valid.size();
    }
    EXPECT_GT(valid_ones, 1000u);
    EXPECT_GT(inverted_ones, 1000u);
}

TEST(region_growth, keeps_up_with_pictures_made_to_slow_it_down) {
    constexpr std::int32_t side = 2000;
    text_engine engine = engine_on(plane(side, side));
    const auto regions_of = [&](auto is_set) {
        row_segments segments = segments_where(side, side, is_set);
        engine.regions.clear();
        build_regions(engine, segments);
        return engine.regions.size();
    };
    constexpr std::int32_t bands = (side + 2) / 7;
    // Dashes, all apart from each other: 23 columns shrink to three and are too narrow.
    EXPECT_EQ(regions_of([](int x, int y) { return y % 7 < 5 && x % 50 >= 15 && x % 50 < 38; }),
              0u);
    EXPECT_EQ(regions_of([](int x, int y) { return y % 7 < 5 && x % 50 >= 15 && x % 50 < 43; }),
              side / 50 * bands);
    // The hull of two pieces, a lid and a column that touches it from below, encloses the dashes.
    EXPECT_EQ(regions_of([](int x, int y) {
                  if (y < 2) return y == 0 ? x > 60 : x < 90;
                  return x < 30 || (y % 7 < 5 && x % 50 >= 15 && x % 50 < 43);
              }),
              0u);
    // Stairs that go one step sideways with each row, down and up.
    EXPECT_EQ(regions_of([](int x, int y) { return (x + side - y) % 60 < 30; }), 0u);
    EXPECT_EQ(regions_of([](int x, int y) { return (x + y) % 60 < 30; }), 0u);
}

}  // namespace
}  // namespace brindlemoss::analysis::plugins::image_analysis
