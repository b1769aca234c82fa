#pragma once

#include <list>
#include <span>

#include "image/checkpoints.h"
#include "image/text_engine.h"
#include "image/text_line.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// Gives each valid line its components: blobs of foreground pixels of `pp_plane`, those that stand
// above one another as one. A line that is nothing but one large blob becomes invalid. The lines
// must have their bounding_box. Throws std::bad_alloc: makes a map of at most 32 bits for each
// pixel.
void find_components(text_engine& engine);

// Marks the components of each valid line that cannot be glyphs as invalid; the others become its
// `glyphs` and their hull its `box`, which is inverted where none is left.
void filter_components(text_engine& engine);

// Marks those that are rather a part of a frame, a rule or a picture than of a line of text.
void classify_components(const text_line& line, std::span<component> components,
                         const checkpoints& checkpoint);

// The valid ones, joined where their columns overlap or adjoin, in the order in which the last of
// each came. About linear in their number.
std::list<component> merge_components(std::span<const component> components);

// Makes the glyphs anew from the valid components, from left to right.
void collect_glyphs(text_line& line);

// The hull of the glyphs, inverted if there are none.
rect hull_of_glyphs(const text_line& line);

}  // namespace brindlemoss::analysis::plugins::image_analysis
