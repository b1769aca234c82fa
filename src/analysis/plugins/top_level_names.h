#pragma once

#include <string_view>

namespace brindlemoss::analysis::plugins::text_analysis {

// True for the lower-case names that a host name may end with: those of countries and the generic
// ones. The list is part of what makes a URL's canonical text and must not grow with the domain
// name system, or the texts would no longer agree with those that others have reported.
bool is_top_level_name(std::u16string_view label);

}  // namespace brindlemoss::analysis::plugins::text_analysis
