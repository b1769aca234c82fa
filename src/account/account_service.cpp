#include "account/account_service.h"

#include <exception>
#include <utility>

#include "account/configuration_program.h"
#include "account/document_fetch.h"
#include "account/settings_cache.h"
#include "foundation/md5.h"
#include "foundation/module.h"
#include "foundation/process_wide.h"
#include "foundation/registry.h"
#include "platform/utf8.h"

namespace brindlemoss::account {

namespace {

namespace platform = replay::platform;
namespace registry = replay::registry2;
using platform::from_utf8;
using platform::to_utf8;
using registry::setting_of;
using registry::tree_key;
using registry::write_back;
using replay::scope;

constexpr std::string_view login_path = "/component/loginxml.asp";
constexpr std::string_view creation_path = "/component/registerxml.asp";

constexpr const registry::setting& identity_setting =
    setting_of(tree_key::user_account, u"Identity");
constexpr const registry::setting& name_setting = setting_of(tree_key::user_account, u"Name");
constexpr const registry::setting& password_setting =
    setting_of(tree_key::user_account, u"Password");

replay::log& account_log() {
    return module::instance().log_of(subsystem::account);
}

std::string stored_password() {
    return registry::get_utf8(password_setting, write_back::yes);
}

bool is_accepted(const settings_document& document) {
    return document.setting(u"BrindlemossLogin.Login.Access") == u"Approved" &&
           document.setting(u"BrindlemossLogin.Login.Disabled") != u"1";
}

// Any exception is one line of the log, and false.
template <typename work>
bool logged(const char* operation, work&& do_work) {
    try {
        return do_work();
    } catch (const std::exception& failure) {
        account_log().writef(3, "%s: %s", operation, failure.what());
        return false;
    }
}

// The value, or an empty one and a line in the log.
std::string value_of(const settings_document* document, std::string_view name) {
    if (document == nullptr) return {};
    try {
        return to_utf8(document->setting(from_utf8(name)));
    } catch (const std::exception& failure) {
        account_log().writef(3, "Setting: Exception '%s' while reading setting '%s'",
                             failure.what(), std::string(name).c_str());
        return {};
    }
}

}  // namespace

account_service& account_service::instance() {
    return process_wide<account_service>::instance();
}

void account_service::shutdown() {
    process_wide<account_service>::destroy();
}

account_service::account_service(account_service_options options) : options_(std::move(options)) {}

account_service::~account_service() {
    {
        const scope guard(thread_lock_);
        is_closing_ = true;
        background_.request_stop();
    }
    background_.idle.wait();
    if (thread_.joinable()) thread_.join();
}

bool account_service::login() {
    const scope guard(logins_);
    return logged("Login", [this] {
        load_cache();
        if (!document_loaded()) return fetch_and_keep(fetch_place::foreground);
        follow_in_background();
        return true;
    });
}

bool account_service::update() {
    const scope guard(logins_);
    return fetch_and_keep(fetch_place::foreground);
}

creation account_service::ask_for_account(std::string_view name, std::string_view password) {
    const scope guard(logins_);
    auto outcome = creation::failed;
    logged("Create", [&] {
        outcome = try_to_create(name, password);
        return outcome == creation::done;
    });
    return outcome;
}

std::string account_service::setting(std::string_view name) {
    document_pointer document;
    {
        const scope guard(document_lock_);
        if (is_loaded_) document = document_;
    }
    return value_of(document.get(), name);
}

std::string account_service::last_setting(std::string_view name) {
    document_pointer document;
    {
        const scope guard(document_lock_);
        document = document_;
    }
    return value_of(document.get(), name);
}

bool account_service::document_loaded() const {
    const scope guard(document_lock_);
    return is_loaded_;
}

std::optional<std::int64_t> account_service::cached_since() const {
    const scope guard(document_lock_);
    return cached_since_;
}

bool account_service::wait_for_background(std::chrono::milliseconds limit) {
    return has_tried_.wait(limit);
}

void account_service::load_cache() {
    const std::optional<settings_cache::kept_document> kept = settings_cache::load();
    if (!kept) return;
    if (!kept->is_intact) return put_out_of_force();
    put_in_force(
        std::make_shared<const settings_document>(settings_document::of_utf8(kept->document)),
        kept->since);
}

bool account_service::fetch_and_keep(fetch_place place) {
    return logged("Update", [&] {
        const std::uint32_t identity = registry::get_integer(identity_setting, write_back::yes);
        credentials who{std::to_string(identity), stored_password()};
        if (identity == 0) who.password.clear();
        const std::optional<std::string> bytes = fetch(login_path, who);
        if (!bytes) return false;
        document_pointer document =
            std::make_shared<const settings_document>(settings_document::of_utf8(*bytes));
        settings_cache::store(*bytes, is_accepted(*document));
        launch_if_asked(*document);
        if (place == fetch_place::foreground) put_in_force(std::move(document), std::nullopt);
        return true;
    });
}

// From the first end point of the server that gives a document. Then the one that is held is in
// force again, until the caller puts another in its place.
std::optional<std::string> account_service::fetch(std::string_view path, const credentials& who) {
    const machine_facts machine = options_.machine();
    std::optional<std::string> document;
    for (const std::string& server : server_urls()) {
        put_out_of_force();
        const std::string url = server + std::string(path);
        document = fetch_document(
            {url, who.user, who.password, machine, options_.fetch_limit, is_closing_});
        if (document || is_closing_) break;
    }
    if (document) put_in_force_again();
    return document;
}

void account_service::launch_if_asked(const settings_document& document) const {
    const std::string command = to_utf8(document.setting(u"BrindlemossLogin.Parameters.Command"));
    if (command.empty() || configuration_program::is_host(options_.machine().host_path)) return;
    account_log().write(
        0, "Launching: \"" + std::string(configuration_program::name) + " " + command + "\"");
    configuration_program::launch(command);
}

creation account_service::try_to_create(std::string_view name, std::string_view password) {
    const bool is_stored_form = password == stored_password();
    const credentials who{std::string(name),
                          is_stored_form ? std::string(password) : replay::md5(password).hex()};
    const std::optional<std::string> bytes = fetch(creation_path, who);
    if (!bytes) return creation::failed;
    if (settings_document::of_utf8(*bytes).setting(u"Registration.Creation") == u"Failed") {
        return creation::refused;
    }
    const registry::key& account = registry::at(tree_key::user_account);
    account.set_text(name_setting.name, from_utf8(who.user));
    account.set_text(password_setting.name, from_utf8(who.password));
    return creation::done;
}

void account_service::put_out_of_force() {
    const scope guard(document_lock_);
    is_loaded_ = false;
}

void account_service::put_in_force_again() {
    const scope guard(document_lock_);
    is_loaded_ = document_ != nullptr;
}

void account_service::put_in_force(document_pointer document,
                                   std::optional<std::int64_t> cached_since) {
    const scope guard(document_lock_);
    document_.swap(document);  // the old one may be large and ends with the parameter, unlocked
    cached_since_ = cached_since;
    is_loaded_ = true;
}

// Has a fetch follow: by the thread that is there, at once even if it waits for its next try, or
// by a new one, which has begun when this returns.
void account_service::follow_in_background() {
    const scope guard(thread_lock_);
    if (is_closing_) return;
    if (is_running_) {
        has_tried_.clear();
        background_.request_stop();
        return;
    }
    if (thread_.joinable()) thread_.join();
    background_.busy.clear();
    background_.stop.clear();
    thread_ = std::thread([this] { run_background(); });
    is_running_ = true;
    background_.busy.wait();
}

void account_service::run_background() {
    has_tried_.clear();
    const scope inside(background_);
    while (!leaves_after(fetch_and_keep(fetch_place::background)) && waits_for_next_turn()) {
    }
}

bool account_service::leaves_after(bool has_fetched) {
    const scope guard(thread_lock_);
    has_tried_.set();
    is_running_ = !has_fetched;
    if (has_fetched) thread_.detach();  // nobody may be left to join it
    return has_fetched;
}

bool account_service::waits_for_next_turn() {
    background_.stop.wait(options_.retry);
    const scope guard(thread_lock_);
    if (is_closing_) return false;
    background_.stop.clear();
    has_tried_.clear();
    return true;
}

}  // namespace brindlemoss::account
