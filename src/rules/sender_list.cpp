#include "rules/sender_list.h"

#include <unordered_set>
#include <utility>

#include "foundation/registry.h"

namespace brindlemoss::rules {

namespace registry = replay::registry2;
using replay::scope;

namespace {

constexpr std::u16string_view addresses_value = u"Addresses";
constexpr std::u16string_view domains_value = u"Domains";

// What stays of the entries: normal addresses, each once.
text_list cleaned(const text_list& entries) {
    text_list kept;
    std::unordered_set<std::u16string> seen;
    for (const std::u16string& entry : entries) {
        const address_entry fields = unpack_address(entry);
        if (fields.address.find(u'@') == std::u16string_view::npos) continue;
        const auto [address, is_new] = seen.insert(normalized(fields.address));
        if (is_new) kept.push_back(pack(address_entry{fields.name, *address, fields.comment}));
    }
    return kept;
}

}  // namespace

const registry::key& sender_list::key() const {
    return registry::at(key_);
}

bool sender_list::match(std::string_view address, bool check_address, bool check_domain) {
    const scope guard(mutex_);
    const std::u16string text = normalized(address);
    if (check_address) {
        addresses_.follow(key().shared_multi_text(addresses_value));
        if (addresses_.find(text)) return true;
    }
    if (check_domain) {
        domains_.follow(key().shared_multi_text(domains_value));
        if (domains_.holds_end_of(text)) return true;
    }
    return false;
}

bool sender_list::add_address(std::u16string_view name, std::string_view address,
                              std::u16string_view comment) {
    const std::u16string text = normalized(address);
    return add(addresses_value, text, address_of, pack(address_entry{name, text, comment}));
}

bool sender_list::add_domain(std::string_view domain, std::u16string_view comment) {
    std::u16string text;
    if (!normalized_domain(domain, text)) return false;
    return add(domains_value, text, domain_of, pack(domain_entry{text, comment}));
}

bool sender_list::remove_address(std::string_view address) {
    return remove(addresses_value, normalized(address), address_of);
}

bool sender_list::remove_domain(std::string_view domain) {
    std::u16string text;
    normalized_domain(domain, text);
    return remove(domains_value, text, domain_of);
}

std::u16string sender_list::enumerate_addresses() {
    return joined(addresses());
}

std::u16string sender_list::enumerate_domains() {
    return joined(domains());
}

void sender_list::empty_addresses() {
    write(addresses_value, {});
}

void sender_list::empty_domains() {
    write(domains_value, {});
}

void sender_list::write_addresses(std::u16string_view text) {
    write(addresses_value, cleaned(split_sorted(text)));
}

void sender_list::write_domains(std::u16string_view text) {
    write(domains_value, split_sorted(text));
}

void sender_list::silent(bool mode) {
    const scope guard(mutex_);
    silent_ = mode;
}

bool sender_list::silent() {
    const scope guard(mutex_);
    return silent_;
}

text_list sender_list::addresses() {
    return entries(addresses_value);
}

text_list sender_list::domains() {
    return entries(domains_value);
}

text_list sender_list::entries(std::u16string_view value) {
    const scope guard(mutex_);
    return key().get_multi_text(value, {}, registry::write_back::no);
}

void sender_list::write(std::u16string_view value, const text_list& entries) {
    const scope guard(mutex_);
    key().set_multi_text(value, entries);
}

bool sender_list::add(std::u16string_view value, std::u16string_view found_by, entry_key read,
                      const std::u16string& entry) {
    const scope guard(mutex_);
    bool is_new = false;
    key().change_multi_text(value, [&](line_list& entries) {
        is_new = find_entry(entries.lines(), found_by, read) == entries.lines().end();
        if (is_new) insert_sorted(entries, entry);
        return is_new;
    });
    return is_new;
}

bool sender_list::remove(std::u16string_view value, std::u16string_view found_by, entry_key read) {
    const scope guard(mutex_);
    bool is_there = false;
    key().change_multi_text(value, [&](line_list& entries) {
        const auto found = find_entry(entries.lines(), found_by, read);
        is_there = found != entries.lines().end();
        if (is_there) entries.erase(found);
        return is_there;
    });
    return is_there;
}

}  // namespace brindlemoss::rules
