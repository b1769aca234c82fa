#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

// Every key that the program uses and every value in it, with type and default: one table. What
// reads a value takes its default from here; docs/registry.md shows it to people.
namespace replay::registry2 {

enum class predefined_root : std::int32_t {
    current_user = static_cast<std::int32_t>(0x80000001),   // the user's own tree
    local_machine = static_cast<std::int32_t>(0x80000002),  // what the installation lays
};

enum class tree_key {
    machine_root,
    machine_account,
    machine_community,
    machine_installation,
    machine_language_recognition,
    user_root,
    user_community,
    user_language_recognition,
    user_thresholds,
    user_outbound_emails,
    user_account,
    user_account_cache,
    user_rules_allow,
    user_rules_deny,
    user_rules_trust,
    user_statistics_filter,
    user_statistics_user,
    user_statistics_community,
    user_statistics_communication,
    user_statistics_protocol,
    count,
};

inline constexpr std::u16string_view root_path = u"Software\\Brindlemoss";
inline constexpr std::u16string_view statistics_path = u"Software\\Brindlemoss\\Statistics";

struct key_place {
    tree_key key;
    predefined_root root;
    std::u16string_view path;
};

// In the order of tree_key. Keys of the user's tree are created when missing, the machine's are
// not.
inline constexpr key_place key_places[] = {
    {tree_key::machine_root, predefined_root::local_machine, u"Software\\Brindlemoss"},
    {tree_key::machine_account, predefined_root::local_machine, u"Software\\Brindlemoss\\Account"},
    {tree_key::machine_community, predefined_root::local_machine,
     u"Software\\Brindlemoss\\Community"},
    {tree_key::machine_installation, predefined_root::local_machine,
     u"Software\\Brindlemoss\\Installation"},
    {tree_key::machine_language_recognition, predefined_root::local_machine,
     u"Software\\Brindlemoss\\Language Recognition"},
    {tree_key::user_root, predefined_root::current_user, u"Software\\Brindlemoss"},
    {tree_key::user_community, predefined_root::current_user, u"Software\\Brindlemoss\\Community"},
    {tree_key::user_language_recognition, predefined_root::current_user,
     u"Software\\Brindlemoss\\Language Recognition"},
    {tree_key::user_thresholds, predefined_root::current_user,
     u"Software\\Brindlemoss\\Thresholds"},
    {tree_key::user_outbound_emails, predefined_root::current_user,
     u"Software\\Brindlemoss\\Outbound Emails"},
    {tree_key::user_account, predefined_root::current_user, u"Software\\Brindlemoss\\Account"},
    {tree_key::user_account_cache, predefined_root::current_user,
     u"Software\\Brindlemoss\\Account\\Cache"},
    {tree_key::user_rules_allow, predefined_root::current_user,
     u"Software\\Brindlemoss\\Rules\\Sender\\Allow"},
    {tree_key::user_rules_deny, predefined_root::current_user,
     u"Software\\Brindlemoss\\Rules\\Sender\\Deny"},
    {tree_key::user_rules_trust, predefined_root::current_user,
     u"Software\\Brindlemoss\\Rules\\Sender\\Trust"},
    {tree_key::user_statistics_filter, predefined_root::current_user,
     u"Software\\Brindlemoss\\Statistics\\Filter"},
    {tree_key::user_statistics_user, predefined_root::current_user,
     u"Software\\Brindlemoss\\Statistics\\User"},
    {tree_key::user_statistics_community, predefined_root::current_user,
     u"Software\\Brindlemoss\\Statistics\\Community"},
    {tree_key::user_statistics_communication, predefined_root::current_user,
     u"Software\\Brindlemoss\\Statistics\\Communication"},
    {tree_key::user_statistics_protocol, predefined_root::current_user,
     u"Software\\Brindlemoss\\Statistics\\Communication\\Protocol"},
};

enum class kind {
    integer,     // 32 bits
    text,        //
    multi_text,  // a list, empty by default
    any,         // only that it is there counts
};

struct setting {
    tree_key key;
    std::u16string_view name;
    kind type;
    std::uint32_t integer_default;
    std::u16string_view text_default;
    std::string_view meaning;
};

namespace detail {

constexpr setting integer(tree_key key, std::u16string_view name, std::uint32_t otherwise,
                          std::string_view meaning) {
    return {key, name, kind::integer, otherwise, {}, meaning};
}

constexpr setting text(tree_key key, std::u16string_view name, std::u16string_view otherwise,
                       std::string_view meaning) {
    return {key, name, kind::text, 0, otherwise, meaning};
}

constexpr setting list(tree_key key, std::u16string_view name, std::string_view meaning) {
    return {key, name, kind::multi_text, 0, {}, meaning};
}

}  // namespace detail

inline constexpr setting settings[] = {
    // A name that is reserved for examples, for want of a server that everybody has.
    detail::text(tree_key::machine_account, u"Host", u"account.brindlemoss.example",
                 "Name of the account server"),
    detail::integer(tree_key::machine_account, u"Port 1", 2409, "Port at which it is tried first"),
    detail::integer(tree_key::machine_account, u"Port 2", 80, "Port at which it is tried then"),
    detail::integer(tree_key::machine_community, u"Timeout", 5000,
                    "Time for one query to the community, in milliseconds"),
    // A name that is reserved never to lead anywhere: there is no pool until somebody names one.
    detail::text(tree_key::machine_community, u"Server", u"pool.brindlemoss.invalid",
                 "Name that leads to the servers of the community"),
    detail::integer(tree_key::machine_community, u"Refresh", 3600,
                    "Time between two searches for servers, in seconds; 0: no searches"),
    detail::text(tree_key::machine_installation, u"Version", u"", "Version of the product"),
    detail::integer(tree_key::machine_installation, u"Partner", 0,
                    "Number of the partner that the product came from"),
    detail::text(tree_key::machine_installation, u"Product Code", u"",
                 "What the installer calls the product"),
    detail::text(tree_key::machine_installation, u"Directory", u"", "Folder of the installation"),
    detail::text(tree_key::machine_language_recognition, u"Database", u"",
                 "Data of the language recognition"),
    detail::text(tree_key::machine_language_recognition, u"Configuration", u"",
                 "Configuration of the language recognition"),
    detail::text(tree_key::user_root, u"Language", u"EN", "Language of the interface"),
    detail::integer(tree_key::user_root, u"Always Connected", 1,
                    "Not 0: the network is taken to be up"),
    detail::integer(tree_key::user_root, u"Debug Mode", 0,
                    "1: the log tells all; 2: and shows the messages"),
    detail::integer(tree_key::user_language_recognition, u"Mode", 1,
                    "1: languages of the list are refused; 0: only they are accepted"),
    detail::list(tree_key::user_language_recognition, u"Languages",
                 "Numbers of languages (LCID), decimal"),
    detail::integer(tree_key::user_thresholds, u"Filter", 50,
                    "Rating at which a message is blocked, 0 to 100"),
    detail::integer(tree_key::user_thresholds, u"Trust Activation", 2,
                    "Steps after which a sender is trusted"),
    detail::integer(tree_key::user_thresholds, u"Trust Activation Delay", 900,
                    "Time after which a sender is trusted, in seconds"),
    detail::integer(tree_key::user_outbound_emails, u"Insert Footer", 1,
                    "Not 0: mail that goes out gets a footer"),
    detail::integer(tree_key::user_account, u"Identity", 0, "Number of the account; 0: none"),
    detail::text(tree_key::user_account, u"Name", u"", "Name of the account"),
    detail::text(tree_key::user_account, u"Password", u"",
                 "MD5 of the account's password, hexadecimal"),
    detail::integer(tree_key::user_account_cache, u"Expiry", 0,
                    "When the kept document ends, in seconds since 1970"),
    detail::integer(tree_key::user_account_cache, u"Refresh", 0,
                    "When a new document is due, in seconds since 1970; 0: at once"),
    detail::text(tree_key::user_account_cache, u"Content", u"", "The kept document, Base64"),
    detail::text(tree_key::user_account_cache, u"Hash", u"", "Digest of the kept document"),
    {tree_key::user_account_cache,
     u"Ignore",
     kind::any,
     0,
     {},
     "When it is there at all, the kept document is not read"},
    detail::list(tree_key::user_rules_allow, u"Addresses",
                 "Allowed senders: name, tab, address, tab, comment"),
    detail::list(tree_key::user_rules_allow, u"Domains", "Allowed domains: domain, tab, comment"),
    detail::list(tree_key::user_rules_deny, u"Addresses",
                 "Denied senders: name, tab, address, tab, comment"),
    detail::list(tree_key::user_rules_deny, u"Domains", "Denied domains: domain, tab, comment"),
    detail::list(tree_key::user_rules_trust, u"Addresses",
                 "Trusted senders: name, tab, address, tab, steps, tab, seconds since 1970"),
    detail::integer(tree_key::user_statistics_filter, u"Processed", 0, "Messages seen"),
    detail::integer(tree_key::user_statistics_filter, u"Blocked", 0, "Messages blocked"),
    detail::integer(tree_key::user_statistics_user, u"Blocked", 0,
                    "Messages that the user blocked"),
    detail::integer(tree_key::user_statistics_user, u"Unblocked", 0,
                    "Messages that the user let through"),
    detail::integer(tree_key::user_statistics_communication, u"Bytes Transmitted", 0,
                    "Bytes sent to the community"),
    detail::integer(tree_key::user_statistics_communication, u"Bytes Received", 0,
                    "Bytes received from the community"),
    detail::integer(tree_key::user_statistics_protocol, u"Queries", 0,
                    "Queries that were answered"),
    detail::integer(tree_key::user_statistics_protocol, u"Response Time", 0,
                    "Time that answers took, summed, in milliseconds"),
    detail::integer(tree_key::user_statistics_protocol, u"Timeouts", 0,
                    "Queries without an answer"),
    detail::integer(tree_key::user_statistics_protocol, u"Errors", 0, "Queries that failed"),
};

// The place of a key.
constexpr const key_place& place_of(tree_key key) {
    return key_places[static_cast<std::size_t>(key)];
}

// The row of a value, found while compiling: a value that is not in the table is an error there.
consteval const setting& setting_of(tree_key key, std::u16string_view name) {
    for (const setting& row : settings) {
        if (row.key == key && row.name == name) return row;
    }
    throw "there is no such value in the table";
}

namespace detail {

constexpr bool keys_stand_in_order() {
    if (sizeof key_places / sizeof key_places[0] != static_cast<std::size_t>(tree_key::count)) {
        return false;
    }
    std::size_t index = 0;
    for (const key_place& place : key_places) {
        if (static_cast<std::size_t>(place.key) != index++) return false;
    }
    return true;
}
static_assert(keys_stand_in_order());

}  // namespace detail

}  // namespace replay::registry2
