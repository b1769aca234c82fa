#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "image/checkpoints.h"

namespace test_support {

// Keeps what each label was reported with, one report behind the other, and in what order labels
// came: "Seed line 1", with the number of rectangles.
struct recorded_checkpoints : brindlemoss::analysis::plugins::image_analysis::checkpoint_hook {
    using rect = brindlemoss::analysis::plugins::image_analysis::rect;

    void reached(std::string_view label, std::span<const rect> rects) override {
        std::vector<rect>& all = at_label[std::string(label)];
        all.insert(all.end(), rects.begin(), rects.end());
        in_order.push_back(std::string(label) + " " + std::to_string(rects.size()));
    }

    std::map<std::string, std::vector<rect>> at_label;
    std::vector<std::string> in_order;
};

}  // namespace test_support
