#include "image/text_engine.h"

#include <utility>

#include "image/image_tests.h"
#include "image/layout.h"
#include "image/preprocess.h"
#include "image/text_lines.h"
#include "image/text_regions.h"
#include "image/word_signatures.h"

namespace brindlemoss::analysis::plugins::image_analysis {

text_engine::text_engine(const source_bitmap& bitmap, std::span<const rect> animation_frames,
                         checkpoint_hook* hook)
    : width(bitmap.width),
      height(bitmap.height),
      source(bitmap),
      frames(animation_frames),
      checkpoint(hook) {}

void text_engine::run(engine_result& result) {
    mean_plane = plane(width, height);
    pp_plane = plane(width, height);
    preprocess(*this);
    if (keep_going) find_text_regions(*this);
    if (keep_going) find_text_lines(*this);
    if (keep_going) {
        run_tests(*this, result);
        make_word_signatures(blocks, result.signatures);
    }
    for (std::string& signature : make_layout_signatures(mean_plane, checkpoint)) {
        result.signatures.push_back(std::move(signature));
    }
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
