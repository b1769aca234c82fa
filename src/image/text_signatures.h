#pragma once

#include <string>
#include <vector>

#include "image/layout_context.h"

namespace brindlemoss::analysis::plugins::image_analysis {

struct text_signatures {
    std::string whole;                 // "[ocr-3]...", empty if there is too little text
    std::vector<std::string> windows;  // "[ocr-7b]...", over neighbouring areas
};

// Tells areas by which words are narrower than the word before. docs/image-engine.md has the form.
text_signatures make_text_signatures(const layout_context& context);

}  // namespace brindlemoss::analysis::plugins::image_analysis
