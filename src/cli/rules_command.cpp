#include "cli/rules_command.h"

#include <algorithm>
#include <string_view>

#include "cli/console.h"
#include "cli/inputs.h"
#include "cli/json_writer.h"
#include "cli/registry_access.h"
#include "cli/registry_value.h"
#include "cli/rules_text.h"
#include "cli/rules_view.h"
#include "rules/rules_sender_allowed.h"
#include "rules/rules_sender_denied.h"
#include "rules/rules_sender_trusted.h"

namespace brindlemoss::cli {

namespace registry = replay::registry2;
using rules::rules_sender_allowed;
using rules::rules_sender_denied;
using rules::rules_sender_trusted;
using rules::sender_list;

namespace {

using list = rules_options::list;

sender_list& other_list_of(list which) {
    return sender_list_of(which == list::allowed ? list::denied : list::allowed);
}

// An argument that is to stand in an entry: it may not break it.
void require_one_field(std::string_view text) {
    if (std::any_of(text.begin(), text.end(), [](char byte) { return byte >= 0 && byte < ' '; })) {
        throw refusal("'" + printable(text) + "': tabs, line ends and the like fit in no entry");
    }
}

std::u16string field_argument(std::string_view text) try {
    require_one_field(text);
    return wide_argument(text);
} catch (const unfit_data& error) {
    throw refusal("'" + printable(text) + "': " + error.what());
}

// "@example.org" is how people write a domain.
bool is_address(std::string_view sender) {
    return sender.rfind('@') != std::string_view::npos && sender.rfind('@') > 0;
}

// All are looked at before the first is worked on.
void check_senders(const rules_options& options) {
    for (const std::string& sender : options.senders) {
        require_one_field(sender);
        if (sender.find_first_not_of(" @") == std::string::npos || sender.ends_with('@')) {
            throw refusal("'" + printable(sender) + "' is neither an address nor a domain");
        }
        if (options.which == list::trusted && !is_address(sender)) {
            throw refusal("'" + printable(sender) + "' is no address: domains earn no trust");
        }
    }
}

void tell_of_sender(const rules_options& options, std::string_view sender, const char* what,
                    bool done) {
    if (!options.json) return;
    json_writer json;
    json.begin_object().key("list").utf8(list_name(options.which));
    json.key(is_address(sender) ? "address" : "domain").byte_text(sender);
    json.key(what).boolean(done).end_object();
    print(json.line() + "\n");
}

bool add_to_list(const rules_options& options, std::string_view sender, std::u16string_view name,
                 std::u16string_view comment) {
    sender_list& chosen = sender_list_of(options.which);
    sender_list& other = other_list_of(options.which);
    if (is_address(sender)) {
        const bool is_new = chosen.add_address(name, sender, comment);
        other.remove_address(sender);
        return is_new;
    }
    const bool is_new = chosen.add_domain(sender, comment);
    other.remove_domain(sender);
    return is_new;
}

int add(const rules_options& options) {
    check_senders(options);
    const std::u16string name = field_argument(options.name);
    const std::u16string comment = field_argument(options.comment);
    for (const std::string& sender : options.senders) {
        bool is_new = true;
        if (options.which == list::trusted) {
            rules_sender_trusted::instance().increase_trust(name, sender);
        } else {
            is_new = add_to_list(options, sender, name, comment);
        }
        tell_of_sender(options, sender, "added", is_new);
    }
    return exit_done;
}

bool remove_sender(list which, std::string_view sender) {
    if (which == list::trusted) return rules_sender_trusted::instance().remove_trust(sender);
    return is_address(sender) ? sender_list_of(which).remove_address(sender)
                              : sender_list_of(which).remove_domain(sender);
}

int remove(const rules_options& options) {
    check_senders(options);
    int code = exit_done;
    for (const std::string& sender : options.senders) {
        const bool was_there = remove_sender(options.which, sender);
        tell_of_sender(options, sender, "removed", was_there);
        if (was_there) continue;
        flush_output();
        complain("'" + printable(sender) + "' is not in the list");
        code = exit_bad_input;
    }
    return code;
}

int clear(const rules_options& options) {
    if (options.which == list::trusted) {
        rules_sender_trusted::instance().empty_addresses();
    } else {
        sender_list_of(options.which).empty_addresses();
        sender_list_of(options.which).empty_domains();
    }
    if (!options.json) return exit_done;
    json_writer json;
    json.begin_object().key("list").utf8(list_name(options.which));
    json.key("cleared").boolean(true).end_object();
    print(json.line() + "\n");
    return exit_done;
}

std::string quoted_file(const std::string& file) {
    return file == "-" ? "standard input" : "'" + printable(file) + "'";
}

imported_list list_in(const rules_options& options) {
    const auto kind = options.domains ? entry_kind::domains : entry_kind::addresses;
    imported_list read;
    const std::string error =
        for_each_message({options.file, {}}, file_format::one_message,
                         [&](const raw_message& whole) { read = read_list(whole.text, kind); });
    if (!error.empty()) throw refusal("cannot read " + quoted_file(options.file) + ": " + error);
    return read;
}

int import_file(const rules_options& options) try {
    if (options.which == list::trusted) {
        throw refusal(
            "trust is earned, not imported: \"registry export\" and \"registry import\" "
            "of Rules/Sender/Trust keep a copy");
    }
    const imported_list read = list_in(options);
    if (options.domains) {
        sender_list_of(options.which).write_domains(read.entries);
    } else {
        sender_list_of(options.which).write_addresses(read.entries);
    }
    const char* const kind = options.domains ? "domains" : "addresses";
    if (!options.json) {
        print(std::to_string(read.count) + " " + kind + "\n");
        return exit_done;
    }
    json_writer json;
    json.begin_object().key("list").utf8(list_name(options.which));
    json.key(kind).unsigned_number(read.count).end_object();
    print(json.line() + "\n");
    return exit_done;
} catch (const list_error& error) {
    throw refusal("nothing of " + quoted_file(options.file) + " is imported: " + error.what());
}

rules::text_list entries_to_export(const rules_options& options) {
    if (options.which == list::trusted) return rules_sender_trusted::instance().addresses();
    sender_list& chosen = sender_list_of(options.which);
    return options.domains ? chosen.domains() : chosen.addresses();
}

int export_text(const rules_options& options) {
    for (const std::u16string& entry : entries_to_export(options)) {
        if (options.json) {
            json_writer json;
            json.begin_object().key("entry").text(entry).end_object();
            print(json.line() + "\n");
        } else {
            print(text_of_entry(entry) + "\n");
        }
    }
    return exit_done;
}

int act(const rules_options& options) {
    using action = rules_options::action;
    switch (options.wanted) {
        case action::list: return list_rules(options);
        case action::add: return add(options);
        case action::remove: return remove(options);
        case action::clear: return clear(options);
        case action::import_file: return import_file(options);
        case action::export_text: return export_text(options);
        case action::check: return check_rules(options);
    }
    return exit_fault;
}

}  // namespace

int run_rules(const rules_options& options) {
    return with_stores([&] {
        try {
            return act(options);
        } catch (const rules::unpack_failed&) {
            throw refusal(
                "the list holds an entry with fields missing: \"rules ... list\" shows it, an "
                "export, corrected and imported, puts it right");
        }
    });
}

}  // namespace brindlemoss::cli
