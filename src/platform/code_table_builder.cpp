#include "platform/code_table_builder.h"

#include <algorithm>
#include <string>

#include "platform/code_page_tables.h"
#include "platform/iconv_converter.h"
#include "platform/icu_converter.h"

namespace replay::platform {
namespace {

using sequence_map = code_table::sequence_map;

std::string pair_bytes(unsigned lead, unsigned trail) {
    return {static_cast<char>(lead), static_cast<char>(trail)};
}

std::string sequence_bytes(unsigned sequence) {
    if (sequence <= 0xFF) return std::string(1, static_cast<char>(sequence));
    return pair_bytes(sequence >> 8, sequence & 0xFF);
}

void fill_from_icu(icu_converter& converter, sequence_map& map) {
    for (unsigned byte = 0; byte < 256; ++byte) {
        map[byte] = converter.decode_one(sequence_bytes(byte)).value_or(code_table::undefined);
    }
    if (converter.longest_character() == 1) return;
    for (unsigned lead = 0x80; lead < 256; ++lead) {
        if (!converter.is_cut_short(sequence_bytes(lead))) continue;
        for (unsigned trail = 0x20; trail < 256; ++trail) {
            map[lead * 256 + trail] =
                converter.decode_one(pair_bytes(lead, trail)).value_or(code_table::undefined);
        }
    }
}

// IBM's pages for personal computers rotate three control characters.
void straighten_controls(sequence_map& map) {
    if (map[0x1A] != 0x1C || map[0x1C] != 0x7F || map[0x7F] != 0x1A) return;
    for (const char16_t control : {u'\x1A', u'\x1C', u'\x7F'}) map[control] = control;
}

void fill_with_ascii(sequence_map& map) {
    for (char16_t unit = 0; unit < 0x80; ++unit) map[unit] = unit;
}

void fill_from_johab(iconv_converter& converter, sequence_map& map) {
    fill_with_ascii(map);
    for (unsigned lead = 0x80; lead < 256; ++lead) {
        for (unsigned trail = 0x20; trail < 256; ++trail) {
            map[lead * 256 + trail] =
                converter.decode_one(pair_bytes(lead, trail)).value_or(code_table::undefined);
        }
    }
}

// EUC-TW writes plane 1 of CNS 11643 with two high bytes and plane 2 behind a prefix of two bytes;
// the code page marks plane 2 by a low second byte instead.
void fill_from_euc_tw(iconv_converter& converter, sequence_map& map) {
    fill_with_ascii(map);
    for (unsigned lead = 0xA1; lead < 0xFF; ++lead) {
        for (unsigned trail = 0xA1; trail < 0xFF; ++trail) {
            const std::string plane_1 = pair_bytes(lead, trail);
            const std::string plane_2 = "\x8E\xA2" + plane_1;
            map[lead * 256 + trail] = converter.decode_one(plane_1).value_or(code_table::undefined);
            map[lead * 256 + (trail & 0x7F)] =
                converter.decode_one(plane_2).value_or(code_table::undefined);
        }
    }
}

void apply_rows(std::int32_t page, sequence_map& map) {
    for (const code_page_row& row : code_page_rows(page)) {
        std::ranges::copy(row.units, map.begin() + row.first_sequence);
    }
}

std::uint16_t sequence_by_icu(icu_converter& converter, char16_t unit) {
    std::string bytes;
    converter.encode({&unit, 1}, on_error::stop, bytes);
    const auto byte = [&bytes](std::size_t index) {
        return static_cast<unsigned>(static_cast<unsigned char>(bytes[index]));
    };
    if (bytes.size() == 1) return static_cast<std::uint16_t>(byte(0));
    if (bytes.size() == 2) return static_cast<std::uint16_t>(byte(0) << 8 | byte(1));
    return 0;
}

}  // namespace

std::unique_ptr<const code_table> build_code_table(const code_page_entry& page) {
    sequence_map map(code_table::sequence_count, code_table::undefined);
    code_table::preference preferred;
    std::unique_ptr<icu_converter> icu;
    if (page.method == conversion_method::icu_table) {
        icu = icu_converter::open(page.converter);
        if (!icu) return nullptr;
        fill_from_icu(*icu, map);
        straighten_controls(map);
        preferred = [&icu](char16_t unit) { return sequence_by_icu(*icu, unit); };
    } else if (page.method == conversion_method::own_table) {
        fill_with_ascii(map);
    } else {
        const bool johab = page.method == conversion_method::johab_table;
        iconv_converter converter(johab ? "JOHAB" : "EUC-TW");
        if (!converter.is_open()) return nullptr;
        johab ? fill_from_johab(converter, map) : fill_from_euc_tw(converter, map);
    }
    apply_rows(page.number, map);
    return std::make_unique<const code_table>(map, preferred);
}

}  // namespace replay::platform
