#include "cli/account_command.h"
#include "account/document_fetch.h"

#include <chrono>
#include <cstdint>

#include "account/account_service.h"
#include "cli/account_faults.h"
#include "cli/account_password.h"
#include "cli/account_server.h"
#include "cli/console.h"
#include "cli/json_writer.h"
#include "cli/registry_access.h"
#include "cli/registry_value.h"
#include "cli/subcommand_action.h"
#include "foundation/module.h"
#include "foundation/registry.h"
#include "platform/clock.h"

namespace brindlemoss::cli {

namespace platform = replay::platform;
namespace registry = replay::registry2;
using account::account_service;
using registry::setting_of;
using registry::tree_key;
using registry::write_back;
using action = account_options::action;

namespace {

// How long a program that began with the kept document stays for the newer one. One that has come
// by then is there for the next login.
constexpr std::chrono::seconds patience(10);

// What is known of the account after a login.
struct account_state {
    std::string access;  // what the server says of it, "Approved" where it lets us in
    bool is_disabled = false;
    std::optional<std::int64_t> age;  // of a kept document, in seconds
};

bool has_account() {
    return registry::get_integer(setting_of(tree_key::user_account, u"Identity"), write_back::no) !=
           0;
}

std::string why_no_document(const account_faults& faults) {
    if (!account::is_server_named()) {
        return no_server_named();
    }
    const std::string told = faults.text();
    if (told.empty()) {
        return "the machine has no network, and 'Always Connected' says not to try: "
               "'brindlemoss registry set . \"Always Connected\" 1' tries all the same";
    }
    return "no settings come from the account server: " + told + "; if that is the wrong server, " +
           how_to_name_a_server();
}

account_state state_of(account_service& service) {
    account_state state;
    state.access = service.last_setting("BrindlemossLogin.Login.Access");
    state.is_disabled = service.last_setting("BrindlemossLogin.Login.Disabled") == "1";
    if (const auto since = service.cached_since()) {
        state.age = platform::clock::seconds_since_1970() - *since;
    }
    return state;
}

// "3 hours ago"
std::string time_ago(std::int64_t seconds) {
    struct unit {
        std::int64_t length;
        const char* name;
    };
    for (const unit& each : {unit{86'400, "day"}, unit{3600, "hour"}, unit{60, "minute"}}) {
        const std::int64_t count = seconds / each.length;
        if (count <= 0) continue;
        return std::to_string(count) + " " + each.name + (count == 1 ? " ago" : "s ago");
    }
    return "less than a minute ago";  // also where the clock was set back
}

// Empty where the server lets us in, or says nothing of it.
std::string why_refused(const account_state& state) {
    if (state.is_disabled) return "the account is switched off";
    if (state.access.empty() || state.access == "Approved") return {};
    const std::string said =
        "the server does not accept the login, it says '" + printable(state.access) + "': ";
    if (!has_account()) {
        return said +
               "the number of the account is not set: 'brindlemoss registry set Account Identity "
               "NUMBER' sets it, 'brindlemoss account create NAME' makes an account";
    }
    return said + "see whether 'Identity' and 'Password' of the key 'Account' are right";
}

void print_state(bool is_done, const account_state& state, const std::string& error) {
    json_writer json;
    json.begin_object().key("done").boolean(is_done).key("access").utf8(state.access);
    json.key("disabled").boolean(state.is_disabled);
    json.key("from_cache").boolean(state.age.has_value()).key("age");
    if (state.age) {
        json.number(*state.age);
    } else {
        json.null();
    }
    if (!error.empty()) json.key("error").utf8(error);
    print(json.end_object().line() + "\n");
}

// After a login from the kept document: tells how old that is, and gives the fetch of a newer one,
// which goes on in this process and ends with it, the time to come to its end.
void follow_up(account_service& service, const account_state& state, const account_faults& faults) {
    if (!state.age) return;
    flush_output();
    std::string line = "these are the settings of " + time_ago(*state.age);
    if (!account::is_server_named()) {
        line.append("; ").append(no_server_named());
    } else if (!service.wait_for_background(patience)) {
        line += "; the account server has not answered so far";
    } else if (service.document_loaded()) {
        line += "; newer ones have come and are in force from the next login on";
    } else {
        const std::string told = faults.text();
        line += "; no newer ones come: " + (told.empty() ? "the machine has no network" : told);
    }
    complain(line);
}

// Throws refusal when there is no document.
void log_in(account_service& service, const account_faults& faults) {
    // Where nobody named a server there is nobody to wait for.
    if (!may_have_document() || !service.login()) throw refusal(why_no_document(faults));
}

void show_login(account_service& service, const account_options& options,
                const account_faults& faults) {
    account_state state;
    std::string error;
    try {
        if (options.wanted == action::login) {
            log_in(service, faults);
        } else if (!account::is_server_named() || !service.update()) {
            throw refusal(why_no_document(faults));
        }
        state = state_of(service);
        error = why_refused(state);
    } catch (const refusal& fault) {
        if (options.json) print_state(false, state, fault.what());
        throw;
    }
    if (options.json) print_state(error.empty(), state, error);
    if (!options.json && error.empty()) {
        const bool is_accepted = state.access == "Approved";
        print(options.wanted == action::update ? "The settings are up to date.\n"
              : is_accepted                    ? "Logged in.\n"
                            : "The settings are there; the server says nothing of the login.\n");
    }
    follow_up(service, state, faults);
    if (!error.empty()) throw refusal(error);
}

void show_setting(account_service& service, const account_options& options,
                  const account_faults& faults) {
    log_in(service, faults);
    const std::string value = service.last_setting(options.name);
    if (options.json) {
        json_writer json;
        json.begin_object().key("name").utf8(options.name).key("value").utf8(value);
        print(json.end_object().line() + "\n");
    } else {
        print(printable(value) + "\n");
    }
    follow_up(service, state_of(service), faults);
}

void check_name(const std::string& name) {
    if (name.empty()) throw refusal("the name is empty");
    try {
        wide_argument(name);
    } catch (const unfit_data& error) {
        throw refusal("the name '" + printable(name) + "': " + error.what());
    }
}

// Empty when there is an account now.
std::string why_not_created(account_service& service, const account_options& options,
                            const account_faults& faults) {
    if (!account::is_server_named()) return why_no_document(faults);
    using account::creation;
    const creation outcome =
        service.ask_for_account(options.name, wanted_password(options.password));
    if (outcome == creation::done) return {};
    if (outcome == creation::failed) return why_no_document(faults);
    return "the server refuses to create the account '" + printable(options.name) +
           "': perhaps somebody has one by that name";
}

void create(account_service& service, const account_options& options,
            const account_faults& faults) {
    check_name(options.name);
    const std::string error = why_not_created(service, options, faults);
    if (options.json) {
        json_writer json;
        json.begin_object().key("name").utf8(options.name);
        json.key("created").boolean(error.empty());
        if (!error.empty()) json.key("error").utf8(error);
        print(json.end_object().line() + "\n");
    }
    if (!error.empty()) throw refusal(error);
    if (!options.json) print("The account '" + printable(options.name) + "' is created.\n");
}

void act(const account_options& options) {
    const obey_interrupts obeying;  // a server may be silent for long, and so may who types
    module::instance().load(module::armed_by::program);
    const account_faults faults;
    account_service& service = account_service::instance();
    switch (options.wanted) {
        case action::create: return create(service, options, faults);
        case action::login:
        case action::update: return show_login(service, options, faults);
        case action::setting: return show_setting(service, options, faults);
    }
}

}  // namespace

CLI::App* add_account(CLI::App& program, account_options& options) {
    CLI::App* account =
        program.add_subcommand("account", "Log on to the user's account and read its settings");
    account->require_subcommand(1);
    account->add_flag("--json", options.json, "Print one JSON object");
    account->footer(
        "The account server is named by 'brindlemoss registry set --machine Account Host NAME'.\n"
        "What it says is kept for seven days, for a start without network.");
    CLI::App* create = add_action(*account, options, action::create, "create", "Create an account");
    create->add_option("NAME", options.name, "The name of the account")->required();
    create->add_option("--password", options.password,
                       "The password, which other users of the machine may then see");
    create->footer(
        "The password is asked for twice, and not shown. Where standard input is no terminal, its\n"
        "first line is the password.");
    add_action(*account, options, action::login, "login",
               "Log in, with the settings that are kept if there are any");
    add_action(*account, options, action::update, "update", "Fetch the settings anew");
    CLI::App* setting = add_action(*account, options, action::setting, "setting",
                                   "Log in and print the value of a setting");
    setting->add_option("NAME", options.name, "The setting, such as BrindlemossLogin.Login.Access")
        ->required();
    return account;
}

int run_account(const account_options& options) {
    return with_stores([&] {
        act(options);
        return int{exit_done};
    });
}

}  // namespace brindlemoss::cli
