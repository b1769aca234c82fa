#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/log.h"
#include "foundation/named_mutex.h"
#include "foundation/sync.h"
#include "platform/crash_handler.h"
#include "platform/host_process.h"

namespace brindlemoss {

// Each has a log of its own, whose lines go on to the main log behind a prefix.
enum class subsystem {
    account,
    communication,
    filter,
    footer,
    language,
    rules_sender_allowed,
    rules_sender_denied,
    rules_sender_trusted,
    version,
    count,
};

// What unload() destroys, in this order.
enum class singleton {
    filter_engine,
    footer,
    rules_sender_allowed,
    rules_sender_denied,
    rules_sender_trusted,
    statistics,
    installation,
    count,
};

// What start-up asks of the machine, for tests to replace.
struct module_surroundings {
    std::function<std::string()> host_path = replay::platform::host_process::path;
    std::function<bool(std::string_view, replay::platform::crash_handler::armed_by)>
        arm_crash_handler = replay::platform::crash_handler::arm;
};

// The library's life within a process: the logs, the mark that it is in use, the crash dump, and
// the end of its singletons. Any thread may call.
//
// Nothing happens when the dynamic loader maps or unmaps the library: under its lock a wait for
// another process or thread could be for ever. A program calls load() when it starts, the classes
// of the library at the first call of a method.
class module {
public:
    using destroyer = void (*)();
    using armed_by = replay::platform::crash_handler::armed_by;

    // That of the process. Never destroyed: the threads of a host may log until the very end.
    static module& instance();

    explicit module(module_surroundings surroundings = {});
    module(const module&) = delete;
    module& operator=(const module&) = delete;

    // Opens the log file, unless the host is the resident agent, writes the banner, arms the crash
    // handler and connects the subsystems' logs. When it is loaded already: nothing. Who comes
    // meanwhile waits; a call from within returns at once.
    //
    // What fails is left out. The first failure is told in one line on standard error. What the
    // stores have to say goes to the log from then on, or to standard error without a log file.
    //
    // After unload() it writes another banner and arms anew; the logs stay as they were.
    void load(armed_by who) noexcept;

    // Calls the registered destroyers in the order of the singletons; what one throws is dropped.
    // Nobody may still use a singleton.
    void unload() noexcept;

    // Has unload() free a singleton; the stores it closes by itself. It may be called when there is
    // none, and more than once.
    void on_unload(singleton which, destroyer destroy);

    // Before load() nobody hears what is written. Valid as long as the module.
    replay::log& main_log() { return logs_->main; }
    replay::log& log_of(subsystem which) { return logs_->of[static_cast<std::size_t>(which)]; }

private:
    struct log_tree {
        replay::log main;
        std::array<replay::log, static_cast<std::size_t>(subsystem::count)> of;
    };
    class failure_report;
    class store_messages;

    void attach_file(failure_report& report);
    void write_banner(const std::string& host, failure_report& report);
    void arm(const std::string& host, armed_by who);
    void attach_proxies();

    const module_surroundings surroundings_;
    const std::shared_ptr<log_tree> logs_;  // shared with the stores' messages

    replay::mutex loading_;  // guards all below
    bool is_loaded_ = false;
    bool has_file_ = false;
    bool has_proxies_ = false;
    std::optional<replay::named_mutex> use_mutex_;
    std::array<destroyer, static_cast<std::size_t>(singleton::count)> destroyers_{};
};

}  // namespace brindlemoss
