#pragma once

#include <list>
#include <vector>

#include "image/line_groups.h"
#include "image/rect.h"
#include "image/text_engine.h"
#include "image/text_line.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// Joins raw lines that are pieces of one line: the first of the pieces takes the hull of all, the
// others become invalid. Notes what it did in `corrected` and `correction_kinds`.
void repair_lines(text_engine& engine);

// What it goes by, one after another. All take valid lines of the engine.

// For lines that stand one below the other: joins the neighbours with hardly a gap between them, if
// that makes the heights and the gaps of the lines around much more regular.
void magic_1_3(text_engine& engine, const std::list<text_line*>& lines);

// For horizontal groups: where two of them meet that are rather two heaps of pieces side by side,
// each heap becomes one line. Whether anything was joined.
bool magic_1_4(text_engine& engine, const std::vector<line_group>& groups);

// For one horizontal group: joins what stands in pairs above one another beside lines that stand
// alone.
void repair_group(text_engine& engine, const line_group& group);

// How much of each other's columns two boxes share: if those of one lie inside those of the other,
// the part of the larger that the smaller takes; otherwise the smaller of the shared parts of both,
// with the sign changed.
double column_overlap(const rect& a, const rect& b);

}  // namespace brindlemoss::analysis::plugins::image_analysis
