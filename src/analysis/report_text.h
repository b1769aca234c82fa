#pragma once

#include <string>
#include <string_view>

#include "foundation/joined.h"

namespace brindlemoss::analysis {

// Bytes as text, each the character of its number.
std::u16string widen(std::string_view bytes);

// An address in the platform's form, which tells the parts of one report apart.
std::u16string address_text(const void* address);

// A number in decimal.
std::u16string number_text(long long number);

using replay::joined;

}  // namespace brindlemoss::analysis
