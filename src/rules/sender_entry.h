#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include "foundation/registry.h"

// Entries of the sender lists as they stand in the registry: fields with tabs between them. Nothing
// in a field is escaped: a tab in a name moves the fields behind it. Addresses and domains are the
// bytes of a message, one a character.
namespace brindlemoss::rules {

using replay::registry2::line_list;
using replay::registry2::line_views;
using replay::registry2::text_list;

// An entry has too few fields; the text says of which kind of list.
class unpack_failed : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Views into the entry they were read from. Fields behind the last are not read.
struct address_entry {
    std::u16string_view name;
    std::u16string_view address;
    std::u16string_view comment;
};
struct domain_entry {
    std::u16string_view domain;
    std::u16string_view comment;
};
struct trust_entry {
    std::u16string_view name;
    std::u16string_view address;
    std::uint32_t count;       // steps of trust
    std::uint32_t first_seen;  // seconds since 1970
};

// Throw unpack_failed. A number that is none reads as 0.
address_entry unpack_address(std::u16string_view entry);
domain_entry unpack_domain(std::u16string_view entry);
trust_entry unpack_trust(std::u16string_view entry);

// NULs, which no list can hold, are left out.
std::u16string pack(const address_entry& fields);
std::u16string pack(const domain_entry& fields);
std::u16string pack(const trust_entry& fields);

// What a message brings into a list by itself has at most so many units, name and address together:
// a list is read as a whole, and a single message could make it slow for all that follow. No path
// of a mail is above 256 (RFC 5321, 4.5.3.1.3).
inline constexpr std::size_t most_learned_units = 2000;

inline bool may_be_learned(std::u16string_view name, std::string_view address) {
    return address.size() <= most_learned_units &&
           name.size() <= most_learned_units - address.size();
}

// The form in which addresses and domains are compared and stored: without blanks, A to Z in lower
// case. NULs go as well.
std::u16string normalized(std::u16string_view text);
std::u16string normalized(std::string_view bytes);

// What stands behind the last "@", normalized. False where there is nothing but "@" signs.
bool normalized_domain(std::string_view bytes, std::u16string& domain);

// Reads of an entry what a list finds it by. Throws unpack_failed.
using entry_key = std::u16string_view (*)(std::u16string_view entry);
std::u16string_view address_of(std::u16string_view entry);
std::u16string_view domain_of(std::u16string_view entry);
std::u16string_view trusted_address_of(std::u16string_view entry);

// The first entry whose key is `key` once normalized, or the end. Reads no entry behind it; throws
// unpack_failed at one before it.
line_views::const_iterator find_entry(const line_views& entries, std::u16string_view key,
                                      entry_key read);

// Adds an entry and sorts all by their 16-bit units.
void insert_sorted(line_list& entries, std::u16string entry);

// The entries, each with a CR behind it; and the way back, without the empty lines, sorted.
std::u16string joined(const text_list& entries);
text_list split_sorted(std::u16string_view text);

}  // namespace brindlemoss::rules
