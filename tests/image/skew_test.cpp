#include "image/skew.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "image/edge_fit.h"
#include "image/statistics.h"
#include "support/engine_on.h"
#include "support/recorded_checkpoints.h"

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

using namespace test_support;

using points = std::vector<edge_point>;

struct plain_line {
    double a = 0.0, b = 0.0;
};

plain_line fit_plainly(const points& list) {
    const double n = static_cast<double>(list.size());
    double sx = 0, sy = 0, sxx = 0, sxy = 0;
    for (const edge_point& p : list) {
        sx += p.x;
        sy += p.y;
        sxx += static_cast<double>(p.x) * p.x;
        sxy += static_cast<double>(p.x) * p.y;
    }
    const double d = n * sxx - sx * sx;
    if (d < 0.00001 || list.size() < 2) return {};
    return {(n * sxy - sx * sy) / d, (sxx * sy - sx * sxy) / d};
}

// Each list of points anew, without sums carried along.
double slope_plainly(const points& list) {
    if (list.size() < 20) return 0.0;
    points valid;
    for (std::size_t i = 5; i + 7 <= list.size(); ++i) {
        running_statistics steps;
        for (std::size_t at = i - 4; at <= i + 5; ++at) steps.add(list[at].y - list[at - 1].y);
        if (steps.variance() < 0.8) valid.push_back(list[i]);
    }
    if (valid.size() < 20) return 0.0;
    std::vector<points> runs(1);
    for (std::size_t i = 0; i < valid.size(); ++i) {
        const int dx = i == 0 ? 0 : valid[i].x - valid[i - 1].x;
        const int dy = i == 0 ? 0 : valid[i].y - valid[i - 1].y;
        if (i > 0 &&
            ((std::abs(dy) >= std::abs(dx) && std::abs(dy) >= 4) || dx * dx + dy * dy >= 64)) {
            runs.back().pop_back();
            if (runs.back().size() < 20) runs.pop_back();
            runs.emplace_back();
        }
        runs.back().push_back(valid[i]);
    }
    std::vector<points> closed;
    points group = runs[0];
    for (std::size_t i = 1; i < runs.size(); ++i) {
        points both = group;
        both.insert(both.end(), runs[i].begin(), runs[i].end());
        const plain_line line = fit_plainly(both);
        running_statistics residuals;
        for (const edge_point& p : both) residuals.add(line.a * p.x + line.b - p.y);
        if (residuals.variance() < 5.0) {
            group = both;
        } else {
            closed.push_back(group);
            group = runs[i];
        }
    }
    closed.push_back(group);
    std::size_t best = 0;
    for (std::size_t i = 1; i < closed.size(); ++i) {
        if (closed[i].size() > closed[best].size()) best = i;
    }
    return fit_plainly(closed[best]).a;
}

double slope_of(const points& list) {
    return slope_of_edge(list, "Top 2", checkpoints());
}

TEST(edge_fit, comes_out_as_if_every_sum_were_taken_anew) {
    std::mt19937 random(77);
    int sloping = 0;
    for (int round = 0; round < 4000; ++round) {
        SCOPED_TRACE(round);
        points list;
        const double slope = static_cast<double>(random() % 200) / 100.0 - 1.0;
        const auto jumpiness = 1 + random() % 40;
        double y = 1000;
        int x = static_cast<int>(random() % 100);
        for (auto count = random() % 400; count > 0; --count) {
            x += random() % jumpiness == 0 ? static_cast<int>(random() % 12) : 1;
            y += slope;
            if (random() % 60 < 2) y += static_cast<double>(random() % 17) - 8.0;
            const int jitter = random() % 9 == 0 ? static_cast<int>(random() % 4) - 1 : 0;
            list.push_back({x++, static_cast<int>(std::lround(y)) + jitter});
        }
        const double wanted = slope_plainly(list);
        ASSERT_EQ(slope_of(list), wanted);
        sloping += wanted != 0.0;
    }
    EXPECT_GT(sloping, 1000);
}

TEST(skew, follows_the_lower_edge_where_both_agree) {
    const struct {
        const char* what;
        double top, bottom, wanted;
    } rows[] = {{"straight", 0.0, 0.0, 0.0},
                {"nearly alike", 0.10, 0.08, 0.08},
                {"apart", 0.10, 0.0, 0.0},
                {"falling", -0.2, -0.2, -0.2}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        text_engine engine = engine_on(plane(400, 200));
        engine.crop = {10, 10, 389, 189};
        estimate_skew(
            engine, segments_where(400, 200, [&](int x, int y) {
                const double top = 60 + row.top * (x - 200), bottom = 140 + row.bottom * (x - 200);
                return x >= 20 && x < 380 && y >= std::lround(top) && y <= std::lround(bottom);
            }));
        EXPECT_NEAR(engine.slope, row.wanted, 0.003);
    }
}

TEST(skew, sorts_columns_out_by_their_two_outermost_rows) {
    recorded_checkpoints hook;
    text_engine engine = engine_on(plane(125, 100), &hook);
    engine.crop = {0, 0, 124, 99};
    // By column: rows that are covered.
    const std::vector<std::vector<int>> columns = {
        {},
        {30},
        {30, 31, 60, 61},
        {30, 32, 60, 62},
        {1, 2, 97, 98},
        {2, 3, 96, 97},
        {50, 51},
        {51, 52},
        {48, 49},
        {99},
    };
    estimate_skew(engine, segments_where(125, 100, [&](int x, int y) {
                      if (x >= static_cast<int>(columns.size())) return false;
                      return std::count(columns[x].begin(), columns[x].end(), y) > 0;
                  }));
    using places = std::vector<rect>;
    EXPECT_EQ(hook.at_label["Top valid data"],
              (places{{2, 30, 2, 30}, {5, 2, 5, 2}, {6, 50, 6, 50}, {8, 48, 8, 48}}));
    EXPECT_EQ(hook.at_label["Top invalid data 2"], (places{{4, 1, 4, 1}, {9, 99, 9, 99}}));
    EXPECT_EQ(hook.at_label["Top invalid data 3"], (places{{7, 51, 7, 51}}));
    EXPECT_EQ(hook.at_label["Bottom valid data"],
              (places{{2, 61, 2, 61}, {5, 97, 5, 97}, {6, 51, 6, 51}, {7, 52, 7, 52}}));
    EXPECT_EQ(hook.at_label["Bottom invalid data 2"], (places{{4, 98, 4, 98}}));
    EXPECT_EQ(hook.at_label["Bottom invalid data 3"], (places{{8, 49, 8, 49}}));
    EXPECT_EQ(hook.at_label["Top raw data"].size(), columns.size() - 1);
    EXPECT_EQ(hook.at_label["Top 2 raw data"].size(), columns.size() - 3);
}

// Pixel by pixel from a copy.
plane correct_plainly(const plane& old, double slope, const rect& crop, std::uint8_t background) {
    const std::int64_t cx = crop.left + width_of(crop) / 2, cy = crop.top + height_of(crop) / 2;
    const auto rounded = [&](std::int64_t distance) {
        return std::llround(slope * static_cast<double>(distance));
    };
    plane sheared(old.width, old.height), moved(old.width, old.height);
    for (std::int32_t x = 0; x < old.width; ++x) {
        const std::int64_t dy = rounded(x - cx);
        for (std::int32_t y = 0; y < old.height; ++y) {
            const bool blank = (dy < 0 && y <= -dy) || (dy > 0 && y >= old.height - dy - 1);
            sheared.row(y)[x] = blank ? background : old.at(x, static_cast<std::int32_t>(y + dy));
        }
    }
    for (std::int32_t y = 0; y < old.height; ++y) {
        const std::int64_t dx = rounded(y - cy);
        for (std::int32_t x = 0; x < old.width; ++x) {
            const bool blank = (dx < 0 && x >= old.width + dx - 1) || (dx > 0 && x <= dx);
            moved.row(y)[x] = blank ? background : sheared.at(static_cast<std::int32_t>(x - dx), y);
        }
    }
    return moved;
}

TEST(skew, shears_as_if_pixel_by_pixel_and_grows_the_crop) {
    const struct {
        double slope;
        rect wanted;
    } rows[] = {
        {0.03, {17, 9, 103, 44}},  // 42 * 0.03 + 0.5 is 1.76, 17 * 0.03 + 0.5 is 1.01
        {-0.03, {17, 9, 103, 44}}, {0.3, {5, 5, 115, 48}},          {-0.3, {5, 5, 115, 48}},
        {1.0, {0, 0, 129, 60}},    {-7.5, {0, 0, 129, 69}},         {1e6, {0, 0, 129, 69}},
        {-1e6, {0, 0, 129, 69}},   {1.0 / 84.0, {17, 10, 103, 43}},
    };
    std::mt19937 random(5);
    plane levels(130, 70);
    for (std::uint8_t& each : levels.levels) each = static_cast<std::uint8_t>(random());
    for (const auto& row : rows) {
        SCOPED_TRACE(row.slope);
        text_engine engine = engine_on(levels);
        engine.background_level = 77;
        engine.crop = {18, 10, 102, 43};
        engine.slope = row.slope;
        const plane wanted = correct_plainly(levels, row.slope, engine.crop, 77);
        correct_skew(engine);
        EXPECT_EQ(engine.pp_plane.levels, wanted.levels);
        EXPECT_EQ(engine.crop, row.wanted);
    }
}

}  // namespace
}  // namespace brindlemoss::analysis::plugins::image_analysis
