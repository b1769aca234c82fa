#include "platform/code_page.h"

#include <algorithm>
#include <array>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/code_page_list.h"
#include "platform/code_table_builder.h"
#include "platform/icu_converter.h"
#include "platform/utf8.h"

namespace replay::platform {
namespace {

// Nearly all text is in one of these two, so they are not looked up.
constexpr std::int32_t latin1_page = 28591;
constexpr std::int32_t utf8_page = 65001;

std::size_t index_of(const code_page_entry& page) {
    return static_cast<std::size_t>(&page - code_page_list().data());
}

// Null when the machine's libraries lack the page.
const code_table* table_of(const code_page_entry& page) {
    struct slot {
        std::once_flag built;
        std::unique_ptr<const code_table> table;
    };
    static slot* const slots = new slot[code_page_list().size()];  // for threads to the very end
    slot& mine = slots[index_of(page)];
    std::call_once(mine.built, [&] { mine.table = build_code_table(page); });
    return mine.table.get();
}

// This thread's converter of the page, closed when the thread ends. Null as with table_of().
icu_converter* stream_of(const code_page_entry& page) {
    thread_local std::vector<std::unique_ptr<icu_converter>> opened(code_page_list().size());
    std::unique_ptr<icu_converter>& mine = opened[index_of(page)];
    if (!mine) mine = icu_converter::open(page.converter);
    return mine.get();
}

conversion_status decode_latin1(std::string_view bytes, std::u16string& wide) {
    const std::size_t before = wide.size();
    wide.resize(before + bytes.size());
    std::ranges::transform(bytes, wide.begin() + static_cast<std::ptrdiff_t>(before),
                           [](char byte) { return static_cast<unsigned char>(byte); });
    return conversion_status::done;
}

conversion_status encode_latin1(std::u16string_view wide, on_error mode, std::string& bytes) {
    char16_t all_bits = 0;  // no way out of the loop, so that it is done many units at a time
    for (const char16_t unit : wide) all_bits |= unit;
    if (all_bits > 0xFF && mode == on_error::stop) return conversion_status::untranslatable;
    const std::size_t before = bytes.size();
    bytes.resize(before + wide.size());
    std::ranges::transform(
        wide, bytes.begin() + static_cast<std::ptrdiff_t>(before),
        [](char16_t unit) { return unit <= 0xFF ? static_cast<char>(unit) : '?'; });
    return conversion_status::done;
}

}  // namespace

conversion_status decode(std::string_view bytes, std::int32_t page, on_error mode,
                         std::u16string& wide) {
    if (bytes.empty()) return conversion_status::done;
    if (page == latin1_page) return decode_latin1(bytes, wide);
    if (page == utf8_page) return decode_utf8(bytes, mode, wide);
    const code_page_entry* const entry = find_code_page(page);
    if (!entry) return conversion_status::unknown_page;
    switch (entry->method) {
        case conversion_method::latin1: return decode_latin1(bytes, wide);
        case conversion_method::utf8: return decode_utf8(bytes, mode, wide);
        case conversion_method::icu_stream: {
            icu_converter* const stream = stream_of(*entry);
            return stream ? stream->decode(bytes, mode, wide) : conversion_status::unknown_page;
        }
        default: {
            const code_table* const table = table_of(*entry);
            return table ? table->decode(bytes, mode, wide) : conversion_status::unknown_page;
        }
    }
}

conversion_status encode(std::u16string_view wide, std::int32_t page, on_error mode,
                         std::string& bytes) {
    if (wide.empty()) return conversion_status::done;
    if (page == latin1_page) return encode_latin1(wide, mode, bytes);
    if (page == utf8_page) return encode_utf8(wide, mode, bytes);
    const code_page_entry* const entry = find_code_page(page);
    if (!entry) return conversion_status::unknown_page;
    switch (entry->method) {
        case conversion_method::latin1: return encode_latin1(wide, mode, bytes);
        case conversion_method::utf8: return encode_utf8(wide, mode, bytes);
        case conversion_method::icu_stream: {
            icu_converter* const stream = stream_of(*entry);
            return stream ? stream->encode(wide, mode, bytes) : conversion_status::unknown_page;
        }
        default: {
            const code_table* const table = table_of(*entry);
            return table ? table->encode(wide, mode, bytes) : conversion_status::unknown_page;
        }
    }
}

bool is_code_page(std::int32_t page) {
    const code_page_entry* const entry = find_code_page(page);
    if (!entry) return false;
    switch (entry->method) {
        case conversion_method::latin1:
        case conversion_method::utf8: return true;
        case conversion_method::icu_stream: return stream_of(*entry) != nullptr;
        default: return table_of(*entry) != nullptr;
    }
}

}  // namespace replay::platform
