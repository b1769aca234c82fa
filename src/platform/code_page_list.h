#pragma once

#include <cstdint>
#include <span>

namespace replay::platform {

enum class conversion_method : std::uint8_t {
    latin1,        // a byte is a unit
    utf8,          // RFC 3629
    icu_table,     // a table filled from an ICU converter of one or two bytes a character
    own_table,     // ASCII and what code_page_tables.txt says
    johab_table,   // a table filled from the C library's JOHAB converter
    euc_tw_table,  // a table filled from the C library's EUC-TW converter, planes 1 and 2
    icu_stream,    // an ICU converter itself: escape sequences, or more than two bytes
};

struct code_page_entry {
    std::int32_t number;
    conversion_method method;
    const char* converter;  // ICU's canonical name; null where the method needs none
};

// All code pages but 1 and 2, ascending by number.
std::span<const code_page_entry> code_page_list();

// The entry of `number`, or null. 1 and 2 are the default DOS and Macintosh pages and give those.
const code_page_entry* find_code_page(std::int32_t number);

}  // namespace replay::platform
