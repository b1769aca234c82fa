#include "platform/crash_handler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <barrier>
#include <chrono>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/clock.h"
#include "platform/host_process.h"
#include "platform/loaded_modules.h"
#include "support/child_process.h"
#include "support/in_threads.h"
#include "support/temporary_folder.h"

namespace {

namespace clock = replay::platform::clock;
namespace crash_handler = replay::platform::crash_handler;
using crash_handler::armed_by;
using test_support::child_process;
using test_support::require;
using test_support::temporary_folder;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr clock::time_point moment{std::chrono::seconds(1233633906)};  // 2009-02-03 04:05:06 UTC
constexpr char dump_name[] = "host.1233633906.dmp";

void leave_no_core() {
    const rlimit none{0, 0};
    ::setrlimit(RLIMIT_CORE, &none);
}

// How a child ends that arms the handler and crashes.
int outcome_of(const temporary_folder& folder, armed_by who, const std::function<void()>& crash) {
    child_process child([&] {
        leave_no_core();
        const clock::standing standing(moment);
        require(crash_handler::arm(folder.path("host"), who), "not armed");
        crash();
    });
    return child.wait();
}

void write_to_nowhere() {
    volatile std::uintptr_t nowhere = 0x10;
    *reinterpret_cast<volatile int*>(nowhere) = 1;
}

// Each call writes to a buffer of its own, so that no compiler makes a loop of it.
int run_out_of_stack(int depth) {
    volatile char buffer[4096];
    buffer[depth % 4096] = static_cast<char>(depth);
    const int deeper = depth < INT_MAX ? run_out_of_stack(depth + 1) : 0;
    return deeper + buffer[depth % 4096];
}

TEST(crash_handler, leaves_a_dump_and_lets_the_process_die_in_the_usual_way) {
    const struct {
        const char* what;
        std::function<void()> crash;
        int signal;
        const char* line;
    } rows[] = {
        {"write to nowhere", write_to_nowhere, SIGSEGV,
         "Signal: 11 SIGSEGV, code 1\nAddress: 0x0000000000000010\n"},
        {"abort", [] { std::abort(); }, SIGABRT, "Signal: 6 SIGABRT, code -6\nSent by: process "},
        {"stack overflow", [] { std::_Exit(run_out_of_stack(0)); }, SIGSEGV, "Signal: 11 SIGSEGV"},
        {"a signal from outside", [] { ::kill(::getpid(), SIGFPE); }, SIGFPE,
         "Signal: 8 SIGFPE, code 0\nSent by"},
        {"a jump to nowhere",
         [] {
             volatile std::uintptr_t nowhere = 0x10;
             reinterpret_cast<void (*)()>(nowhere)();
         },
         SIGSEGV, "Address: 0x0000000000000010\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const temporary_folder folder;
        EXPECT_EQ(outcome_of(folder, armed_by::program, row.crash), -row.signal);
        const std::string dump = folder.read(dump_name);
        EXPECT_THAT(dump, StartsWith("Crash dump\nTime: 2009-02-03 04:05:06 UTC (1233633906)\n"));
        EXPECT_THAT(dump, HasSubstr("\nProgram: " + replay::platform::host_process::path() + "\n"));
        EXPECT_THAT(dump, HasSubstr(row.line));
        for (const char* const section :
             {"\nRegisters:\n", "\nStack, words that point into code:\n", "\nStack, first words:\n",
              "\nModules", "\nMemory map:\n"}) {
            EXPECT_THAT(dump, HasSubstr(section));
        }
        EXPECT_THAT(dump, HasSubstr("[stack]"));
    }
}

TEST(crash_handler, shows_the_user_alone_where_the_code_was_and_the_modules) {
    const temporary_folder folder;
    outcome_of(folder, armed_by::program, write_to_nowhere);
    EXPECT_EQ(std::filesystem::status(folder.path(dump_name)).permissions(),
              std::filesystem::perms(0600));
    const std::string dump = folder.read(dump_name);
    const std::string place = replay::platform::host_process::path() + "+0x";
    EXPECT_THAT(dump, HasSubstr("\nAt: " + place));
    const std::string stack = dump.substr(dump.find("\nStack, words"));
    EXPECT_THAT(stack.substr(0, stack.find("\nStack, first")), HasSubstr(place));

    const auto modules = replay::platform::loaded_modules();
    ASSERT_FALSE(modules.empty());
    EXPECT_EQ(modules.front().path, replay::platform::host_process::path());
    const auto has_id = [](const auto& module) { return module.build_id.size() == 40; };
    EXPECT_TRUE(std::any_of(modules.begin(), modules.end(), has_id));
    for (const auto& module : modules) {
        SCOPED_TRACE(module.path);
        const std::string id = module.build_id.empty() ? "none" : module.build_id;
        EXPECT_THAT(dump, HasSubstr(" " + id + " " + module.path + "\n"));
    }
}

TEST(crash_handler, dies_in_the_usual_way_without_a_folder) {
    const temporary_folder folder;
    const auto remove_folder_and_crash = [&] {
        std::filesystem::remove_all(folder.path());
        write_to_nowhere();
    };
    EXPECT_EQ(outcome_of(folder, armed_by::program, remove_folder_and_crash), -SIGSEGV);
}

TEST(crash_handler, overwrites_the_dump_of_an_earlier_crash) {
    const temporary_folder folder;
    folder.file(dump_name, std::string(1 << 20, 'x'));
    outcome_of(folder, armed_by::program, write_to_nowhere);
    EXPECT_THAT(folder.read(dump_name), StartsWith("Crash dump\n"));
    EXPECT_THAT(folder.read(dump_name), Not(HasSubstr("xxxx")));
}

#if defined(__x86_64__)
TEST(crash_handler, survives_a_broken_stack_pointer) {
    const temporary_folder folder;
    const auto crash = [] { asm volatile("mov $0x10, %%rsp\n\tpush %%rax" ::: "memory"); };
    EXPECT_EQ(outcome_of(folder, armed_by::program, crash), -SIGSEGV);
    EXPECT_THAT(folder.read(dump_name), HasSubstr("rsp 0x0000000000000010\n"));
    EXPECT_THAT(folder.read(dump_name), HasSubstr("\nMemory map:\n"));
}
#endif

TEST(crash_handler, writes_one_whole_dump_when_many_threads_crash) {
    const temporary_folder folder;
    const auto crash_together = [] {
        std::barrier together(4);
        test_support::in_threads(4, [&](int) {
            together.arrive_and_wait();
            write_to_nowhere();
        });
    };
    EXPECT_EQ(outcome_of(folder, armed_by::program, crash_together), -SIGSEGV);
    const std::string dump = folder.read(dump_name);
    EXPECT_THAT(dump, StartsWith("Crash dump\n"));
    EXPECT_EQ(dump.find("Crash dump", 1), std::string::npos);
    EXPECT_THAT(dump.substr(dump.find("\nMemory map:\n")), HasSubstr("[stack]"));
}

constexpr int host_code = 42;

void be_a_host_that_handles(int signal) {
    struct sigaction own {};
    own.sa_handler = [](int) { ::_exit(host_code); };
    ::sigaction(signal, &own, nullptr);
}

TEST(crash_handler, respects_the_handlers_of_a_foreign_host) {
    const struct {
        const char* what;
        armed_by who;
        int handled;
        int raised;
        int outcome;
        bool leaves_dump;
    } rows[] = {
        {"the program's own handler yields to it", armed_by::program, SIGABRT, SIGABRT, -SIGABRT,
         true},
        {"a host's handler stays", armed_by::library, SIGABRT, SIGABRT, host_code, false},
        {"a signal that the host leaves", armed_by::library, SIGABRT, SIGFPE, -SIGFPE, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const temporary_folder folder;
        child_process child([&] {
            leave_no_core();
            ::signal(SIGFPE, SIG_DFL);
            be_a_host_that_handles(row.handled);
            const clock::standing standing(moment);
            require(crash_handler::arm(folder.path("host"), row.who), "not armed");
            ::kill(::getpid(), row.raised);
        });
        EXPECT_EQ(child.wait(), row.outcome);
        EXPECT_EQ(std::filesystem::exists(folder.path(dump_name)), row.leaves_dump);
    }
}

TEST(crash_handler, says_when_the_host_leaves_it_nothing) {
    const temporary_folder folder;
    child_process child([&] {
        for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL}) be_a_host_that_handles(signal);
        ::signal(SIGABRT, SIG_IGN);
        require(!crash_handler::arm(folder.path("host"), armed_by::library), "armed");
        require(crash_handler::arm(folder.path("host"), armed_by::program), "not armed");
    });
    EXPECT_EQ(child.wait(), 0);
}

TEST(crash_handler, refuses_a_path_that_is_too_long) {
    child_process child([] {
        const clock::standing standing(moment);
        const std::size_t ending = std::strlen(".1233633906.dmp");
        const std::string longest(PATH_MAX - 1 - ending, 'x');
        require(crash_handler::arm(longest, armed_by::program), "the longest path is refused");
        require(!crash_handler::arm(longest + "x", armed_by::program), "a longer path is taken");
    });
    EXPECT_EQ(child.wait(), 0);
}

TEST(crash_handler, takes_the_name_of_the_last_arming) {
    const temporary_folder folder;
    const auto arm_again_and_crash = [&] {
        const clock::standing later(moment + std::chrono::seconds(1));
        for (const char* const name : {"second", "third"}) {
            require(crash_handler::arm(folder.path(name), armed_by::library), "not armed");
        }
        write_to_nowhere();
    };
    EXPECT_EQ(outcome_of(folder, armed_by::program, arm_again_and_crash), -SIGSEGV);
    EXPECT_FALSE(std::filesystem::exists(folder.path(dump_name)));
    EXPECT_THAT(folder.read("third.1233633907.dmp"), StartsWith("Crash dump\n"));
}

}  // namespace
