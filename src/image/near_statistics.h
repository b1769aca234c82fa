#pragma once

#include <cmath>
#include <cstdint>

#include "image/statistics.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// Count, sum and sum of squares of whole numbers, exact as long as their squares times their count
// stay within 63 bits.
//
// Decisions are due to the running update, whose divisions cost far more than all else that is done
// for a number. Its figures differ from the exact ones only in their last digits, so the exact ones
// decide wherever a limit is not that near.
class whole_number_sums {
public:
    void add(std::int64_t value) {
        ++count_;
        sum_ += value;
        squares_ += value * value;
    }
    void remove(std::int64_t value) {
        --count_;
        sum_ -= value;
        squares_ -= value * value;
    }

    double mean() const { return static_cast<double>(sum_) / static_cast<double>(count_); }
    double variance() const {
        return static_cast<double>(count_ * squares_ - sum_ * sum_) /
               (static_cast<double>(count_) * static_cast<double>(count_));
    }

private:
    std::int64_t count_ = 0;
    std::int64_t sum_ = 0;
    std::int64_t squares_ = 0;
};

// Which of two ways to the same figure decides against `limit`: the cheap one wherever it is clear.
// `uncertainty` is well above what the two can differ by.
template <typename figure_function>
double figure_beside(double limit, double cheap, double uncertainty, figure_function exact_way) {
    return std::abs(cheap - limit) > uncertainty ? cheap : exact_way();
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
