#pragma once

#include "image/image_set.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// A picture may be cut into tiles that only the HTML of the message puts together again. Where the
// one HTML part names all the pictures, without a table, and they fit into rows of one width, the
// whole picture takes the place of all of them, under the first that was named. Otherwise a note
// may tell why not, and the pictures stay as they are.
//
// Tiles are laid from left to right as long as they are as high as the first of their row.
void check_puzzle(replay::internet::message2::part& root, const image_parts& parts,
                  image_set& images);

}  // namespace brindlemoss::analysis::plugins::image_analysis
