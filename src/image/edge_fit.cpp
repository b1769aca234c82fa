#include "image/edge_fit.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <span>

#include "image/line_fit.h"
#include "image/near_statistics.h"

namespace brindlemoss::analysis::plugins::image_analysis {

namespace {

using point_list = std::vector<edge_point>;

// A stretch of a list of points.
struct point_run {
    std::size_t begin;
    std::size_t end;

    std::size_t size() const { return end - begin; }
};

constexpr std::size_t fewest_points = 20;
constexpr std::size_t neighbours = 5;  // on each side, that tell whether a point lies steadily
constexpr double restless_variance = 0.8;
constexpr double bent_variance = 5.0;
constexpr double rounding = 1e-6;  // the running figures are right to far more digits

void report(std::string_view label, std::span<const edge_point> points,
            const checkpoints& checkpoint) {
    if (!checkpoint.wanted()) return;
    std::vector<rect> places;
    places.reserve(points.size());
    for (const edge_point& each : points) places.push_back({each.x, each.y, each.x, each.y});
    checkpoint(label, places);
}

// The points, of at least `fewest_points`, among whose neighbours the edge rises or falls evenly.
// The one that has no point beyond its neighbours is not asked.
point_list steady_points(const point_list& points) {
    point_list steady;
    whole_number_sums steps;
    const auto step = [&](std::size_t i) { return std::int64_t{points[i + 1].y} - points[i].y; };
    for (std::size_t i = 0; i < 2 * neighbours - 1; ++i) steps.add(step(i));
    for (std::size_t i = neighbours; i + neighbours + 2 <= points.size(); ++i) {
        steps.add(step(i + neighbours - 1));
        const double variance = figure_beside(restless_variance, steps.variance(), rounding, [&] {
            running_statistics running;
            for (std::size_t at = i - neighbours; at < i + neighbours; ++at) {
                running.add(static_cast<double>(step(at)));
            }
            return running.variance();
        });
        if (variance < restless_variance) steady.push_back(points[i]);
        steps.remove(step(i - neighbours));
    }
    return steady;
}

bool breaks(const edge_point& before, const edge_point& point) {
    const std::int64_t dx = std::int64_t{point.x} - before.x;
    const std::int64_t dy = std::int64_t{point.y} - before.y;
    return (std::abs(dy) >= std::abs(dx) && std::abs(dy) >= 4) || dx * dx + dy * dy >= 64;
}

// Runs without a jump. Each but the last loses its last point and must be long enough.
std::vector<point_run> split_at_jumps(const point_list& points) {
    std::vector<point_run> runs;
    std::size_t begin = 0;
    for (std::size_t i = 1; i < points.size(); ++i) {
        if (!breaks(points[i - 1], points[i])) continue;
        if (i - 1 - begin >= fewest_points) runs.push_back({begin, i - 1});
        begin = i;
    }
    runs.push_back({begin, points.size()});
    return runs;
}

// Runs that lie along one straight line.
class straight_group {
public:
    straight_group(const point_list& points, const point_run& first) : points_(&points) {
        take(first, fit_with(first));
    }

    bool take_if_straight(const point_run& run) {
        const line_fit fit = fit_with(run);
        const double slope = fit.fitted().slope;
        const double variance =
            figure_beside(bent_variance, fit.residual_variance(slope), fit.residual_rounding(slope),
                          [&] { return running_residual_variance(fit.fitted(), run); });
        if (!(variance < bent_variance)) return false;
        take(run, fit);
        return true;
    }

    std::size_t size() const { return fit_.count(); }
    double slope() const { return fit_.fitted().slope; }
    rect hull() const {
        rect all = inverted_rect;
        for (const point_run& run : runs_) {
            for (std::size_t i = run.begin; i < run.end; ++i) {
                const edge_point& each = (*points_)[i];
                all = hull_of(all, {each.x, each.y, each.x, each.y});
            }
        }
        return all;
    }

private:
    line_fit fit_with(const point_run& run) const {
        line_fit fit = fit_;
        for (std::size_t i = run.begin; i < run.end; ++i) fit.add((*points_)[i].x, (*points_)[i].y);
        return fit;
    }

    void take(const point_run& run, const line_fit& fit) {
        runs_.push_back(run);
        fit_ = fit;
    }

    double running_residual_variance(const line_fit::line& line, const point_run& run) const {
        running_statistics residuals;
        const auto add = [&](const point_run& each) {
            for (std::size_t i = each.begin; i < each.end; ++i) {
                residuals.add(line.slope * (*points_)[i].x + line.offset - (*points_)[i].y);
            }
        };
        for (const point_run& each : runs_) add(each);
        add(run);
        return residuals.variance();
    }

    const point_list* points_;
    std::vector<point_run> runs_;
    line_fit fit_;
};

// The text may stand along a curve or in several straight stretches: the longest one wins.
double slope_of_longest(const point_list& points, const std::vector<point_run>& runs,
                        const checkpoints& checkpoint) {
    double slope = 0.0;
    std::size_t most = 0;
    const auto close = [&](const straight_group& group) {
        if (checkpoint.wanted()) checkpoint("Curve estimate", group.hull());
        if (group.size() <= most) return;
        most = group.size();
        slope = group.slope();
    };
    straight_group group(points, runs.front());
    for (const point_run& run : std::span(runs).subspan(1)) {
        if (group.take_if_straight(run)) continue;
        close(group);
        group = straight_group(points, run);
    }
    close(group);
    return slope;
}

}  // namespace

double slope_of_edge(const std::vector<edge_point>& points, std::string_view label,
                     const checkpoints& checkpoint) {
    report(label, points, checkpoint);
    if (points.size() < fewest_points) return 0.0;
    const point_list steady = steady_points(points);
    report("Valid points #1", steady, checkpoint);
    if (steady.size() < fewest_points) return 0.0;
    return slope_of_longest(steady, split_at_jumps(steady), checkpoint);
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
