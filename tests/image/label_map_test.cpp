#include "image/label_map.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <initializer_list>
#include <list>
#include <random>
#include <utility>
#include <vector>

#include "image/line_lists.h"
#include "support/plane_drawing.h"

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

using namespace test_support;
using testing::ElementsAre;

// In a line whose bounds are its box.
std::vector<rect> labelled(const plane& picture, const level_flags& background, const rect& box) {
    text_line line(box);
    line.bounding_box = box;
    return boxes_of(label_map(picture, background).label_line(line, true));
}

// Pixel by pixel over the whole map, with every neighbour looked up.
class slow_labels {
public:
    explicit slow_labels(const plane& picture)
        : picture_(picture), labels_(picture.levels.size(), 0) {}

    std::vector<rect> label_line(const rect& box, const rect& bounds) {
        boxes_.clear();
        const auto first_row = [&](std::int32_t y) { return std::max(y, 1); };
        const auto last_row = [&](std::int32_t y) { return std::min(y, picture_.height - 2); };
        for (std::int32_t x = box.left; x <= box.right; ++x) {
            for (std::int32_t y = first_row(box.top); y <= last_row(box.bottom); ++y) {
                if (is_ink(x, y) && !take(x, y, {{-1, -1}, {-1, 0}, {-1, 1}, {0, -1}})) {
                    boxes_.push_back({x, y, x, y});
                    set(x, y, boxes_.size());
                }
            }
        }
        for (std::int32_t x = box.right; x <= bounds.right; ++x) {
            for (std::int32_t y = first_row(bounds.top); y <= last_row(bounds.bottom); ++y) {
                take(x, y, {{-1, -1}, {-1, 0}, {-1, 1}, {0, -1}});
            }
        }
        for (std::int32_t y = box.top - 1; y >= bounds.top; --y) {
            if (!take_row(y, bounds, {{-1, 1}, {0, 1}, {1, 1}, {-1, 0}})) break;
        }
        for (std::int32_t y = box.bottom + 1; y <= bounds.bottom; ++y) {
            if (!take_row(y, bounds, {{-1, -1}, {0, -1}, {1, -1}, {-1, 0}})) break;
        }
        return boxes_;
    }

private:
    using steps = std::initializer_list<std::pair<std::int32_t, std::int32_t>>;

    bool is_inside(std::int32_t x, std::int32_t y) const {
        return x >= 0 && y >= 0 && x < picture_.width && y < picture_.height;
    }
    bool is_ink(std::int32_t x, std::int32_t y) const { return picture_.at(x, y) != paper; }
    std::size_t place(std::int32_t x, std::int32_t y) const {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(picture_.width) +
               static_cast<std::size_t>(x);
    }
    void set(std::int32_t x, std::int32_t y, std::size_t label) { labels_[place(x, y)] = label; }

    bool take(std::int32_t x, std::int32_t y, steps neighbours) {
        if (!is_ink(x, y)) return false;
        for (const auto& [dx, dy] : neighbours) {
            if (!is_inside(x + dx, y + dy) || labels_[place(x + dx, y + dy)] == 0) continue;
            const std::size_t label = labels_[place(x + dx, y + dy)];
            set(x, y, label);
            if (label <= boxes_.size()) {
                boxes_[label - 1] = hull_of(boxes_[label - 1], {x, y, x, y});
            }
            return true;
        }
        return false;
    }

    bool take_row(std::int32_t y, const rect& bounds, steps neighbours) {
        bool any = false;
        for (std::int32_t x = bounds.left; x <= bounds.right; ++x) any |= take(x, y, neighbours);
        return any;
    }

    const plane& picture_;
    std::vector<std::size_t> labels_;
    std::vector<rect> boxes_;
};

// What hangs together only further right stays apart: labels come from the left and from above.
TEST(label_map, does_not_join_blobs_that_meet_later) {
    const plane picture = plane_of({".......",  //
                                    ".####..",  //
                                    "....#..",  //
                                    ".####..",  //
                                    "......."});
    EXPECT_THAT(labelled(picture, paper_alone(), {1, 1, 4, 3}),
                ElementsAre(rect{1, 1, 4, 2}, rect{1, 3, 4, 3}));
}

TEST(label_map, takes_any_level_for_ink_that_is_not_background) {
    level_flags background{};
    background[100] = background[255] = true;
    const plane picture = drawing(9, 4, 255).fill({1, 1, 1, 2}, 100).fill({4, 1, 4, 2}, 99).result;
    EXPECT_THAT(labelled(picture, background, {1, 1, 7, 2}), ElementsAre(rect{4, 1, 4, 2}));
}

TEST(label_map, labels_as_the_slow_way_does) {
    std::mt19937 random(815);
    const auto between = [&](std::int32_t low, std::int32_t high) {
        return low + static_cast<std::int32_t>(
                         random() % static_cast<std::uint32_t>(std::max(high - low + 1, 1)));
    };
    std::size_t private_lines = 0;
    for (int round = 0; round < 500; ++round) {
        SCOPED_TRACE(round);
        drawing picture(between(1, 120), between(1, 90));
        const std::size_t density = 1 + random() % 8;
        for (std::uint8_t& level : picture.result.levels) {
            if (random() % density == 0) level = ink;
        }
        const std::int32_t width = picture.result.width, height = picture.result.height;
        const level_flags background = paper_alone();
        label_map map(picture.result, background);
        small_label_map small_map(picture.result, background);
        slow_labels slow(picture.result);
        std::list<text_line> lines;
        for (std::size_t left = random() % 5; left < 6; ++left) {
            rect box{between(0, width - 1), between(0, height - 1), 0, 0};
            box.right = between(box.left, std::min(box.left + 25, width - 1));
            box.bottom = between(box.top, std::min(box.top + 15, height - 1));
            lines.emplace_back(box).bounding_box = {
                std::max(box.left - between(0, 8), 1), std::max(box.top - between(0, 8), 1),
                std::min(box.right + between(0, 8), width - 2),
                std::min(box.bottom + between(0, 8), height - 2)};
        }
        const std::vector<bool> needed = needed_later(valid_lines(lines));
        std::size_t number = 0;
        for (const text_line& line : lines) {
            private_lines += !needed[number];
            const std::vector<rect> expected = slow.label_line(line.box, line.bounding_box);
            ASSERT_EQ(boxes_of(map.label_line(line, needed[number])), expected) << number;
            ASSERT_EQ(boxes_of(small_map.label_line(line, needed[number])), expected) << number;
            ++number;
        }
    }
    EXPECT_GT(private_lines, 500u);
}

TEST(label_map, has_small_labels_for_boxes_of_fewer_than_65536_pixels) {
    std::list<text_line> lines;
    lines.emplace_back(rect{1, 1, 255, 257});
    EXPECT_TRUE(fit_small_labels(valid_lines(lines)));
    lines.emplace_back(rect{1, 1, 256, 256});
    EXPECT_FALSE(fit_small_labels(valid_lines(lines)));
}

TEST(needed_later, tells_lines_at_which_later_ones_look) {
    const struct {
        const char* name;
        rect bounds;  // of the second line
        bool needed;
    } rows[] = {
        {"bounds beside the first line", {0, 31, 100, 50}, true},
        {"a row between", {0, 32, 100, 50}, false},
        {"bounds within the line", {20, 42, 80, 44}, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::list<text_line> lines;
        lines.emplace_back(rect{10, 20, 90, 30}).bounding_box = {0, 0, 100, 100};
        lines.emplace_back(rect{10, 40, 90, 49}).bounding_box = row.bounds;
        EXPECT_THAT(needed_later(valid_lines(lines)), ElementsAre(row.needed, false));
    }
}

}  // namespace
}  // namespace brindlemoss::analysis::plugins::image_analysis
