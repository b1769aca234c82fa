#include "image/crossings.h"

#include "image/near_statistics.h"

namespace brindlemoss::analysis::plugins::image_analysis {

namespace {

constexpr std::size_t fewest_crossings = 4;
constexpr double least_mean = 2.5;
constexpr double largest_mean = 20.0;
constexpr double largest_variance = 45.0;
constexpr double rounding = 1e-6;  // the running figures are right to far more digits

running_statistics running_distances(std::span<const std::int32_t> columns) {
    running_statistics distances;
    for (std::size_t i = 1; i < columns.size(); ++i) {
        distances.add(static_cast<double>(columns[i] - columns[i - 1]));
    }
    return distances;
}

}  // namespace

crossing_verdict judge_crossings(std::span<const std::int32_t> columns) {
    if (columns.size() < fewest_crossings) return crossing_verdict::too_few;
    whole_number_sums distances;
    std::int32_t previous = columns.front();
    for (const std::int32_t column : columns.subspan(1)) {
        distances.add(column - previous);
        previous = column;
    }
    const auto mean_beside = [&](double limit) {
        return figure_beside(limit, distances.mean(), rounding,
                             [&] { return running_distances(columns).mean(); });
    };
    if (mean_beside(least_mean) < least_mean) return crossing_verdict::mean_too_low;
    if (mean_beside(largest_mean) > largest_mean) return crossing_verdict::mean_too_high;
    const double variance = figure_beside(largest_variance, distances.variance(), rounding,
                                          [&] { return running_distances(columns).variance(); });
    if (variance > largest_variance) return crossing_verdict::variance_too_high;
    return crossing_verdict::like_text;
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
