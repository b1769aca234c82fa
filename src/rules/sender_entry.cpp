#include "rules/sender_entry.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include "foundation/registry_values.h"
#include "foundation/variant.h"
#include "platform/wide_search.h"

namespace brindlemoss::rules {

namespace {

constexpr char16_t field_end = u'\t';
constexpr char16_t entry_end = u'\r';

// The first fields of an entry. Throws unpack_failed when there are fewer.
template <std::size_t count>
std::array<std::u16string_view, count> fields_of(std::u16string_view entry, const char* fault) {
    std::array<std::u16string_view, count> fields;
    std::size_t begin = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t end = replay::platform::find_unit(entry, field_end, begin);
        fields[i] = entry.substr(begin, end - begin);
        if (end == std::u16string_view::npos && i + 1 < count) throw unpack_failed(fault);
        begin = end + 1;
    }
    return fields;
}

std::u16string packed(std::u16string entry) {
    std::erase(entry, u'\0');
    return entry;
}

std::u16string with_tab(std::u16string_view field) {
    std::u16string text(field);
    text += field_end;
    return text;
}

std::uint32_t number_in(std::u16string_view digits) {
    return static_cast<std::uint32_t>(replay::variant(std::u16string(digits)).as_integer());
}

std::u16string digits_of(std::uint32_t number) {
    return replay::registry2::widen(std::to_string(number));
}

constexpr bool is_dropped(char16_t unit) {
    return unit == u' ' || unit == u'\0';
}

constexpr char16_t to_lower(char16_t unit) {
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + (u'a' - u'A')) : unit;
}

bool equals_normalized(std::u16string_view text, std::u16string_view normal) {
    std::size_t matched = 0;
    for (const char16_t unit : text) {
        if (is_dropped(unit)) continue;
        if (matched == normal.size() || to_lower(unit) != normal[matched]) return false;
        ++matched;
    }
    return matched == normal.size();
}

}  // namespace

address_entry unpack_address(std::u16string_view entry) {
    const auto fields = fields_of<3>(entry, "m_unpack_address failed");
    return {fields[0], fields[1], fields[2]};
}

domain_entry unpack_domain(std::u16string_view entry) {
    const auto fields = fields_of<2>(entry, "m_unpack_domain failed");
    return {fields[0], fields[1]};
}

trust_entry unpack_trust(std::u16string_view entry) {
    const auto fields = fields_of<4>(entry, "m_unpack_address failed");
    return {fields[0], fields[1], number_in(fields[2]), number_in(fields[3])};
}

std::u16string pack(const address_entry& fields) {
    return packed(with_tab(fields.name) + with_tab(fields.address).append(fields.comment));
}

std::u16string pack(const domain_entry& fields) {
    return packed(with_tab(fields.domain).append(fields.comment));
}

std::u16string pack(const trust_entry& fields) {
    return packed(with_tab(fields.name) + with_tab(fields.address) +
                  with_tab(digits_of(fields.count)) + digits_of(fields.first_seen));
}

std::u16string normalized(std::u16string_view text) {
    std::u16string normal;
    normal.reserve(text.size());
    for (const char16_t unit : text) {
        if (!is_dropped(unit)) normal += to_lower(unit);
    }
    return normal;
}

std::u16string normalized(std::string_view bytes) {
    return normalized(replay::registry2::widen(bytes));
}

bool normalized_domain(std::string_view bytes, std::u16string& domain) {
    const std::size_t last = bytes.find_last_not_of('@');
    if (last == std::string_view::npos) return false;
    bytes = bytes.substr(0, last + 1);
    const std::size_t sign = bytes.rfind('@');
    domain = normalized(sign == std::string_view::npos ? bytes : bytes.substr(sign + 1));
    return true;
}

std::u16string_view address_of(std::u16string_view entry) {
    return unpack_address(entry).address;
}

std::u16string_view domain_of(std::u16string_view entry) {
    return unpack_domain(entry).domain;
}

std::u16string_view trusted_address_of(std::u16string_view entry) {
    return fields_of<4>(entry, "m_unpack_address failed")[1];
}

line_views::const_iterator find_entry(const line_views& entries, std::u16string_view key,
                                      entry_key read) {
    return std::find_if(entries.begin(), entries.end(), [&](std::u16string_view entry) {
        return equals_normalized(read(entry), key);
    });
}

void insert_sorted(line_list& entries, std::u16string entry) {
    const line_views& lines = entries.lines();
    // Other programs and hands may have left them in any order.
    if (!std::is_sorted(lines.begin(), lines.end())) entries.sort();
    entries.insert(std::upper_bound(lines.begin(), lines.end(), entry), std::move(entry));
}

std::u16string joined(const text_list& entries) {
    std::u16string text;
    for (const std::u16string& entry : entries) text.append(entry) += entry_end;
    return text;
}

text_list split_sorted(std::u16string_view text) {
    text_list entries;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(entry_end), text.size());
        if (end > 0) entries.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    std::sort(entries.begin(), entries.end());
    return entries;
}

}  // namespace brindlemoss::rules
