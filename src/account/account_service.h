#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include "account/login_query.h"
#include "account/settings_document.h"
#include "foundation/sync.h"

namespace brindlemoss::account {

// What a test sets.
struct account_service_options {
    std::chrono::milliseconds retry{3'600'000};      // between two tries in the background
    std::chrono::milliseconds fetch_limit{120'000};  // for all of one fetch
    std::function<machine_facts()> machine = facts_of_this_machine;
};

// What became of the wish for an account.
enum class creation { done, refused, failed };

// The user's account: logs on to the account server over HTTP and holds the settings document that
// it answers with, or the one that was kept of the last seven days.
//
// Server and ports are "Host", "Port 1" and "Port 2" of the machine's key "Account"; the second
// port is tried where the first gave no document. What goes wrong is told in the log alone; there
// the password of a URL is masked. All texts are UTF-8. Any thread may call.
//
// While a fetch is under way, and after one that failed, no document is in force and every setting
// reads as empty, even where a kept document was in force before.
class account_service {
public:
    // That of the process, made on first use.
    static account_service& instance();

    // Stops what runs in the background, waits for that, and frees the object, if there is one.
    // Nobody may still use it. A fetch under way ends within a tenth of a second, but where the
    // system looks up the server's name: that cannot be interrupted.
    static void shutdown();

    explicit account_service(account_service_options options = {});
    ~account_service();
    account_service(const account_service&) = delete;
    account_service& operator=(const account_service&) = delete;

    // Puts the kept document in force and returns, while a thread in the background fetches a
    // newer one, every hour until it gets it, and keeps it for the next login. Where none is kept
    // it fetches one and waits. True when a document was put in force: whether the account was
    // accepted is for the document to say.
    bool login();

    // Fetches a document, puts it in force and keeps it.
    bool update();

    // Creates an account on the server, and stores name and password. A password that is equal to
    // the stored one is taken to be in the stored form already. Of any other only the MD5 is sent
    // or stored. What the server answers is no document for the user: one that was in force is so
    // again afterwards.
    bool create(std::string_view name, std::string_view password) {
        return ask_for_account(name, password) == creation::done;
    }

    // The same, and tells a server that refuses from one that cannot be had.
    creation ask_for_account(std::string_view name, std::string_view password);

    // A value of the document in force, by its dotted path (settings_document::setting()). Empty
    // when there is none.
    std::string setting(std::string_view name);

    // The same of the document that was put in force last, also while it is not in force: after
    // a login from the kept document the fetch that follows cannot take this away.
    std::string last_setting(std::string_view name);

    bool document_loaded() const;

    // When the document of last_setting() was fetched, in seconds since 1970, if it is one that was
    // kept; nullopt when it came from the server, or there is none.
    std::optional<std::int64_t> cached_since() const;

    // Waits until the fetch that follows a login from the kept document has come to its end, well
    // or not. False when that takes longer than `limit`; true at once where there is none.
    bool wait_for_background(std::chrono::milliseconds limit);

private:
    enum class fetch_place { foreground, background };
    struct credentials {
        std::string user;
        std::string password;
    };
    using document_pointer = std::shared_ptr<const settings_document>;

    void load_cache();
    bool fetch_and_keep(fetch_place place);
    std::optional<std::string> fetch(std::string_view path, const credentials& who);
    void launch_if_asked(const settings_document& document) const;
    creation try_to_create(std::string_view name, std::string_view password);

    void put_out_of_force();
    void put_in_force_again();
    void put_in_force(document_pointer document, std::optional<std::int64_t> cached_since);

    void follow_in_background();
    void run_background();
    bool leaves_after(bool has_fetched);
    bool waits_for_next_turn();

    const account_service_options options_;
    replay::mutex logins_;  // held by login(), update() and create()

    mutable replay::mutex document_lock_;  // guards the three below
    bool is_loaded_ = false;               // only with a document
    document_pointer document_;
    std::optional<std::int64_t> cached_since_;

    // The thread in the background is in `background_` for its life. Its wait between two tries
    // ends with `background_.stop`, be it for its end or for an earlier try.
    replay::turnstile background_;
    replay::manual_reset_event has_tried_{replay::event_state::set};
    std::atomic<bool> is_closing_{false};
    replay::mutex thread_lock_;  // guards the two below, and who sets and clears the events
    bool is_running_ = false;
    std::thread thread_;
};

}  // namespace brindlemoss::account
