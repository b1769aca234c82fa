#include "image/line_groups.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <random>
#include <string>

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

bool near_for_blocks(const rect& a, const rect& b) {
    return touch(a, b) || (overlap_in_x(a, b) && vertical_gap(a, b) - 1 < 16) ||
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
        const reach near_block{.rows = 16, .columns = 16, .corners = true};
        ASSERT_EQ(set.of(grouped_by_reach(set.pointers, near_block, {}, silent)),
                  slowly_grouped(boxes, near_for_blocks));
    }
}

TEST(line_groups, start_over_from_the_first_line_when_the_hull_has_grown) {
    // The second joins only after the third, and then stands before the fourth.
    const line_set set({{0, 0, 9, 9}, {0, 15, 9, 24}, {20, 8, 29, 16}, {40, 5, 49, 12}});
    EXPECT_THAT(set.of(horizontal_groups(set.pointers, checkpoints())),
                ElementsAre(positions{0, 2, 1, 3}));
    const line_set turned({{0, 0, 9, 9}, {15, 0, 24, 9}, {8, 20, 16, 29}, {5, 40, 12, 49}});
    EXPECT_THAT(turned.of(vertical_groups(turned.pointers, checkpoints())),
                ElementsAre(positions{0, 2, 1, 3}));
}

TEST(line_groups, know_their_hulls) {
    const line_set set({{5, 0, 9, 9}, {50, 20, 59, 29}, {0, 4, 3, 14}});
    const std::vector<line_group> groups = horizontal_groups(set.pointers, checkpoints());
    ASSERT_EQ(groups.size(), 2u);
    EXPECT_EQ(groups[0].hull, (rect{0, 0, 9, 14}));
    EXPECT_EQ(groups[1].hull, (rect{50, 20, 59, 29}));
    const std::vector<line_group> near = proximity_groups(set.pointers, checkpoints());
    ASSERT_EQ(near.size(), 2u);
    EXPECT_EQ(near[0].hull, (rect{0, 0, 9, 14}));
}

TEST(line_groups, reach_24_rows_and_16_columns) {
    const auto groups_with = [](const rect& other) {
        const line_set set({{100, 100, 199, 109}, other});
        return proximity_groups(set.pointers, checkpoints()).size();
    };
    EXPECT_EQ(groups_with({199, 133, 250, 140}), 1u);  // 23 rows between them
    EXPECT_EQ(groups_with({199, 134, 250, 140}), 2u);
    EXPECT_EQ(groups_with({50, 70, 100, 76}), 1u);
    EXPECT_EQ(groups_with({50, 70, 100, 75}), 2u);
    EXPECT_EQ(groups_with({215, 109, 250, 120}), 1u);  // 15 columns between them
    EXPECT_EQ(groups_with({216, 109, 250, 120}), 2u);
    EXPECT_EQ(groups_with({50, 90, 84, 100}), 1u);
    EXPECT_EQ(groups_with({50, 90, 83, 100}), 2u);
    EXPECT_EQ(groups_with({200, 110, 250, 120}), 2u);  // at the corner only
}

class label_recorder : public checkpoint_hook {
public:
    void reached(std::string_view label, std::span<const rect> rects) override {
        labels.push_back(std::string(label) + " " + std::to_string(rects.size()));
    }
    std::vector<std::string> labels;
};

TEST(line_groups, are_reported) {
    label_recorder recorder;
    const checkpoints checkpoint(&recorder);
    const line_set set({{0, 0, 9, 9}, {5, 5, 14, 14}, {100, 100, 109, 109}});
    horizontal_groups(set.pointers, checkpoint);
    vertical_groups(set.pointers, checkpoint);
    proximity_groups(set.pointers, checkpoint);
    EXPECT_THAT(
        recorder.labels,
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
