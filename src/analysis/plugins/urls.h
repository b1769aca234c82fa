#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "analysis/record.h"
#include "message/part.h"

// The URLs of a message. Each gives a signature of kind "tru" whose digest is the URL's canonical
// text (analysis/plugins/canonical_url.h), without comment; a URL that has no canonical text gives
// none. A URL that is embedded in another is analysed too and stands in front of it, the inmost
// first. A text that a URL further out has too may be left out, as reduce_url_signatures() leaves
// only the outermost.
//
// A URL is decoded once, and one embedded in it once more for every level that it lies deep, so
// that redirectors that escape what is escaped already are seen through. After
// most_url_decodings passes that found something to decode the rest is taken as it stands, or a
// sender who nests thousands of URLs could make every level cost as much as the whole. Redirectors
// in mail stay below five. The depth itself is without limit. Time is linear in the size of the
// text, at most most_url_decodings times that of reading it once.
namespace brindlemoss::analysis::plugins::text_analysis {

inline constexpr unsigned most_url_decodings = 32;

// A message with as many signatures gets none for its further links, nor for URLs further out in
// one link: their records would take many times the memory of the text.
inline constexpr std::size_t most_url_signatures = 250'000;

// Adds the signatures of the links of an HTML part, which are in lower case. A link that names an
// attached file of the message `root` is passed over; so is the name, for the comparison, of a part
// whose headers throw replay::unicode::generic. Names are read as far as it takes to find each
// link's; replay::coding::translate::invalid_codeword from there is not caught.
void analyse_links(replay::internet::message2::part& root, const std::vector<std::u16string>& links,
                   signature_list& signatures);

// Adds the signatures of the URLs in a normalised text: lower case, with blanks as the only space.
// A URL goes on to the next blank; behind a quote or opening bracket to its closing mate, over
// blanks, to the end of the text when there is none.
void scan_text(std::u16string_view normalised, signature_list& signatures);

// Removes each "tru" whose digest begins with the digest of a "tru" further on in the list, or
// equals it. All else stays in order. Takes n log n comparisons.
void reduce_url_signatures(signature_list& signatures);

}  // namespace brindlemoss::analysis::plugins::text_analysis
