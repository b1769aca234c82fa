#pragma once

#include <string>
#include <string_view>

#include "foundation/registry_tree.h"
#include "foundation/sync.h"
#include "rules/sender_entry.h"
#include "rules/sender_index.h"

namespace brindlemoss::rules {

// A list of senders in the user's registry: addresses and domains, each with a comment. The list
// is what stands there at each call; other processes may change it at any time, and no change of
// theirs is lost.
//
// Addresses and domains are the bytes of a message; they are compared, and stored, without blanks
// and in lower case. Names and comments are text; a tab in one moves the fields behind it.
//
// Any thread may call. Throws unpack_failed when a look-up comes to an entry with fields missing,
// and replay::registry2::generic.
class sender_list {
public:
    sender_list(const sender_list&) = delete;
    sender_list& operator=(const sender_list&) = delete;

    // Whether the address stands in the list, or ends in one of its domains. There is no boundary
    // before a domain: "example.org" also matches badexample.org. Addresses are looked at first.
    bool match(std::string_view address, bool check_address, bool check_domain);

    // What is in the list already stays as it is. Tell whether something was added.
    bool add_address(std::u16string_view name, std::string_view address,
                     std::u16string_view comment);

    // Of a whole address its domain. Without any, nothing is added.
    bool add_domain(std::string_view domain, std::u16string_view comment);

    // The first entry that is exactly this. False if there is none.
    bool remove_address(std::string_view address);
    bool remove_domain(std::string_view domain);

    // Each entry with a CR behind it: name, address and comment, or domain and comment, with tabs
    // between them.
    std::u16string enumerate_addresses();
    std::u16string enumerate_domains();

    void empty_addresses();
    void empty_domains();

    // Put the entries of a text, as enumerated, in place of the list. Of the addresses those
    // without an "@", and all but the first of each, are left out; with an entry that has fields
    // missing nothing is changed. Domains are taken as they are.
    void write_addresses(std::u16string_view text);
    void write_domains(std::u16string_view text);

    // Whether the user is not to be asked anything. Nothing here asks.
    void silent(bool mode);
    bool silent();

    // The entries as they stand.
    text_list addresses();
    text_list domains();

protected:
    explicit sender_list(replay::registry2::tree_key key) : key_(key) {}
    ~sender_list() = default;

private:
    const replay::registry2::key& key() const;
    text_list entries(std::u16string_view value);
    void write(std::u16string_view value, const text_list& entries);
    bool add(std::u16string_view value, std::u16string_view found_by, entry_key read,
             const std::u16string& entry);
    bool remove(std::u16string_view value, std::u16string_view found_by, entry_key read);

    const replay::registry2::tree_key key_;
    replay::mutex mutex_;  // guards the entries against other threads, and all below
    sender_index addresses_{address_of};
    sender_index domains_{domain_of};
    bool silent_ = false;
};

}  // namespace brindlemoss::rules
