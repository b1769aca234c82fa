#pragma once

#include <string>
#include <string_view>

#include "cli/image_watch.h"
#include "image/plane.h"
#include "image/text_engine.h"

// What the text engine saw in a picture, as text for people and programs.
namespace brindlemoss::cli {

// MD5 of a plane's levels, in hexadecimal.
std::string levels_md5(const analysis::plugins::image_analysis::plane& levels);

// One line of JSON. The checkpoints stand in it where the watch was to keep them.
std::string image_as_json(std::string_view file,
                          const analysis::plugins::image_analysis::text_engine& engine,
                          const analysis::plugins::image_analysis::engine_result& result,
                          const image_watch& watch, bool with_checkpoints);

// A few lines of text.
std::string image_as_text(std::string_view file,
                          const analysis::plugins::image_analysis::text_engine& engine,
                          const analysis::plugins::image_analysis::engine_result& result);

// Each checkpoint on a line of its own, with its rectangles.
std::string checkpoints_as_text(const image_watch& watch);

}  // namespace brindlemoss::cli
