#include "foundation/module.h"

#include <cstdint>
#include <exception>
#include <iterator>
#include <mutex>
#include <utility>
#include <vector>

#include "foundation/registry.h"
#include "platform/paths.h"
#include "platform/store.h"

namespace brindlemoss {

namespace {

namespace paths = replay::platform::paths;
namespace registry2 = replay::registry2;
using replay::scope;
using replay::platform::tell_user;

constexpr char use_mutex_name[] = "Brindlemoss.Core";
constexpr char product_line[] = "Brindlemoss Core, by the Brindlemoss project";
constexpr std::size_t rule_width = 120;

constexpr std::uint32_t log_file_size = 0x100000;
constexpr std::int32_t old_log_files = 1;

constexpr std::int32_t progress = 0;
constexpr std::int32_t notable = 1;
constexpr std::int32_t failures = 3;

// In the order of subsystem.
constexpr std::string_view prefixes[] = {
    "Account: ",
    "Communication: ",
    "",
    "Footer: ",
    "Language: ",
    "Rules: Sender: Allowed: ",
    "Rules: Sender: Denied: ",
    "Rules: Sender: Trusted: ",
    "Version: ",
};
static_assert(std::size(prefixes) == static_cast<std::size_t>(subsystem::count));

std::int32_t file_level() {
    constexpr const registry2::setting& debug_mode =
        registry2::setting_of(registry2::tree_key::user_root, u"Debug Mode");
    return registry2::get_integer(debug_mode, registry2::write_back::no) > 0 ? progress : notable;
}

std::string product_version() {
    constexpr const registry2::setting& version =
        registry2::setting_of(registry2::tree_key::machine_installation, u"Version");
    return registry2::get_utf8(version, registry2::write_back::no);
}

}  // namespace

// Runs the steps of start-up, none of which may keep the host from going on.
class module::failure_report {
public:
    template <typename step>
    void attempt(step&& take) noexcept {
        try {
            take();
        } catch (const std::exception& error) {
            tell(error.what());
        } catch (...) {
            tell("Unknown!");
        }
    }

private:
    // The first failure is as a rule the cause of the others.
    void tell(const char* text) noexcept try {
        if (!std::exchange(is_told_, true)) tell_user({}, std::string("Exception: ") + text);
    } catch (...) {
        // Out of memory even for the line.
    }

    bool is_told_ = false;
};

// What the stores tell while the log is not there yet is kept until it is.
class module::store_messages {
public:
    explicit store_messages(std::shared_ptr<log_tree> logs) : logs_(std::move(logs)) {}

    void tell(std::string_view line) {
        const std::lock_guard lock(mutex_);
        if (is_held_back_) {
            held_.emplace_back(line);
        } else {
            pass_on(line);
        }
    }

    void let_go(bool to_log) {
        const std::lock_guard lock(mutex_);
        to_log_ = to_log;
        is_held_back_ = false;
        for (const std::string& line : std::exchange(held_, {})) pass_on(line);
    }

private:
    void pass_on(std::string_view line) {
        if (to_log_) {
            logs_->main.write(failures, line);
        } else {
            tell_user({}, std::string(line));
        }
    }

    const std::shared_ptr<log_tree> logs_;
    std::mutex mutex_;  // guards all below
    bool is_held_back_ = true;
    bool to_log_ = false;
    std::vector<std::string> held_;
};

module& module::instance() {
    static module& only = *new module;
    return only;
}

module::module(module_surroundings surroundings) :surroundings_(std::move(surroundings)),
    logs_(std::make_shared<log_tree>()) {
    on_unload(singleton::statistics, registry2::close_all);  // whoever opened a store
}

void module::load(armed_by who) noexcept {
    const scope guard(loading_);
    if (std::exchange(is_loaded_, true)) return;

    failure_report report;
    std::shared_ptr<store_messages> messages;
    report.attempt([&] {
        messages = std::make_shared<store_messages>(logs_);
        registry2::set_message_sink([messages](std::string_view line) { messages->tell(line); });
    });
    std::string host;
    report.attempt([&] {
        if (!use_mutex_) use_mutex_.emplace(use_mutex_name).show_use();
    });
    report.attempt([&] { host = surroundings_.host_path(); });
    if (!replay::platform::host_process::is_resident_agent(host)) {
        report.attempt([&] { attach_file(report); });
    }
    report.attempt([&] { write_banner(host, report); });
    report.attempt([&] { arm(host, who); });
    report.attempt([&] { attach_proxies(); });
    if (messages) report.attempt([&] { messages->let_go(has_file_); });
}

void module::attach_file(failure_report& report) {
    if (has_file_) return;
    std::int32_t level = notable;
    report.attempt([&] { level = file_level(); });
    logs_->main.add_listener(
        level, std::make_unique<replay::log::file>(paths::user_state("Logs") + "/Core",
                                                   log_file_size, old_log_files));
    has_file_ = true;
}

void module::write_banner(const std::string& host, failure_report& report) {
    std::string version;
    report.attempt([&] { version = product_version(); });
    const std::string rule(rule_width, '=');
    logs_->main.write(notable, rule);
    logs_->main.write(notable, product_line);
    logs_->main.write(notable, "Product version: " + version);
    logs_->main.write(notable, "Loaded by: " + host);
    logs_->main.write(notable, rule);
}

void module::arm(const std::string& host, armed_by who) {
    bool is_armed = false;
    try {
        const std::string_view name = replay::platform::host_process::file_name(host);
        std::string stem = paths::user_state("Dumps");
        stem.append("/").append(name);
        is_armed = surroundings_.arm_crash_handler(stem, who);
    } catch (const paths::path_error&) {
        // No folder, no dump.
    }
    if (!is_armed) logs_->main.write(progress, "Unable to attach MiniDump handler");
}

void module::attach_proxies() {
    if (std::exchange(has_proxies_, true)) return;
    for (std::size_t index = 0; index < std::size(prefixes); ++index) {
        logs_->of[index].add_listener(progress, std::make_unique<replay::log::proxy>(
                                                    logs_->main, std::string(prefixes[index])));
    }
}

void module::unload() noexcept {
    std::array<destroyer, static_cast<std::size_t>(singleton::count)> destroyers;
    {
        // Not held while a destroyer waits for its singleton's lock, whose holder may come here.
        const scope guard(loading_);
        is_loaded_ = false;
        destroyers = destroyers_;
    }
    for (const destroyer destroy : destroyers) {
        if (destroy == nullptr) continue;
        try {
            destroy();
        } catch (...) {
            // The others are to go all the same.
        }
    }
}

void module::on_unload(singleton which, destroyer destroy) {
    const scope guard(loading_);
    destroyers_[static_cast<std::size_t>(which)] = destroy;
}

}  // namespace brindlemoss
