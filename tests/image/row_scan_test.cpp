#include "image/row_scan.h"

#include <gtest/gtest.h>

#include <random>

#include "image/statistics.h"
#include "support/engine_on.h"
#include "support/recorded_checkpoints.h"

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

using namespace test_support;

crossing_verdict judge_plainly(const std::vector<std::int32_t>& columns) {
    if (columns.size() < 4) return crossing_verdict::too_few;
    running_statistics distances;
    for (std::size_t i = 1; i < columns.size(); ++i) distances.add(columns[i] - columns[i - 1]);
    if (distances.mean() < 2.5) return crossing_verdict::mean_too_low;
    if (distances.mean() > 20.0) return crossing_verdict::mean_too_high;
    if (distances.variance() > 45.0) return crossing_verdict::variance_too_high;
    return crossing_verdict::like_text;
}

// Column by column and window by window.
std::vector<rect> scan_plainly(const text_engine& engine, std::int32_t y) {
    const rect& crop = engine.crop;
    const std::int32_t first = std::max(crop.left - 10, 0);
    const std::int32_t last = std::min(crop.right + 10, engine.width - 2);
    const auto g = [&](std::int32_t x) {
        return engine.pp_plane.at(x, y) - engine.pp_plane.at(x + 1, y);
    };
    const auto is_active = [&](std::int32_t x) {
        int low = 255, high = -255;
        for (std::int32_t at = std::max(x - 10, first); at <= std::min(x + 10, last); ++at) {
            low = std::min(low, g(at));
            high = std::max(high, g(at));
        }
        return high - low > 130;
    };
    std::vector<rect> valid;
    for (std::int32_t x = crop.left; x <= crop.right; ++x) {
        if (!is_active(x)) continue;
        const std::int32_t left = x;
        while (x < crop.right && is_active(x + 1)) ++x;
        std::vector<std::int32_t> falls, rises;
        for (std::int32_t at = left; at <= std::min(x, last); ++at) {
            if (g(at) < -60 && (at == first || g(at - 1) >= -60)) falls.push_back(at);
            if (g(at) > 60 && (at == first || g(at - 1) <= 60)) rises.push_back(at);
        }
        if (judge_plainly(falls) == crossing_verdict::like_text &&
            judge_plainly(rises) == crossing_verdict::like_text) {
            valid.push_back({left, y, x, y});
        }
    }
    return valid;
}

TEST(row_scan, comes_out_as_if_every_window_were_looked_at) {
    std::mt19937 random(2121);
    std::size_t all = 0;
    constexpr int steps[] = {0,  0,   0,   0,    61,  -61,  65, -65, 66,
                             70, -70, 130, -131, 255, -255, 9,  -4};
    for (int round = 0; round < 1500; ++round) {
        SCOPED_TRACE(round);
        const auto width = static_cast<std::int32_t>(125 + random() % 80);
        const std::size_t kinds = round % 2 == 0 ? std::size(steps) : 9;
        const auto calm = random() % 12;
        plane levels(width, 4);
        int level = 0;
        for (std::uint8_t& each : levels.levels) {
            if (random() % 12 >= calm) level += steps[random() % kinds];
            level = std::clamp(level, 0, 255);
            each = static_cast<std::uint8_t>(level);
        }
        text_engine engine = engine_on(std::move(levels));
        engine.crop = {static_cast<std::int32_t>(random() % 14), 0,
                       width - 1 - static_cast<std::int32_t>(random() % 14), 3};
        row_scanner scanner(engine);
        for (std::int32_t y = 0; y < 4; ++y) {
            std::vector<text_segment> segments;
            const std::int32_t covered = scanner.scan(y, segments);
            std::vector<rect> found;
            std::int64_t wanted_cover = 0;
            for (const text_segment& each : segments) {
                found.push_back({each.left, each.row, each.right, each.row});
                wanted_cover += each.right - each.left + 1;
            }
            ASSERT_EQ(found, scan_plainly(engine, y));
            ASSERT_EQ(covered, wanted_cover);
            all += found.size();
        }
    }
    EXPECT_GT(all, 1000u);
}

TEST(row_scan, judges_crossings_at_the_edges_of_each_limit) {
    const struct {
        const char* what;
        std::vector<std::int32_t> distances;
        crossing_verdict verdict;
    } rows[] = {
        {"three crossings", {5, 5}, crossing_verdict::too_few},
        {"four crossings", {5, 5, 5}, crossing_verdict::like_text},
        {"every second column", {2, 2, 2, 2}, crossing_verdict::mean_too_low},
        {"a mean of 2.4", {2, 3, 2, 3, 2}, crossing_verdict::mean_too_low},
        {"a mean of 2.5", {2, 3, 2, 3}, crossing_verdict::like_text},
        {"a mean of 20", {20, 19, 21}, crossing_verdict::like_text},
        {"a mean above 20", {20, 20, 20, 21}, crossing_verdict::mean_too_high},
        {"a variance of 45", {3, 21, 9, 15}, crossing_verdict::like_text},
        {"a variance above 45", {3, 22, 9, 15}, crossing_verdict::variance_too_high},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        std::vector<std::int32_t> columns{7};
        for (const std::int32_t each : row.distances) columns.push_back(columns.back() + each);
        EXPECT_EQ(judge_crossings(columns), row.verdict);
    }
}

// A row of strokes three columns wide: paper turns to ink where `period` says.
plane strokes(std::int32_t period, std::int32_t count) {
    plane levels(400, 1);
    std::fill(levels.levels.begin(), levels.levels.end(), std::uint8_t{255});
    for (std::int32_t x = 100; count > 0; --count, x += period) {
        const std::int32_t thickness = period > 3 ? 3 : period - 1;
        std::fill_n(levels.row(0) + x, thickness, std::uint8_t{0});
    }
    return levels;
}

TEST(row_scan, tells_why_a_run_is_dropped) {
    const struct {
        std::int32_t period, count;
        const char* label;
    } rows[] = {{6, 3, "Too few crossings"},
                {6, 4, "Valid text segments"},
                {2, 9, "Mean too low"},
                {20, 6, "Valid text segments"},
                {21, 6, "Mean too high"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        recorded_checkpoints hook;
        const text_engine engine = engine_on(strokes(row.period, row.count), &hook);
        std::vector<text_segment> segments;
        row_scanner(engine).scan(0, segments);
        const std::int32_t thickness = row.period > 3 ? 3 : row.period - 1;
        // From ten columns left of the first edge to ten right of the last.
        const rect run{99 - 10, 0, 99 + (row.count - 1) * row.period + thickness + 10, 0};
        EXPECT_EQ(hook.at_label[row.label], std::vector{run});
        EXPECT_EQ(hook.at_label["Potential text segments"], std::vector{run});
    }
}

TEST(row_scan, gives_up_after_every_fourth_row_where_a_tenth_of_it_is_not_covered) {
    // 20 rows of 400 columns in the first look; a row of strokes covers 200, so four make a tenth.
    for (const std::int32_t covered_rows : {3, 4}) {
        SCOPED_TRACE(covered_rows);
        plane levels(400, 80);
        for (std::int32_t y = 0; y < covered_rows; ++y) {
            const plane row = strokes(8, 23);
            std::copy(row.row(0), row.row(0) + 400, levels.row(y * 4));
        }
        recorded_checkpoints hook;
        text_engine engine = engine_on(std::move(levels), &hook);
        row_segments segments(80);
        scan_rows(engine, segments);
        EXPECT_EQ(engine.covered_columns, 200 * covered_rows);
        EXPECT_EQ(hook.at_label["Gradient"].size(), covered_rows == 3 ? 20u : 80u);
        EXPECT_EQ(engine.segment_density, covered_rows == 3 ? 0.0 : 800.0 / 32000.0);
    }
}

}  // namespace
}  // namespace brindlemoss::analysis::plugins::image_analysis
