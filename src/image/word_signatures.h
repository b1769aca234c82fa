#pragma once

#include <list>
#include <string>
#include <vector>

#include "image/text_line.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// Appends the rhythm of the heights of words, up or down from word to word, as
// "[ocr-v8.0a].1.0...": a string for each block of 30 words or more, and one for each shortest run
// of smaller blocks that comes to 30 valid words together.
void make_word_signatures(const std::list<block>& blocks, std::vector<std::string>& signatures);

}  // namespace brindlemoss::analysis::plugins::image_analysis
