#pragma once

#include <cstddef>

#include "analysis/plugins/folded_words.h"
#include "analysis/record.h"

// Fingerprints of a text by its folded words. Each function adds to the end of the list, in time
// linear in the words.
namespace brindlemoss::analysis::plugins::text_analysis {

// Kind "tbd": the digests of the first blocks of words, at most 4. Words are joined until a block
// has more than 48 units; a text that has no such block is one block, unless it is empty.
void push_block_signatures(const folded_words& words, signature_list& signatures);

// Kind "tlc": whether each word is at least as long as the one before it, a bit each, the last 64
// at the 65th word, the 97th, the 129th and the 161st.
void push_length_curve_signatures(const folded_words& words, signature_list& signatures);

// Kind "tsd": the digests of the text's pattern of repetitions, "0.1.0.2" for "a b a c", of all
// words, of those that occur more than once, and so on to more than 7 times; each only when at
// least 8 different words and at least 10 repetitions are left.
//
// The pattern stands in the comment, of a very long one the first longest_shown_structure units.
// Beside the comments and one pattern in bytes this takes at most about 50 bytes a word.
inline constexpr std::size_t longest_shown_structure = 1'048'576;
void push_structure_signatures(const folded_words& words, signature_list& signatures);

}  // namespace brindlemoss::analysis::plugins::text_analysis
