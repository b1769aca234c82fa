#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/line_list.h"
#include "platform/store.h"

// Values of the registry as bytes, and back (platform::value_type tells how each is kept).
namespace replay::registry2 {

platform::stored_value integer_value(std::uint32_t number);
platform::stored_value integer64_value(std::uint64_t number);
platform::stored_value text_value(std::u16string_view text);

// Wants lines that are not empty and hold no NUL.
platform::stored_value multi_text_value(const line_views& lines);
line_views views_of(const std::vector<std::u16string>& lines);

// Wants 4 bytes.
std::uint32_t integer_in(std::string_view bytes);

// Without the NUL at the end, if there is one. Half a character at the end is dropped.
std::u16string text_in(std::string_view bytes);

// The lines up to the first empty one or the end of the bytes.
std::vector<std::u16string> lines_in(std::string_view bytes);

// Its two steps: all of the bytes, and the lines in them, as views.
std::u16string units_in(std::string_view bytes);
line_views lines_of_units(std::u16string_view units);

// A name as a store takes it. One that is no text, a surrogate without its partner in it, gives a
// name that a store refuses.
std::string utf8_name(std::u16string_view name);
std::u16string wide_name(std::string_view name);

// One byte a character, "?" for one above 255; and back.
std::string narrow(std::u16string_view text);
std::u16string widen(std::string_view bytes);

}  // namespace replay::registry2
