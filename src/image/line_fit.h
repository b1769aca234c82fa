#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>

namespace brindlemoss::analysis::plugins::image_analysis {

// Least squares through points that are added one after the other: y = slope * x + offset.
class line_fit {
public:
    struct line {
        double slope = 0.0;
        double offset = 0.0;
    };

    void add(std::int32_t point_x, std::int32_t point_y) {
        const double x = point_x;
        const double y = point_y;
        ++count_;
        sum_x_ += x;
        sum_y_ += y;
        sum_xx_ += x * x;
        sum_xy_ += x * y;
        const double n = static_cast<double>(count_);
        const double before_x = x - mean_x_;
        const double before_y = y - mean_y_;
        mean_x_ += before_x / n;
        mean_y_ += before_y / n;
        spread_xx_ += before_x * (x - mean_x_);
        spread_xy_ += before_x * (y - mean_y_);
        spread_yy_ += before_y * (y - mean_y_);
    }

    std::size_t count() const { return count_; }

    // All 0.0 where the points give none.
    line fitted() const {
        const double n = static_cast<double>(count_);
        const double determinant = n * sum_xx_ - sum_x_ * sum_x_;
        if (determinant < 0.00001 || count_ < 2) return {};
        return {(n * sum_xy_ - sum_x_ * sum_y_) / determinant,
                (sum_xx_ * sum_y_ - sum_x_ * sum_xy_) / determinant};
    }

    // The population variance of the points' vertical distances from a line of that slope, without
    // another look at the points; right to about `residual_rounding`.
    double residual_variance(double slope) const {
        return (slope * slope * spread_xx_ - 2.0 * slope * spread_xy_ + spread_yy_) /
               static_cast<double>(count_);
    }
    double residual_rounding(double slope) const {
        const double scale =
            (slope * slope * spread_xx_ + spread_yy_) / static_cast<double>(count_);
        return 1e-9 + 1e-10 * scale;
    }

private:
    std::size_t count_ = 0;
    double sum_x_ = 0.0, sum_y_ = 0.0, sum_xx_ = 0.0, sum_xy_ = 0.0;
    double mean_x_ = 0.0, mean_y_ = 0.0;
    double spread_xx_ = 0.0, spread_xy_ = 0.0, spread_yy_ = 0.0;
};

}  // namespace brindlemoss::analysis::plugins::image_analysis
