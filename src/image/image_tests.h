#pragma once

#include "image/text_engine.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// Rates how much of the picture is text, plain background and skew: appends the tests that fire to
// `result` and keeps the sum of their scores in the engine.
void run_tests(text_engine& engine, engine_result& result);

}  // namespace brindlemoss::analysis::plugins::image_analysis
