#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/code_page.h"

namespace replay::platform {

// A code page of one or two bytes a character, all of one unit each, as two look-up tables.
// Immutable once made.
//
// A sequence of one byte is written as its value, one of two bytes as lead * 256 + trail. The lead
// byte of a pair is never below 0x80.
class code_table {
public:
    // Stands for a sequence without a unit. U+FFFF is no character and in no page.
    static constexpr char16_t undefined = 0xFFFF;

    // The unit of each sequence, indexed by it.
    using sequence_map = std::vector<char16_t>;
    static constexpr std::size_t sequence_count = 0x10000;

    // Tells the sequence that shall stand for a unit which several decode to. An answer that does
    // not decode to the unit is passed over; then the first sequence is taken.
    using preference = std::function<std::uint16_t(char16_t unit)>;

    // Pairs whose lead byte is defined as a character of its own are left out.
    code_table(const sequence_map& map, const preference& preferred);

    // As of platform::decode() and platform::encode().
    conversion_status decode(std::string_view bytes, on_error mode, std::u16string& wide) const;
    conversion_status encode(std::u16string_view wide, on_error mode, std::string& bytes) const;

private:
    static constexpr char16_t lead_byte = 0xFFFE;
    static constexpr std::uint16_t no_sequence = 0xFFFF;

    void fill_units(const sequence_map& map);
    void fill_sequences(const sequence_map& map, const preference& preferred);
    std::uint16_t& sequence_slot(char16_t unit);

    char16_t pair(unsigned char lead, unsigned char trail) const {
        return pair_rows_[row_of_lead_[lead] * 256u + trail];
    }
    std::uint16_t sequence_of(char16_t unit) const {
        return sequence_blocks_[block_of_unit_[unit >> 8] * 256u + (unit & 0xFFu)];
    }

    bool decode_singles(std::string_view bytes, char16_t* to) const;
    // The end of what was written, or null at an error on which `mode` stops.
    char16_t* decode_pairs(std::string_view bytes, on_error mode, char16_t* to) const;

    std::array<char16_t, 256> singles_;
    std::array<std::uint8_t, 256> row_of_lead_{};
    std::vector<char16_t> pair_rows_;  // 256 units a lead byte
    std::array<std::uint16_t, 256> block_of_unit_{};
    std::vector<std::uint16_t> sequence_blocks_;  // block 0 is the empty one
};

}  // namespace replay::platform
