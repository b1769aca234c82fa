#include "image/line_groups.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "image/line_lists.h"
#include "image/line_measures.h"

namespace brindlemoss::analysis::plugins::image_analysis {

namespace {

// A line's extent along one axis, and its place in the list.
struct line_span {
    std::int32_t begin;
    std::int32_t end;
    std::size_t position;
    text_line* line;
};

bool overlap(const line_span& a, const line_span& b) {
    return a.begin <= b.end && b.begin <= a.end;
}

bool stands_behind(const line_span& a, const line_span& b) {
    return a.position > b.position;
}

// Cuts spans into sets that hang together.
std::vector<std::vector<line_span>> connected(std::vector<line_span> spans) {
    std::sort(spans.begin(), spans.end(),
              [](const line_span& a, const line_span& b) { return a.begin < b.begin; });
    std::vector<std::vector<line_span>> sets;
    std::int32_t end = std::numeric_limits<std::int32_t>::min();
    for (const line_span& each : spans) {
        if (sets.empty() || each.begin > end) {
            sets.emplace_back();
            end = each.end;
        }
        sets.back().push_back(each);
        end = std::max(end, each.end);
    }
    return sets;
}

// Spans that hang together, in order of their beginnings, are put into the order in which they join
// the one that stands first. The hull takes in each of them once: at the start, when its end has
// come to their beginning, or when its beginning has come to their end.
void put_in_joining_order(std::vector<line_span>& spans) {
    std::vector<line_span> by_end = spans;
    std::sort(by_end.begin(), by_end.end(),
              [](const line_span& a, const line_span& b) { return a.end > b.end; });
    const line_span seed = *std::max_element(spans.begin(), spans.end(), stands_behind);
    std::vector<line_span> heap;
    for (const line_span& each : spans) {
        if (overlap(each, seed) && each.position != seed.position) heap.push_back(each);
    }
    std::make_heap(heap.begin(), heap.end(), stands_behind);
    const auto wait = [&](const line_span& each) {
        heap.push_back(each);
        std::push_heap(heap.begin(), heap.end(), stands_behind);
    };

    std::vector<line_span> order{seed};
    line_span hull = seed;
    auto behind =
        std::upper_bound(spans.begin(), spans.end(), seed.end,
                         [](std::int32_t end, const line_span& each) { return end < each.begin; });
    auto before = std::upper_bound(
        by_end.begin(), by_end.end(), seed.begin,
        [](std::int32_t begin, const line_span& each) { return begin > each.end; });
    while (!heap.empty()) {
        std::pop_heap(heap.begin(), heap.end(), stands_behind);
        order.push_back(heap.back());
        heap.pop_back();
        hull.begin = std::min(hull.begin, order.back().begin);
        hull.end = std::max(hull.end, order.back().end);
        for (; behind != spans.end() && behind->begin <= hull.end; ++behind) wait(*behind);
        for (; before != by_end.end() && before->end >= hull.begin; ++before) wait(*before);
    }
    spans.swap(order);
}

std::vector<line_group> grouped_by_span(std::vector<line_span> spans) {
    std::vector<std::vector<line_span>> sets = connected(std::move(spans));
    for (std::vector<line_span>& set : sets) {
        if (set.size() > 1) put_in_joining_order(set);
    }
    std::sort(sets.begin(), sets.end(),
              [](const auto& a, const auto& b) { return a.front().position < b.front().position; });
    std::vector<line_group> groups;
    groups.reserve(sets.size());
    for (const std::vector<line_span>& set : sets) {
        line_group& group = groups.emplace_back();
        group.hull = set.front().line->box;
        for (const line_span& each : set) {
            group.hull = hull_of(group.hull, each.line->box);
            group.lines.push_back(each.line);
        }
    }
    return groups;
}

void report_groups(const std::vector<line_group>& groups, std::string_view several,
                   std::string_view several_box, std::string_view single,
                   const checkpoints& checkpoint) {
    if (!checkpoint.wanted()) return;
    for (const line_group& group : groups) {
        const std::vector<rect> boxes = boxes_of(group.lines);
        if (boxes.size() == 1) {
            checkpoint(single, boxes);
        } else {
            checkpoint(several, boxes);
            checkpoint(several_box, group.hull);
        }
    }
}

rect widened(const rect& r, std::int32_t columns, std::int32_t rows) {
    return {r.left - columns, r.top - rows, r.right + columns, r.bottom + rows};
}

}  // namespace

std::vector<line_group> horizontal_groups(const std::list<text_line*>& lines,
                                          const checkpoints& checkpoint) {
    std::vector<line_span> spans;
    spans.reserve(lines.size());
    for (text_line* line : lines) {
        spans.push_back({line->box.top, line->box.bottom, spans.size(), line});
    }
    std::vector<line_group> groups = grouped_by_span(std::move(spans));
    report_groups(groups, "Multiple lines h", "Multiple lines h box", "Single lines h", checkpoint);
    return groups;
}

std::vector<line_group> vertical_groups(const std::list<text_line*>& lines,
                                        const checkpoints& checkpoint) {
    std::vector<line_span> spans;
    spans.reserve(lines.size());
    for (text_line* line : lines) {
        spans.push_back({line->box.left, line->box.right, spans.size(), line});
    }
    std::vector<line_group> groups = grouped_by_span(std::move(spans));
    report_groups(groups, "Multiple lines v", "Multiple lines v box", "Single lines v", checkpoint);
    return groups;
}

std::vector<line_group> proximity_groups(const std::list<text_line*>& lines,
                                         const checkpoints& checkpoint) {
    return grouped_by_reach(lines, {.rows = 24, .columns = 16},
                            {.seed = "Seed line", .tail = "Tail line", .group = "New group"},
                            checkpoint);
}

std::vector<line_group> grouped_by_reach(const std::list<text_line*>& lines, const reach& near,
                                         const group_labels& labels,
                                         const checkpoints& checkpoint) {
    std::vector<line_group> groups;
    reach_grouping grouping(lines, near, labels, checkpoint);
    while (std::optional<line_group> group = grouping.next()) groups.push_back(std::move(*group));
    return groups;
}

reach_grouping::reach_grouping(const std::list<text_line*>& lines, const reach& near,
                               const group_labels& labels, const checkpoints& checkpoint)
    : index_(hull_of_lines(lines)), near_(near), labels_(labels), checkpoint_(checkpoint) {
    members_.reserve(lines.size());
    for (text_line* line : lines) {
        index_.add(members_.size(), line->box);
        members_.push_back({line, line->box});
    }
}

std::optional<line_group> reach_grouping::next() {
    while (next_seed_ < members_.size() && members_[next_seed_].taken) ++next_seed_;
    if (next_seed_ == members_.size()) return std::nullopt;
    member& seed = members_[next_seed_];
    seed.taken = true;
    report(labels_.seed, seed.box);
    line_group group{seed.box, {seed.line}};
    first_in_list_order waiting;
    find_neighbours(group.hull, nullptr, waiting);
    while (!waiting.empty()) {
        const member& tail = members_[waiting.top()];
        waiting.pop();
        report(labels_.tail, tail.box);
        group.lines.push_back(tail.line);
        const rect before = group.hull;
        group.hull = hull_of(before, tail.box);
        if (group.hull != before) find_neighbours(group.hull, &before, waiting);
    }
    report(labels_.group, group.hull);
    return group;
}

// What belongs to a hull belongs to all that it grows into, so that it is taken at once and only
// waits for its turn.
void reach_grouping::find_neighbours(const rect& hull, const rect* hull_before,
                                     first_in_list_order& waiting) {
    found_.clear();
    take(hull, hull_before, 0, near_.rows);
    take(hull, hull_before, near_.columns, 0);
    if (near_.corners) take(hull, hull_before, 1, 1);
    for (const std::size_t position : found_) {
        if (members_[position].taken) continue;  // the seed
        members_[position].taken = true;
        waiting.push(position);
    }
}

void reach_grouping::take(const rect& hull, const rect* hull_before, std::int32_t columns,
                          std::int32_t rows) {
    if (hull_before == nullptr) {
        index_.take(widened(hull, columns, rows), found_);
    } else {
        const rect emptied = widened(*hull_before, columns, rows);
        index_.take(widened(hull, columns, rows), found_, &emptied);
    }
}

void reach_grouping::report(std::string_view label, const rect& place) const {
    if (!label.empty()) checkpoint_(label, place);
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
