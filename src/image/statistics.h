#pragma once

#include <cstddef>

namespace brindlemoss::analysis::plugins::image_analysis {

// Mean and population variance in one pass, by the running update of Welford, "Note on a method for
// calculating corrected sums of squares and products", 1962. Both are 0 before the first value.
class running_statistics {
public:
    void add(double value) {
        const double before = value - mean_;
        mean_ += before / static_cast<double>(++count_);
        squares_ += before * (value - mean_);
    }

    std::size_t count() const { return count_; }
    double mean() const { return mean_; }
    double variance() const { return count_ == 0 ? 0.0 : squares_ / static_cast<double>(count_); }

private:
    std::size_t count_ = 0;
    double mean_ = 0.0;
    double squares_ = 0.0;
};

template <typename number_range>
running_statistics statistics_of(const number_range& values) {
    running_statistics statistics;
    for (const auto value : values) statistics.add(static_cast<double>(value));
    return statistics;
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
