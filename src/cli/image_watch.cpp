#include "cli/image_watch.h"

#include "cli/image_document.h"

namespace brindlemoss::cli {

void image_watch::reached(std::string_view label, std::span<const rect> rects) {
    if (label == "image-pp.raw" && preprocessed_md5_.empty()) {
        preprocessed_md5_ = levels_md5(engine_->pp_plane);
    } else if (label == "Valid text segments") {
        segments_.insert(segments_.end(), rects.begin(), rects.end());
    } else if (label == "Crop - rotated") {
        segments_.clear();  // the picture was straightened: they are sought anew
    }
    if (keep_ == keep::every_checkpoint) {
        checkpoints_.push_back({std::string(label), {rects.begin(), rects.end()}});
    }
}

}  // namespace brindlemoss::cli
