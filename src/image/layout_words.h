#pragma once

#include "image/checkpoints.h"
#include "image/layout_context.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// Finds the words of all lines, by clear columns or, in colour mode, by blobs, and disables the
// areas that have too few of them or are too small.
void find_layout_words(layout_context& context, const checkpoints& checkpoint);

std::size_t count_words(const scan_area& area);

}  // namespace brindlemoss::analysis::plugins::image_analysis
