#pragma once

#include <cstdint>

#include "image/text_engine.h"
#include "image/text_line.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// Splits lines that are two or three lines stuck together: some times as high as their neighbours,
// with hardly any ink in the rows between. The pieces are appended to the lines, the old line
// becomes invalid. Needs the background levels.
void split_tall_lines(text_engine& engine);

// The same for one of the engine's lines among lines of `usual_height` rows.
void examine_line(text_engine& engine, text_line& line, std::int32_t usual_height);

}  // namespace brindlemoss::analysis::plugins::image_analysis
