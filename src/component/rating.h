#pragma once

#include <cstdint>
#include <exception>
#include <string_view>

namespace brindlemoss::component {

// The rating of a raw message, from 0 (pass) to 100 (block). `orphan`: it is judged for the first
// time. 0 after a fault, which the log tells.
std::int32_t rate(std::string_view raw, bool orphan) noexcept;

// Tells the filter's log of a fault for which a message passes. Any thread may call it.
void log_unhandled(const std::exception& error) noexcept;

}  // namespace brindlemoss::component
