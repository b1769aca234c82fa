#include "image/line_repair.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "image/line_lists.h"
#include "image/line_measures.h"
#include "image/statistics.h"

namespace brindlemoss::analysis::plugins::image_analysis {

namespace {

// Below zero where the two share rows.
std::int64_t rows_between(const rect& a, const rect& b) {
    return vertical_gap(a, b) - 1;
}

void note(text_engine& engine, correction kind) {
    engine.corrected = true;
    engine.correction_kinds |= kind;
}

void join(text_line& first, text_line& second) {
    first.box = hull_of(first.box, second.box);
    second.valid = false;
}

// Lines from the top to the bottom, as they are and as they would be with the closest neighbours
// joined.
struct line_stack {
    running_statistics old_heights, new_heights;
    running_statistics old_gaps, new_gaps;
    std::vector<rect> new_boxes;
    std::vector<std::pair<text_line*, text_line*>> pairs;
};

line_stack stack_up(const std::vector<text_line*>& lines) {
    constexpr std::int64_t pair_gap = 4;
    const auto gap_behind = [&](std::size_t place) {
        return rows_between(lines[place]->box, lines[place + 1]->box);
    };
    line_stack stack;
    for (std::size_t place = 0; place < lines.size(); ++place) {
        stack.old_heights.add(static_cast<double>(height_of(lines[place]->box)));
        if (place + 1 < lines.size()) stack.old_gaps.add(static_cast<double>(gap_behind(place)));
    }
    for (std::size_t place = 0; place < lines.size(); ++place) {
        rect box = lines[place]->box;
        if (place + 1 < lines.size() && gap_behind(place) < pair_gap) {
            stack.pairs.emplace_back(lines[place], lines[place + 1]);
            box = hull_of(box, lines[++place]->box);
        }
        stack.new_boxes.push_back(box);
        stack.new_heights.add(static_cast<double>(height_of(box)));
        if (place + 1 < lines.size()) stack.new_gaps.add(static_cast<double>(gap_behind(place)));
    }
    return stack;
}

bool is_more_regular(const line_stack& stack) {
    constexpr double largest_variance = 2.0;
    constexpr double largest_common_variance = 1.0;
    constexpr double least_mean_gap = 5.0;
    const double heights = stack.new_heights.variance();
    const double gaps = stack.new_gaps.variance();
    if (4 * heights > stack.old_heights.variance()) return false;
    if (4 * gaps > stack.old_gaps.variance()) return false;
    if (heights > largest_variance || gaps > largest_variance) return false;
    if (heights > largest_common_variance && gaps > largest_common_variance) return false;
    return stack.new_gaps.mean() >= least_mean_gap;
}

void join_halves(text_engine& engine, const line_group& group) {
    std::vector<text_line*> lines(group.lines.begin(), group.lines.end());
    std::stable_sort(lines.begin(), lines.end(), [](const text_line* a, const text_line* b) {
        return a->box.top < b->box.top;
    });
    const line_stack stack = stack_up(lines);
    if (engine.checkpoint.wanted()) {
        engine.checkpoint("1.3 original lines", boxes_of(lines));
        engine.checkpoint("1.3 new lines", stack.new_boxes);
    }
    if (stack.pairs.empty() || !is_more_regular(stack)) return;
    engine.checkpoint("Magic 1.3 correction", stack.new_boxes);
    for (const auto& [upper, lower] : stack.pairs) join(*upper, *lower);
    note(engine, magic_1_3_correction);
}

void join_all(const line_group& group) {
    for (text_line* line : group.lines) line->valid = false;
    group.lines.front()->box = group.hull;
    group.lines.front()->valid = true;
}

bool may_be_heaps(const line_group& previous, const line_group& current) {
    const std::size_t lines = previous.lines.size() + current.lines.size();
    return rows_between(previous.hull, current.hull) <= 1 &&
           overlap_in_x(previous.hull, current.hull) && (lines == 3 || lines == 4);
}

bool join_heaps(text_engine& engine, const line_group& previous, const line_group& current) {
    engine.checkpoint("Magic 1.4 bound", current.hull);
    engine.checkpoint("Magic 1.4 prev", previous.hull);
    if (!may_be_heaps(previous, current)) return false;
    std::list<text_line*> lines = previous.lines;
    lines.insert(lines.end(), current.lines.begin(), current.lines.end());
    if (engine.checkpoint.wanted()) engine.checkpoint("Magic 1.4", boxes_of(lines));
    const std::vector<line_group> heaps = proximity_groups(lines, engine.checkpoint);
    if (heaps.size() != 2) return false;
    constexpr std::int64_t flush = 2;
    const auto distance = [](std::int32_t a, std::int32_t b) {
        return std::abs(std::int64_t{a} - b);
    };
    if (distance(previous.hull.left, current.hull.left) >= flush &&
        distance(previous.hull.right, current.hull.right) >= flush) {
        return false;
    }
    const rect joined[] = {heaps[0].hull, heaps[1].hull};
    engine.checkpoint("Magic 1.4 correction", joined);
    for (const line_group& heap : heaps) join_all(heap);
    note(engine, magic_1_4_correction);
    return true;
}

line_group valid_part(const line_group& group) {
    line_group result{inverted_rect, group.lines};
    result.lines.remove_if([](const text_line* line) { return !line->valid; });
    result.hull = hull_of_lines(result.lines);
    return result;
}

// The height of the lines that stand alone, if there are any.
std::int64_t typical_height(const std::vector<line_group>& groups) {
    constexpr std::size_t enough_for_a_median = 3;
    std::vector<std::int64_t> heights;
    for (const line_group& group : groups) {
        if (group.lines.size() == 1) heights.push_back(height_of(group.hull));
    }
    if (heights.empty()) return 0;
    return heights.size() < enough_for_a_median ? heights.back() : upper_median(heights);
}

bool must_be_one_line(double overlap, std::int64_t gap) {
    return (overlap > 0.5 || overlap < -0.6) && gap < 2;
}

bool may_be_one_line(double overlap, std::int64_t gap, std::int64_t height, std::int64_t typical) {
    return (overlap > 0.7 || overlap < -0.7) && gap < 4 && 2 * height < 3 * typical &&
           2 * typical < 3 * height;
}

void repair_pair(text_engine& engine, text_line& a, text_line& b, std::int64_t typical) {
    const rect boxes[] = {a.box, b.box};
    engine.checkpoint("Potential corrected lines", boxes);
    const double overlap = column_overlap(a.box, b.box);
    const std::int64_t gap = rows_between(a.box, b.box);
    const std::int64_t height = height_of(hull_of(a.box, b.box));
    if (must_be_one_line(overlap, gap)) {
        engine.checkpoint("Corrected lines", boxes);
        join(a, b);
        note(engine, corrected_lines);
    } else if (may_be_one_line(overlap, gap, height, typical)) {
        engine.checkpoint("Corrected lines 2", boxes);
        join(a, b);
        note(engine, corrected_lines_2);
    } else {
        engine.checkpoint("Uncorrected lines", boxes);
    }
}

}  // namespace

void repair_lines(text_engine& engine) {
    engine.checkpoint(" magic 1");
    std::list<text_line*> lines = valid_lines(engine.lines);
    if (engine.checkpoint.wanted()) engine.checkpoint("Raw lines #1", boxes_of(lines));
    std::vector<line_group> groups = horizontal_groups(lines, engine.checkpoint);
    if (groups.size() == lines.size()) return magic_1_3(engine, lines);
    if (magic_1_4(engine, groups)) {
        engine.checkpoint(" magic 1.1");
        lines = valid_lines(engine.lines);
        if (engine.checkpoint.wanted()) engine.checkpoint("Raw lines #1.1", boxes_of(lines));
        groups = horizontal_groups(lines, engine.checkpoint);
    }
    for (const line_group& group : groups) repair_group(engine, group);
}

void magic_1_3(text_engine& engine, const std::list<text_line*>& lines) {
    engine.checkpoint(" magic 1.3");
    for (const line_group& group : proximity_groups(lines, engine.checkpoint)) {
        if (group.lines.size() > 2) join_halves(engine, group);
    }
}

bool magic_1_4(text_engine& engine, const std::vector<line_group>& groups) {
    bool joined = false;
    line_group previous;
    for (const line_group& group : groups) {
        line_group current = group;
        if (!previous.lines.empty() && join_heaps(engine, previous, current)) {
            joined = true;
            previous = valid_part(previous);
            current = valid_part(current);
        }
        if (!current.lines.empty()) previous = std::move(current);
    }
    return joined;
}

void repair_group(text_engine& engine, const line_group& group) {
    if (group.lines.size() <= 2) return;
    if (engine.checkpoint.wanted()) engine.checkpoint(" magic 1", boxes_of(group.lines));
    const std::vector<line_group> columns = vertical_groups(group.lines, engine.checkpoint);
    const std::int64_t typical = typical_height(columns);
    if (typical == 0) return;
    for (const line_group& column : columns) {
        if (column.lines.size() != 2) continue;
        repair_pair(engine, *column.lines.front(), *column.lines.back(), typical);
    }
}

double column_overlap(const rect& a, const rect& b) {
    const auto width_a = static_cast<double>(width_of(a));
    const auto width_b = static_cast<double>(width_of(b));
    const bool a_inside = a.left >= b.left && a.right <= b.right;
    const bool b_inside = b.left >= a.left && b.right <= a.right;
    if (a_inside || b_inside) return std::min(width_a, width_b) / std::max(width_a, width_b);
    const auto shared = static_cast<double>(1 - horizontal_gap(a, b));
    return -std::min(shared / width_a, shared / width_b);
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
