#include "platform/code_table.h"

#include <algorithm>

namespace replay::platform {
namespace {

constexpr char16_t replacement = 0xFFFD;

}  // namespace

code_table::code_table(const sequence_map& map, const preference& preferred) {
    fill_units(map);
    fill_sequences(map, preferred);
}

void code_table::fill_units(const sequence_map& map) {
    std::copy_n(map.begin(), 256, singles_.begin());
    for (std::size_t lead = 0x80; lead < 256; ++lead) {
        const auto row = map.begin() + static_cast<std::ptrdiff_t>(lead * 256);
        const bool has_pairs =
            std::any_of(row, row + 256, [](char16_t unit) { return unit != undefined; });
        if (!has_pairs || singles_[lead] != undefined) continue;
        singles_[lead] = lead_byte;
        row_of_lead_[lead] = static_cast<std::uint8_t>(pair_rows_.size() / 256);
        pair_rows_.insert(pair_rows_.end(), row, row + 256);
    }
}

void code_table::fill_sequences(const sequence_map& map, const preference& preferred) {
    sequence_blocks_.assign(256, no_sequence);
    for (std::size_t index = 0; index < sequence_count; ++index) {
        const auto sequence = static_cast<std::uint16_t>(index);
        const char16_t unit = map[sequence];
        if (unit == undefined || (index > 0xFF && singles_[index >> 8] != lead_byte)) continue;
        std::uint16_t& slot = sequence_slot(unit);
        if (slot == no_sequence || (preferred && preferred(unit) == sequence)) slot = sequence;
    }
}

std::uint16_t& code_table::sequence_slot(char16_t unit) {
    std::uint16_t& block = block_of_unit_[unit >> 8];
    if (block == 0) {
        block = static_cast<std::uint16_t>(sequence_blocks_.size() / 256);
        sequence_blocks_.resize(sequence_blocks_.size() + 256, no_sequence);
    }
    return sequence_blocks_[block * 256u + (unit & 0xFFu)];
}

conversion_status code_table::decode(std::string_view bytes, on_error mode,
                                     std::u16string& wide) const {
    const std::size_t before = wide.size();
    wide.resize(before + bytes.size());
    char16_t* const to = wide.data() + before;
    if (pair_rows_.empty()) {
        if (decode_singles(bytes, to)) return conversion_status::done;
        if (mode == on_error::stop) {
            wide.resize(before);
            return conversion_status::untranslatable;
        }
        std::replace(to, to + bytes.size(), undefined, replacement);
        return conversion_status::done;
    }
    const char16_t* const end = decode_pairs(bytes, mode, to);
    wide.resize(end ? static_cast<std::size_t>(end - wide.data()) : before);
    return end ? conversion_status::done : conversion_status::untranslatable;
}

bool code_table::decode_singles(std::string_view bytes, char16_t* to) const {
    bool all_defined = true;
    for (const char byte : bytes) {
        const char16_t unit = singles_[static_cast<unsigned char>(byte)];
        all_defined &= unit != undefined;
        *to++ = unit;
    }
    return all_defined;
}

char16_t* code_table::decode_pairs(std::string_view bytes, on_error mode, char16_t* to) const {
    const auto* from = reinterpret_cast<const unsigned char*>(bytes.data());
    const auto* const end = from + bytes.size();
    while (from != end) {
        const unsigned char byte = *from++;
        const char16_t single = singles_[byte];
        if (single < lead_byte) {
            *to++ = single;
            continue;
        }
        if (single == lead_byte && from != end) {
            const unsigned char trail = *from;
            const char16_t unit = pair(byte, trail);
            // A broken pair must not swallow the "<" or the line end that stands behind it.
            if (unit != undefined || trail >= 0x80) ++from;
            if (unit != undefined) {
                *to++ = unit;
                continue;
            }
        }
        if (mode == on_error::stop) return nullptr;
        *to++ = replacement;
    }
    return to;
}

conversion_status code_table::encode(std::u16string_view wide, on_error mode,
                                     std::string& bytes) const {
    const std::size_t before = bytes.size();
    bytes.resize(before + wide.size() * (pair_rows_.empty() ? 1 : 2));
    char* to = bytes.data() + before;
    for (const char16_t unit : wide) {
        std::uint16_t sequence = sequence_of(unit);
        if (sequence == no_sequence) {
            if (mode == on_error::stop) {
                bytes.resize(before);
                return conversion_status::untranslatable;
            }
            sequence = sequence_of(u'?');
        }
        if (sequence > 0xFF) *to++ = static_cast<char>(sequence >> 8);
        *to++ = static_cast<char>(sequence & 0xFF);
    }
    bytes.resize(static_cast<std::size_t>(to - bytes.data()));
    return conversion_status::done;
}

}  // namespace replay::platform
