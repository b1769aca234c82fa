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
#include <optional>
#include <stdexcept>
#include <thread>
#include <utility>

#include "foundation/registry.h"
#include "platform/clock.h"
#include "platform/paths.h"
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
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

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

    brindlemoss::module_surroundings surroundings(const std::string& host) {
        return {[host] { return host; },
                [this](std::string_view stem, armed_by) {
                    armed_stems_.emplace_back(stem);
                    return can_arm_;
                }};
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
    std::vector<std::string> armed_stems_;
    bool can_arm_ = true;
};

TEST_F(module_test, writes_the_banner_and_arms_with_the_name_of_the_host) {
    installation().set_text(u"Version", u"4.2.1 \u00E6");
    CaptureStderr();
    module loaded(surroundings("/opt/Mail Client/Mail"));
    loaded.load(armed_by::library);
    EXPECT_EQ(GetCapturedStderr(), "");
    EXPECT_EQ(log_text(), banner("4.2.1 \xC3\xA6", "/opt/Mail Client/Mail"));
    EXPECT_THAT(armed_stems_, ElementsAre(folder_.path("Dumps/Mail")));
    EXPECT_TRUE(std::filesystem::is_directory(folder_.path("Dumps")));
}

TEST_F(module_test, keeps_a_megabyte_of_log_and_as_much_of_what_was_before) {
    constexpr std::size_t full = 1 << 20;
    const std::string head = banner("", "/bin/mail");
    const std::string path =
        folder_.file("Logs/Core.log.txt", std::string(full - head.size(), 'x'));
    module loaded(surroundings("/bin/mail"));
    loaded.load(armed_by::library);
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
    module loaded(surroundings("/bin/mail"));
    loaded.load(armed_by::library);
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
        module first(surroundings("/bin/mail"));
        first.load(armed_by::library);
        module second(surroundings("/bin/mail"));
        second.load(armed_by::library);
        EXPECT_TRUE(is_in_use());
    }
    EXPECT_FALSE(is_in_use());
}

TEST_F(module_test, writes_no_file_in_the_resident_agent) {
    for (const char* const host : {"/opt/BMAGENT.EXE", "/opt/bmagent"}) {
        SCOPED_TRACE(host);
        module loaded(surroundings(host));
        loaded.load(armed_by::program);
        loaded.log_of(subsystem::account).write(3, "unheard");
        EXPECT_FALSE(std::filesystem::exists(folder_.path("Logs/Core.log.txt")));
    }
    EXPECT_THAT(armed_stems_,
                ElementsAre(folder_.path("Dumps/BMAGENT.EXE"), folder_.path("Dumps/bmagent")));
}

TEST_F(module_test, puts_the_prefix_of_each_subsystem_ahead_of_its_lines) {
    module loaded(surroundings("/bin/mail"));
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

struct level_case {
    const char* what;
    std::optional<std::uint32_t> debug_mode;
    bool shows_progress;
};

const level_case level_cases[] = {
    {"no value", std::nullopt, false},
    {"0", 0u, false},
    {"1", 1u, true},
    {"2", 2u, true},
};

TEST_F(module_test, shows_progress_in_debug_mode_alone) {
    for (const level_case& row : level_cases) {
        SCOPED_TRACE(row.what);
        const test_support::temporary_folder folder;
        const paths::scoped_home home(folder.path());
        registry2::close_all();
        if (row.debug_mode) user_root().set_integer(u"Debug Mode", *row.debug_mode);
        can_arm_ = false;
        module loaded(surroundings("/bin/mail"));
        loaded.load(armed_by::library);
        loaded.log_of(subsystem::account).write(0, "progress");
        std::string expected = banner("", "/bin/mail");
        if (row.shows_progress) {
            expected += line('#', "Unable to attach MiniDump handler");
            expected += line('#', "Account: progress");
        }
        EXPECT_EQ(folder.read("Logs/Core.log.txt"), expected);
    }
}

TEST_F(module_test, loads_once_until_it_is_unloaded) {
    module loaded(surroundings("/bin/mail"));
    loaded.load(armed_by::library);
    loaded.load(armed_by::library);
    EXPECT_EQ(log_text(), banner("", "/bin/mail"));

    loaded.unload();
    loaded.unload();
    loaded.load(armed_by::library);
    loaded.log_of(subsystem::footer).write(1, "once");
    EXPECT_EQ(log_text(),
              banner("", "/bin/mail") + banner("", "/bin/mail") + line(' ', "Footer: once"));
    EXPECT_EQ(armed_stems_.size(), 2u);
}

TEST_F(module_test, loads_once_for_many_threads) {
    module loaded(surroundings("/bin/mail"));
    std::vector<std::thread> threads;
    for (int count = 0; count < 8; ++count) {
        threads.emplace_back([&] {
            loaded.load(armed_by::library);
            loaded.log_of(subsystem::footer).write(0, "unheard");
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(log_text(), banner("", "/bin/mail"));
}

TEST_F(module_test, may_be_asked_to_load_from_within) {
    module* self = nullptr;
    auto around = surroundings("/bin/mail");
    around.host_path = [&self]() -> std::string {
        self->load(armed_by::library);
        return "/bin/mail";
    };
    module loaded(around);
    self = &loaded;
    loaded.load(armed_by::library);
    EXPECT_EQ(log_text(), banner("", "/bin/mail"));
}

std::vector<std::string> destroyed;

template <singleton which>
void destroy() {
    destroyed.push_back(std::to_string(static_cast<int>(which)));
    if (which == singleton::footer) throw std::runtime_error("no end");
}

TEST_F(module_test, unloads_in_its_order_whatever_one_throws) {
    destroyed.clear();
    module loaded(surroundings("/bin/mail"));
    loaded.on_unload(singleton::installation, destroy<singleton::installation>);
    loaded.on_unload(singleton::rules_sender_trusted, destroy<singleton::rules_sender_trusted>);
    loaded.on_unload(singleton::footer, destroy<singleton::footer>);
    loaded.on_unload(singleton::filter_engine, destroy<singleton::filter_engine>);
    loaded.on_unload(singleton::statistics, destroy<singleton::statistics>);
    loaded.on_unload(singleton::rules_sender_denied, destroy<singleton::rules_sender_denied>);
    loaded.on_unload(singleton::rules_sender_allowed, destroy<singleton::rules_sender_allowed>);
    loaded.unload();
    EXPECT_THAT(destroyed, ElementsAre("0", "1", "2", "3", "4", "5", "6"));
}

TEST_F(module_test, tells_on_standard_error_that_there_is_no_log) {
    folder_.file("Logs", "no folder");
    module loaded(surroundings("/bin/mail"));
    CaptureStderr();
    loaded.load(armed_by::library);
    const std::string told = GetCapturedStderr();
    EXPECT_THAT(told, HasSubstr("Exception: cannot make the folder " + folder_.path("Logs")));
    EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 1);
    EXPECT_EQ(armed_stems_.size(), 1u);
}

TEST_F(module_test, is_unable_to_attach_without_a_folder_for_dumps) {
    user_root().set_integer(u"Debug Mode", 1);
    folder_.file("Dumps", "no folder");
    module loaded(surroundings("/bin/mail"));
    loaded.load(armed_by::library);
    EXPECT_EQ(log_text(), banner("", "/bin/mail") + line('#', "Unable to attach MiniDump handler"));
    EXPECT_TRUE(armed_stems_.empty());
}

TEST_F(module_test, goes_on_with_settings_of_the_wrong_type) {
    user_root().set_text(u"Debug Mode", u"1");
    installation().set_integer(u"Version", 4);
    module loaded(surroundings("/bin/mail"));
    CaptureStderr();
    loaded.load(armed_by::library);
    EXPECT_THAT(GetCapturedStderr(),
                EndsWith("[Type mismatch: value \"Debug Mode\" expected 4 found 1]\n"));
    EXPECT_EQ(log_text(), banner("", "/bin/mail"));
}

TEST_F(module_test, shows_unknown_for_what_is_no_exception) {
    auto around = surroundings("/bin/mail");
    around.host_path = []() -> std::string { throw 1; };
    module loaded(around);
    CaptureStderr();
    loaded.load(armed_by::library);
    EXPECT_THAT(GetCapturedStderr(), EndsWith("Exception: Unknown!\n"));
    EXPECT_EQ(log_text(), banner("", ""));
}

TEST_F(module_test, logs_behind_the_banner_what_the_stores_say) {
    folder_.file("user.store", std::string(5000, 'x'));
    module loaded(surroundings("/bin/mail"));
    CaptureStderr();
    loaded.load(armed_by::library);
    EXPECT_EQ(GetCapturedStderr(), "");
    const std::string text = log_text();
    const std::string head = banner("", "/bin/mail") + stamp + " !  ";
    ASSERT_EQ(text.substr(0, head.size()), head);
    EXPECT_THAT(text.substr(head.size()), HasSubstr("user.store"));
}

TEST_F(module_test, tells_what_the_stores_say_where_there_is_no_log) {
    folder_.file("machine.store", std::string(5000, 'x'));
    module loaded(surroundings("/opt/bmagent"));
    CaptureStderr();
    loaded.load(armed_by::library);
    EXPECT_THAT(GetCapturedStderr(), HasSubstr("machine.store"));
}

}  // namespace
