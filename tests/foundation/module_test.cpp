#include "foundation/module.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/file.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <stdexcept>
#include <utility>

#include "foundation/registry.h"
#include "platform/clock.h"
#include "platform/paths.h"
#include "support/in_threads.h"
#include "support/temporary_folder.h"

namespace {

namespace clock = replay::platform::clock;
namespace paths = replay::platform::paths;
namespace registry2 = replay::registry2;
using brindlemoss::module;
using brindlemoss::singleton;
using brindlemoss::subsystem;
using replay::platform::crash_handler::armed_by;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

const std::string stamp = "2009/02/03 04:05:06";
const std::string rule(120, '=');

std::string line(char letter, const std::string& text) {
    return stamp + " " + letter + "  " + text + "\r\n";
}

std::string banner(const std::string& version, const std::string& host) {
    return line(' ', rule) + line(' ', "Brindlemoss Core, by the Brindlemoss project") +
           line(' ', "Product version: " + version) + line(' ', "Loaded by: " + host) +
           line(' ', rule);
}

class module_test : public testing::Test {
protected:
    module_test() {
        ::setenv("TZ", "UTC0", 1);
        ::tzset();
    }
    ~module_test() override {
        registry2::set_message_sink({});
        registry2::close_all();
        if (zone_before_.empty()) {
            ::unsetenv("TZ");
        } else {
            ::setenv("TZ", zone_before_.c_str(), 1);
        }
        ::tzset();
    }

    brindlemoss::module_surroundings surroundings() {
        return {[this] { return host_path_(); },
                [this](std::string_view stem, armed_by) {
                    armed_stems_.emplace_back(stem);
                    return can_arm_;
                }};
    }

    // Gives what is told on standard error.
    std::string load() {
        testing::internal::CaptureStderr();
        loaded.load(armed_by::library);
        return testing::internal::GetCapturedStderr();
    }

    std::string log_text() const { return folder_.read("Logs/Core.log.txt"); }

    static const registry2::key& user_root() {
        return registry2::at(registry2::tree_key::user_root);
    }
    static const registry2::key& installation() {
        return registry2::at(registry2::tree_key::machine_installation);
    }

    const std::string zone_before_ = ::getenv("TZ") != nullptr ? ::getenv("TZ") : "";
    const clock::standing standing_{clock::time_point(std::chrono::seconds(1233633906))};
    const test_support::temporary_folder folder_;
    const paths::scoped_home home_{folder_.path()};
    std::function<std::string()> host_path_ = [] { return "/bin/mail"; };
    std::vector<std::string> armed_stems_;
    bool can_arm_ = true;
    module loaded{surroundings()};
};

TEST_F(module_test, writes_the_banner_and_arms_with_the_name_of_the_host) {
    installation().set_text(u"Version", u"4.2.1 \u00E6");
    host_path_ = [] { return "/opt/Mail Client/Mail"; };
    EXPECT_EQ(load(), "");
    EXPECT_EQ(log_text(), banner("4.2.1 \xC3\xA6", "/opt/Mail Client/Mail"));
    EXPECT_THAT(armed_stems_, ElementsAre(folder_.path("Dumps/Mail")));
    EXPECT_TRUE(std::filesystem::is_directory(folder_.path("Dumps")));
}

TEST_F(module_test, keeps_a_megabyte_of_log_and_as_much_of_what_was_before) {
    constexpr std::size_t full = 1 << 20;
    const std::string head = banner("", "/bin/mail");
    const std::string path =
        folder_.file("Logs/Core.log.txt", std::string(full - head.size(), 'x'));
    load();
    const std::string filled = log_text();
    EXPECT_EQ(filled.size(), full);
    EXPECT_FALSE(std::filesystem::exists(folder_.path("Logs/Core.1.log.txt")));
    for (const std::string& before : {filled, std::string(full, 'y')}) {
        std::ofstream(path, std::ios::binary) << before;
        loaded.main_log().write(1, "next");
        EXPECT_EQ(log_text(), line(' ', "next"));
        EXPECT_EQ(folder_.read("Logs/Core.1.log.txt"), before);
    }
    EXPECT_FALSE(std::filesystem::exists(folder_.path("Logs/Core.2.log.txt")));
}

TEST_F(module_test, reads_its_settings_without_writing_them_back) {
    installation().delete_value(u"Version");
    load();
    EXPECT_EQ(log_text(), banner("", "/bin/mail"));
    EXPECT_THAT(user_root().value_names(), testing::Not(testing::Contains(u"Debug Mode")));
    EXPECT_THAT(installation().value_names(), testing::Not(testing::Contains(u"Version")));
}

TEST_F(module_test, shows_other_processes_that_it_is_in_use) {
    const std::string path = folder_.path("Locks/Brindlemoss.Core.lock");
    const auto is_in_use = [&] {
        const int descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        const bool is_locked = ::flock(descriptor, LOCK_EX | LOCK_NB) != 0;
        ::close(descriptor);
        return is_locked;
    };
    {
        module first(surroundings());
        first.load(armed_by::library);
        module second(surroundings());
        second.load(armed_by::library);
        EXPECT_TRUE(is_in_use());
    }
    EXPECT_FALSE(is_in_use());
}

TEST_F(module_test, writes_no_file_in_the_resident_agent) {
    for (const char* const host : {"/opt/BMAGENT.EXE", "/opt/bmagent"}) {
        SCOPED_TRACE(host);
        host_path_ = [host] { return host; };
        load();
        loaded.log_of(subsystem::account).write(3, "unheard");
        EXPECT_FALSE(std::filesystem::exists(folder_.path("Logs/Core.log.txt")));
        loaded.unload();
    }
    EXPECT_THAT(armed_stems_,
                ElementsAre(folder_.path("Dumps/BMAGENT.EXE"), folder_.path("Dumps/bmagent")));
}

TEST_F(module_test, puts_the_prefix_of_each_subsystem_ahead_of_its_lines) {
    loaded.log_of(subsystem::footer).write(1, "before anybody listens");
    loaded.load(armed_by::library);
    std::string expected = banner("", "/bin/mail");
    const std::pair<subsystem, const char*> rows[] = {
        {subsystem::account, "Account: "},
        {subsystem::communication, "Communication: "},
        {subsystem::filter, ""},
        {subsystem::footer, "Footer: "},
        {subsystem::language, "Language: "},
        {subsystem::rules_sender_allowed, "Rules: Sender: Allowed: "},
        {subsystem::rules_sender_denied, "Rules: Sender: Denied: "},
        {subsystem::rules_sender_trusted, "Rules: Sender: Trusted: "},
        {subsystem::version, "Version: "},
    };
    for (const auto& [which, prefix] : rows) {
        loaded.log_of(which).write(2, "text");
        expected += line('+', std::string(prefix) + "text");
    }
    EXPECT_EQ(log_text(), expected);
}

TEST_F(module_test, shows_progress_in_debug_mode_alone) {
    can_arm_ = false;
    for (const std::optional<std::uint32_t> debug_mode :
         {std::optional<std::uint32_t>(), {0u}, {1u}, {2u}}) {
        SCOPED_TRACE(debug_mode.value_or(99));
        const test_support::temporary_folder folder;
        const paths::scoped_home home(folder.path());
        registry2::close_all();
        if (debug_mode) user_root().set_integer(u"Debug Mode", *debug_mode);
        module fresh(surroundings());
        fresh.load(armed_by::library);
        fresh.log_of(subsystem::account).write(0, "progress");
        std::string expected = banner("", "/bin/mail");
        if (debug_mode.value_or(0) > 0) {
            expected += line('#', "Unable to attach MiniDump handler");
            expected += line('#', "Account: progress");
        }
        EXPECT_EQ(folder.read("Logs/Core.log.txt"), expected);
    }
}

TEST_F(module_test, loads_once_until_it_is_unloaded) {
    load();
    load();
    EXPECT_EQ(log_text(), banner("", "/bin/mail"));

    loaded.unload();
    loaded.unload();
    load();
    loaded.log_of(subsystem::footer).write(1, "once");
    EXPECT_EQ(log_text(),
              banner("", "/bin/mail") + banner("", "/bin/mail") + line(' ', "Footer: once"));
    EXPECT_EQ(armed_stems_.size(), 2u);
}

TEST_F(module_test, loads_once_for_many_threads) {
    test_support::in_threads(8, [&](int) {
        loaded.load(armed_by::library);
        loaded.log_of(subsystem::footer).write(0, "unheard");
    });
    EXPECT_EQ(log_text(), banner("", "/bin/mail"));
}

TEST_F(module_test, may_be_asked_to_load_from_within) {
    host_path_ = [this] {
        loaded.load(armed_by::library);
        return "/bin/mail";
    };
    load();
    EXPECT_EQ(log_text(), banner("", "/bin/mail"));
}

std::vector<int> destroyed;

template <std::size_t... place>
void register_from_the_last(module& loaded, std::index_sequence<place...>) {
    (loaded.on_unload(static_cast<singleton>(6 - place),
                      [] {
                          destroyed.push_back(6 - static_cast<int>(place));
                          if (place == 5) throw std::runtime_error("no end");
                      }),
     ...);
}

TEST_F(module_test, unloads_in_its_order_whatever_one_throws) {
    destroyed.clear();
    register_from_the_last(loaded, std::make_index_sequence<7>());
    loaded.unload();
    EXPECT_THAT(destroyed, ElementsAre(0, 1, 2, 3, 4, 5, 6));
}

TEST_F(module_test, tells_on_standard_error_that_there_is_no_log) {
    folder_.file("Logs", "no folder");
    const std::string told = load();
    EXPECT_THAT(told, HasSubstr("Exception: cannot make the folder " + folder_.path("Logs")));
    EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 1);
    EXPECT_EQ(armed_stems_.size(), 1u);
}

TEST_F(module_test, is_unable_to_attach_without_a_folder_for_dumps) {
    user_root().set_integer(u"Debug Mode", 1);
    folder_.file("Dumps", "no folder");
    load();
    EXPECT_EQ(log_text(), banner("", "/bin/mail") + line('#', "Unable to attach MiniDump handler"));
    EXPECT_TRUE(armed_stems_.empty());
}

TEST_F(module_test, goes_on_with_settings_of_the_wrong_type) {
    user_root().set_text(u"Debug Mode", u"1");
    installation().set_integer(u"Version", 4);
    EXPECT_THAT(load(), EndsWith("[Type mismatch: value \"Debug Mode\" expected 4 found 1]\n"));
    EXPECT_EQ(log_text(), banner("", "/bin/mail"));
}

TEST_F(module_test, shows_unknown_for_what_is_no_exception) {
    host_path_ = []() -> std::string { throw 1; };
    EXPECT_THAT(load(), EndsWith("Exception: Unknown!\n"));
    EXPECT_EQ(log_text(), banner("", ""));
}

TEST_F(module_test, logs_behind_the_banner_what_the_stores_say) {
    folder_.file("user.store", std::string(5000, 'x'));
    EXPECT_EQ(load(), "");
    const std::string text = log_text();
    const std::string head = banner("", "/bin/mail") + stamp + " !  ";
    ASSERT_EQ(text.substr(0, head.size()), head);
    EXPECT_THAT(text.substr(head.size()), HasSubstr("user.store"));
}

TEST_F(module_test, tells_what_the_stores_say_where_there_is_no_log) {
    folder_.file("machine.store", std::string(5000, 'x'));
    host_path_ = [] { return "/opt/bmagent"; };
    EXPECT_THAT(load(), HasSubstr("machine.store"));
}

}  // namespace
