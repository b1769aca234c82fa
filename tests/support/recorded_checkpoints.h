#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "image/checkpoints.h"

namespace test_support {

// Keeps what each label was reported with, one report behind the other.
struct recorded_checkpoints : brindlemoss::analysis::plugins::image_analysis::checkpoint_hook {
    using rect = brindlemoss::analysis::plugins::image_analysis::rect;

    void reached(std::string_view label, std::span<const rect> rects) override {
        std::vector<rect>& all = at_label[std::string(label)];
        all.insert(all.end(), rects.begin(), rects.end());
    }

    std::map<std::string, std::vector<rect>> at_label;
};

}  // namespace test_support
