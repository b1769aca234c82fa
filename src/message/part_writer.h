#pragma once

#include <functional>
#include <string_view>

#include "message/part.h"

namespace replay::internet::message2 {

// Hands a part and what it holds to `take_line` as lines without their ends. Throws as
// part::unparse does.
void write_part(const part& written, const std::function<void(std::string_view)>& take_line);

}  // namespace replay::internet::message2
