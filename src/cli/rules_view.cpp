#include "cli/rules_view.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <optional>
#include <string>

#include "cli/console.h"
#include "cli/json_writer.h"
#include "cli/registry_access.h"
#include "foundation/registry_values.h"
#include "platform/clock.h"
#include "rules/rules_sender_allowed.h"
#include "rules/rules_sender_denied.h"
#include "rules/rules_sender_trusted.h"

namespace brindlemoss::cli {

namespace clock = replay::platform::clock;
using rules::rules_sender_allowed;
using rules::rules_sender_denied;
using rules::rules_sender_trusted;

namespace {

using list = rules_options::list;

// Addresses and domains are bytes, one a character.
std::string shown_bytes(std::u16string_view field) {
    return printable(replay::registry2::narrow(field));
}

std::string shown_time(std::uint32_t seconds) {
    const clock::broken_down_time time =
        clock::local(clock::time_point(std::chrono::seconds(seconds)));
    std::array<char, 64> text;
    const int size =
        std::snprintf(text.data(), text.size(), "%04d-%02d-%02d %02d:%02d:%02d", time.year,
                      time.month, time.day, time.hour, time.minute, time.second);
    return {text.data(), static_cast<std::size_t>(size)};
}

// Writes an entry as a line for people, and as the members of an object.
struct entry_writer {
    std::string text;
    json_writer json;

    void address(const rules::address_entry& entry) {
        text = "address\t" + shown_bytes(entry.address) + "\t" + printable(utf8_of(entry.name)) +
               "\t" + printable(utf8_of(entry.comment));
        json.key("address").text(entry.address).key("name").text(entry.name);
        json.key("comment").text(entry.comment);
    }
    void domain(const rules::domain_entry& entry) {
        text = "domain\t" + shown_bytes(entry.domain) + "\t" + printable(utf8_of(entry.comment));
        json.key("domain").text(entry.domain).key("comment").text(entry.comment);
    }
    void trust(const rules::trust_entry& entry) {
        text = "address\t" + shown_bytes(entry.address) + "\t" + printable(utf8_of(entry.name)) +
               "\t" + std::to_string(entry.count) + "\t" + shown_time(entry.first_seen);
        json.key("address").text(entry.address).key("name").text(entry.name);
        json.key("steps").unsigned_number(entry.count);
        json.key("first_seen").unsigned_number(entry.first_seen);
    }
};

using write_function = std::function<void(std::u16string_view, entry_writer&)>;

// False if there was an entry that could not be read.
bool print_entries(const rules_options& options, const rules::text_list& entries,
                   const write_function& write) {
    bool all_read = true;
    for (const std::u16string& entry : entries) {
        if (interrupted()) break;
        entry_writer writer;
        writer.json.begin_object().key("list").utf8(list_name(options.which));
        try {
            write(entry, writer);
        } catch (const rules::unpack_failed&) {
            all_read = false;
            writer.text = "broken\t" + printable(utf8_of(entry));
            writer.json.key("broken").text(entry);
        }
        print((options.json ? writer.json.end_object().line() : writer.text) + "\n");
    }
    return all_read;
}

// What a list says of an address; nothing where it holds a broken entry.
template <typename question>
std::optional<bool> answer_to(question&& ask) try {
    return ask();
} catch (const rules::unpack_failed&) {
    return std::nullopt;
}

struct finding {
    std::string_view name;  // of the decision that comes of a "yes"
    std::optional<bool> answer;
};

struct findings {
    std::array<finding, 5> in_order;  // in which score asks
    std::optional<rules_sender_trusted::trust> trust;
};

findings find(const std::string& address) {
    auto& allowed = rules_sender_allowed::instance();
    auto& denied = rules_sender_denied::instance();
    auto& trusted = rules_sender_trusted::instance();
    findings found{
        {{
            {"allowed_address", answer_to([&] { return allowed.match(address, true, false); })},
            {"denied_address", answer_to([&] { return denied.match(address, true, false); })},
            {"allowed_domain", answer_to([&] { return allowed.match(address, false, true); })},
            {"denied_domain", answer_to([&] { return denied.match(address, false, true); })},
            {"trusted", answer_to([&] { return trusted.match(address); })},
        }},
        std::nullopt};
    if (found.in_order.back().answer) found.trust = trusted.find(address);
    return found;
}

// Empty where the lists leave it to the analysis.
std::string_view decision_of(const findings& found) {
    for (const finding& each : found.in_order) {
        if (!each.answer) return "error";
        if (*each.answer) return each.name;
    }
    return {};
}

std::string as_json(const std::string& address, const findings& found) {
    json_writer json;
    json.begin_object().key("address").byte_text(address);
    for (const finding& each : found.in_order) {
        json.key(each.name);
        if (each.answer) {
            json.boolean(*each.answer);
        } else {
            json.null();
        }
    }
    json.key("steps").unsigned_number(found.trust ? found.trust->count : 0);
    json.key("first_seen");
    if (found.trust) {
        json.unsigned_number(found.trust->first_seen);
    } else {
        json.null();
    }
    json.key("decision");
    const std::string_view decision = decision_of(found);
    if (decision.empty()) {
        json.null();
    } else {
        json.utf8(decision);
    }
    return json.end_object().line() + "\n";
}

std::string_view outcome_of(std::string_view decision) {
    if (decision.empty()) return "its mail is analysed";
    if (decision == "error") return "its mail passes, as a list cannot be read";
    return decision.starts_with("denied") ? "its mail is blocked" : "its mail passes";
}

std::string as_text(const std::string& address, const findings& found) {
    constexpr std::array labels{"allowed by address", "denied by address", "allowed by domain",
                                "denied by domain", "trusted"};
    std::string text = printable(address) + ": " + std::string(outcome_of(decision_of(found)));
    for (std::size_t i = 0; i < labels.size(); ++i) {
        const std::optional<bool>& answer = found.in_order[i].answer;
        const char* const word = !answer ? "there is a broken entry" : *answer ? "yes" : "no";
        text.append("\n    ").append(labels[i]).append(": ").append(word);
    }
    if (found.trust) {
        text.append(", ").append(std::to_string(found.trust->count));
        text.append(found.trust->count == 1 ? " step since " : " steps since ");
        text.append(shown_time(found.trust->first_seen));
    }
    return text + "\n";
}

}  // namespace

std::string_view list_name(rules_options::list which) {
    switch (which) {
        case list::allowed: return "allow";
        case list::denied: return "deny";
        case list::trusted: return "trust";
    }
    return {};
}

rules::sender_list& sender_list_of(rules_options::list which) {
    if (which == list::allowed) return rules_sender_allowed::instance();
    return rules_sender_denied::instance();
}

int list_rules(const rules_options& options) {
    bool all_read = false;
    if (options.which == list::trusted) {
        all_read = print_entries(options, rules_sender_trusted::instance().addresses(),
                                 [](std::u16string_view entry, entry_writer& writer) {
                                     writer.trust(rules::unpack_trust(entry));
                                 });
    } else {
        rules::sender_list& chosen = sender_list_of(options.which);
        all_read = print_entries(options, chosen.addresses(),
                                 [](std::u16string_view entry, entry_writer& writer) {
                                     writer.address(rules::unpack_address(entry));
                                 });
        all_read &= print_entries(options, chosen.domains(),
                                  [](std::u16string_view entry, entry_writer& writer) {
                                      writer.domain(rules::unpack_domain(entry));
                                  });
    }
    flush_output();
    if (interrupted()) return exit_interrupted;
    if (all_read) return exit_done;
    complain("entries with fields missing: mail passes where they are come to");
    return exit_bad_input;
}

int check_rules(const rules_options& options) {
    int code = exit_done;
    for (const std::string& address : options.senders) {
        const findings found = find(address);
        print(options.json ? as_json(address, found) : as_text(address, found));
        if (decision_of(found) == "error") code = exit_bad_input;
    }
    return code;
}

}  // namespace brindlemoss::cli
