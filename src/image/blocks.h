#pragma once

#include <list>

#include "image/checkpoints.h"
#include "image/text_line.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// Appends the blocks of the valid among `lines`: what stands near together, each with its lines in
// the order in which they joined. No two of the new blocks overlap or adjoin. A line with an
// inverted box is a block of its own.
//
// The blocks point to the lines, whose own order stays as it is. Leaves `visited` set on every
// valid line. The cost is about linear in the lines.
void find_blocks(std::list<text_line>& lines, std::list<block>& blocks,
                 const checkpoints& checkpoint);

}  // namespace brindlemoss::analysis::plugins::image_analysis
