#pragma once

#include <cstdint>
#include <string_view>

// The usage counters: 32-bit values of the user's tree.
namespace replay::counters {

// Adds to a counter, in one step that no other thread or process can come between; the sum wraps.
// `path` leads to its key from "Statistics" on ("Communication\Protocol"); key and value are made
// when missing. Path and name are UTF-8. Throws registry2::generic.
void add(std::string_view path, std::string_view name, std::uint32_t amount);

}  // namespace replay::counters
