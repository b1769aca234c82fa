#pragma once

#include <string>

#include "image/rect.h"
#include "image/uniform_area.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// Signatures of a picture that holds no usable text. Each is empty where the picture is too small
// or too rough to be told by it. docs/image-engine.md tells what their tokens say.

// Where the picture is flat: quarters of quarters, down to pieces of fewer than 14 columns and
// rows.
std::string make_quad_code(const flatness& flat, const rect& picture);

// Which cells of a grid of nine by nine are flat.
std::string make_bitmap_signature(const flatness& flat, const rect& picture);

}  // namespace brindlemoss::analysis::plugins::image_analysis
