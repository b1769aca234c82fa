#pragma once

#include <cstdint>
#include <span>

namespace replay::platform {

// One row of code_page_tables.txt: units of consecutive byte sequences. A sequence of one byte is
// its value, one of two bytes is lead * 256 + trail. code_table::undefined among the units takes a
// sequence out of the page.
struct code_page_row {
    std::int32_t page;
    std::uint16_t first_sequence;
    std::span<const char16_t> units;
};

// The rows in which `page` differs from its base; empty for most.
std::span<const code_page_row> code_page_rows(std::int32_t page);

}  // namespace replay::platform
