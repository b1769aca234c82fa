#pragma once

#include <cstdint>
#include <exception>
#include <string_view>

namespace brindlemoss::component {

// The rating of a raw message, from 0 (pass) to 100 (block). `orphan`: it is judged for the first
// time. 0 after a fault, which the log tells.
std::int32_t rate(std::string_view raw, bool orphan) noexcept;

// Writes a fault that let a message pass to the filter's log.
void log_unhandled(const std::exception& error) noexcept;

}  // namespace brindlemoss::component
