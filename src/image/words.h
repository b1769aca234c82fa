#pragma once

#include "image/text_engine.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// Cuts the valid lines wherever more than 24 empty columns lie between two glyphs. The pieces are
// appended to the lines, without a bounding_box; a line that was cut becomes invalid.
void split_wide_lines(text_engine& engine);

// Makes the blocks anew from the valid lines, each with its lines in reading order and with its
// meta lines.
void group_blocks(text_engine& engine);

// Finds the words of all lines in all blocks by the gaps between the glyphs of a block. Where these
// hardly differ, each line is one word and none is valid.
void find_words(text_engine& engine);

}  // namespace brindlemoss::analysis::plugins::image_analysis
