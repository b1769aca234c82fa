#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace brindlemoss::analysis {

// Bytes as text, each the character of its number.
std::u16string widen(std::string_view bytes);

// An address in the platform's form, which tells the parts of one report apart.
std::u16string address_text(const void* address);

// A number in decimal.
std::u16string number_text(long long number);

// The pieces one behind the other. They are borrowed for the call.
std::u16string joined(std::initializer_list<std::u16string_view> pieces);

}  // namespace brindlemoss::analysis
