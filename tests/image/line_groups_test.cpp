#include "image/line_groups.h"

#include <gmock/gmock.h>

#include <functional>
#include <initializer_list>
#include <random>
#include <string>

#include "support/recorded_checkpoints.h"

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

using testing::ElementsAre;

using positions = std::vector<std::size_t>;  // places in the list of lines

struct line_set {
    explicit line_set(const std::vector<rect>& boxes) {
        for (const rect& box : boxes) pointers.push_back(&lines.emplace_back(box));
    }

    positions of(const line_group& group) const {
        positions result;
        for (const text_line* line : group.lines) {
            const auto place = std::find(pointers.begin(), pointers.end(), line);
            result.push_back(static_cast<std::size_t>(std::distance(pointers.begin(), place)));
        }
        return result;
    }
    std::vector<positions> of(const std::vector<line_group>& groups) const {
        std::vector<positions> result;
        for (const line_group& group : groups) result.push_back(of(group));
        return result;
    }

    std::list<text_line> lines;
    std::list<text_line*> pointers;
};

// Looks at every line again for every one that joins.
std::vector<positions> slowly_grouped(const std::vector<rect>& boxes,
                                      const std::function<bool(const rect&, const rect&)>& belong) {
    std::vector<positions> groups;
    std::vector<bool> gone(boxes.size());
    const auto first_that_belongs = [&](const rect* hull) {
        std::size_t place = 0;
        while (place < boxes.size() &&
               (gone[place] || (hull != nullptr && !belong(*hull, boxes[place])))) {
            ++place;
        }
        return place;
    };
    for (std::size_t seed = first_that_belongs(nullptr); seed < boxes.size();
         seed = first_that_belongs(nullptr)) {
        rect hull = boxes[seed];
        groups.emplace_back();
        for (std::size_t next = seed; next < boxes.size(); next = first_that_belongs(&hull)) {
            groups.back().push_back(next);
            gone[next] = true;
            hull = hull_of(hull, boxes[next]);
        }
    }
    return groups;
}

bool near_for_repair(const rect& a, const rect& b) {
    return (overlap_in_x(a, b) && vertical_gap(a, b) - 1 < 24) ||
           (overlap_in_y(a, b) && horizontal_gap(a, b) - 1 < 16);
}

// Boxes over a square of `side` pixels, some of them inverted.
std::vector<rect> random_boxes(std::mt19937& random, std::uint32_t side) {
    const std::size_t largest = 1 + random() % (side / 4);
    std::vector<rect> boxes(random() % 40);
    for (rect& box : boxes) {
        const auto left = static_cast<std::int32_t>(random() % side);
        const auto top = static_cast<std::int32_t>(random() % side);
        box = {left, top, left + static_cast<std::int32_t>(random() % largest),
               top + static_cast<std::int32_t>(random() % largest)};
        if (random() % 50 == 0) box = inverted_rect;
    }
    return boxes;
}

TEST(line_groups, are_those_of_the_slow_search) {
    std::mt19937 random(20);
    const checkpoints silent;
    for (int round = 0; round < 6000; ++round) {
        const std::uint32_t side = 20u << (random() % 6);
        const std::vector<rect> boxes = random_boxes(random, side);
        SCOPED_TRACE("round " + std::to_string(round));
        const line_set set(boxes);
        ASSERT_EQ(set.of(horizontal_groups(set.pointers, silent)),
                  slowly_grouped(boxes, overlap_in_y));
        ASSERT_EQ(set.of(vertical_groups(set.pointers, silent)),
                  slowly_grouped(boxes, overlap_in_x));
        ASSERT_EQ(set.of(proximity_groups(set.pointers, silent)),
                  slowly_grouped(boxes, near_for_repair));
    }
}

TEST(line_groups, are_reported) {
    test_support::recorded_checkpoints recorder;
    const checkpoints checkpoint(&recorder);
    const line_set set({{0, 0, 9, 9}, {5, 5, 14, 14}, {100, 100, 109, 109}});
    horizontal_groups(set.pointers, checkpoint);
    vertical_groups(set.pointers, checkpoint);
    proximity_groups(set.pointers, checkpoint);
    EXPECT_THAT(
        recorder.in_order,
        ElementsAre("Multiple lines h 2", "Multiple lines h box 1", "Single lines h 1",
                    "Multiple lines v 2", "Multiple lines v box 1", "Single lines v 1",
                    "Seed line 1", "Tail line 1", "New group 1", "Seed line 1", "New group 1"));
}

TEST(line_groups, are_found_fast_among_very_many) {
    // 250 by 250 lines that hang together, and as many that do not.
    std::vector<rect> boxes;
    for (std::int32_t row = 0; row < 250; ++row) {
        for (std::int32_t column = 0; column < 250; ++column) {
            const std::int32_t left = column * 30, top = row * 14;
            boxes.push_back({left, top, left + 20, top + 8});
            boxes.push_back({20'000 + column * 60, row * 60, 20'020 + column * 60, row * 60 + 8});
        }
    }
    const line_set set(boxes);
    EXPECT_EQ(proximity_groups(set.pointers, checkpoints()).size(), 1u + 250u * 250u);
}

}  // namespace
}  // namespace brindlemoss::analysis::plugins::image_analysis
