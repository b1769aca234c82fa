#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

// The character entities of HTML 4.01 (W3C Recommendation, chapter 24), and "apos" of XML.
namespace replay::html {

struct entity_row {
    std::uint64_t name;  // up to eight ASCII bytes, the first one highest, zeros behind the last
    char16_t unit;
};

// All rows, ascending by name in the order of bytes. Read-only, there from the start.
std::span<const entity_row> entity_table() noexcept;

// The unit that `name`, without "&" and ";", stands for; nothing where it is no entity's. Case
// counts.
std::optional<char16_t> find_entity(std::u16string_view name) noexcept;

}  // namespace replay::html
