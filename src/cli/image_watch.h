#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "image/checkpoints.h"
#include "image/text_engine.h"

namespace brindlemoss::cli {

// Looks on while the text engine runs on a picture, and keeps what its record no longer holds in
// the end.
class image_watch : public analysis::plugins::image_analysis::checkpoint_hook {
public:
    using rect = analysis::plugins::image_analysis::rect;
    using text_engine = analysis::plugins::image_analysis::text_engine;

    struct checkpoint {
        std::string label;
        std::vector<rect> rects;
    };

    enum class keep { little, every_checkpoint };
    explicit image_watch(keep wanted) : keep_(wanted) {}

    // The engine whose run comes next; must outlive that run.
    void follow(const text_engine& engine) { engine_ = &engine; }

    void reached(std::string_view label, std::span<const rect> rects) override;

    // MD5 of the preprocessed plane before any later stage wrote to it, in hexadecimal; empty when
    // preprocessing did not end.
    const std::string& preprocessed_md5() const { return preprocessed_md5_; }

    // The rows' stretches of text from which the regions grew.
    const std::vector<rect>& segments() const { return segments_; }

    // All of them, in order, where they were to be kept.
    const std::vector<checkpoint>& checkpoints() const { return checkpoints_; }

private:
    const keep keep_;
    const text_engine* engine_ = nullptr;
    std::string preprocessed_md5_;
    std::vector<rect> segments_;
    std::vector<checkpoint> checkpoints_;
};

}  // namespace brindlemoss::cli
