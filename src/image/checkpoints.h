#pragma once

#include <span>
#include <string_view>

#include "image/rect.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// Who looks over the engine's shoulder, for people who want to see what it saw. Nothing that it
// does changes the outcome.
class checkpoint_hook {
public:
    virtual ~checkpoint_hook() = default;

    // A stage has come to the point that `label` names and holds `rects`; both are borrowed for the
    // call.
    virtual void reached(std::string_view label, std::span<const rect> rects) = 0;
};

// What the stages report to; without a hook it costs one test of a pointer. What is made for the
// hook alone is made behind wanted().
class checkpoints {
public:
    explicit checkpoints(checkpoint_hook* hook = nullptr) : hook_(hook) {}

    bool wanted() const { return hook_ != nullptr; }

    void operator()(std::string_view label, std::span<const rect> rects) const {
        if (hook_ != nullptr) hook_->reached(label, rects);
    }
    void operator()(std::string_view label, const rect& only) const {
        if (hook_ != nullptr) hook_->reached(label, {&only, 1});
    }
    void operator()(std::string_view label) const {
        if (hook_ != nullptr) hook_->reached(label, {});
    }

private:
    checkpoint_hook* hook_;
};

}  // namespace brindlemoss::analysis::plugins::image_analysis
