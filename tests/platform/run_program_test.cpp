#include "platform/run_program.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "platform/package_manager.h"
#include "support/child_process.h"
#include "support/program_script.h"

namespace {

using replay::platform::program_result;
using replay::platform::run_program;
using replay::platform::start_program;
using test_support::program_script;

TEST(run_program, gives_exit_code_and_output) {
    const auto expect = [](std::vector<std::string> arguments, int code,
                           const std::string& output) {
        SCOPED_TRACE(arguments.back());
        const std::optional<program_result> result = run_program(arguments);
        ASSERT_TRUE(result);
        EXPECT_EQ(result->exit_code, code);
        EXPECT_EQ(result->output, output);
    };
    expect({"/bin/echo", "two words", "$HOME;ls"}, 0, "two words $HOME;ls\n");
    expect({"/bin/sh", "-c", "cat; echo x >&2; exit 7"}, 7,
           "");  // nothing to read, no errors shown
    expect({"/bin/sh", "-c", "kill -TERM $$"}, 128 + 15, "");
    // As much output as is kept, and more.
    expect({"/bin/sh", "-c", "printf y; head -c 65535 /dev/zero | tr '\\0' x"}, 0,
           "y" + std::string(65535, 'x'));
    expect({"/bin/sh", "-c", "head -c 65537 /dev/zero | tr '\\0' x"}, 0, std::string(65536, 'x'));
    EXPECT_FALSE(run_program({"/bin/there is no such program"}));
}

TEST(start_program, leaves_the_program_to_itself_with_nothing_of_ours) {
    const test_support::pipe_ends ours;  // descriptors that a program would inherit
    const program_script script("tell", "cat; ls /proc/self/fd | wc -l; ps -o sid= -p $$");
    ASSERT_TRUE(start_program({script.folder() + "/tell", "two words", "$HOME"}, "/usr"));
    const std::string told = script.told();
    // The fourth descriptor is that of the listing itself.
    const std::string wanted = script.folder() + "/tell\n/usr\n[two words]\n[$HOME]\n4\n";
    EXPECT_EQ(told.substr(0, wanted.size()), wanted);
    EXPECT_NE(std::atoi(told.c_str() + std::min(wanted.size(), told.size())), ::getsid(0));
}

TEST(start_program, tells_what_cannot_be_started) {
    const program_script script("tell");
    EXPECT_FALSE(start_program({script.folder() + "/missing"}, "/usr"));
    EXPECT_FALSE(start_program({script.folder() + "/tell"}, script.folder() + "/missing"));
    EXPECT_FALSE(start_program({script.folder()}, "/usr"));
    EXPECT_FALSE(start_program({script.folder() + "/tell", std::string(1 << 22, 'x')}, "/usr"));
}

TEST(package_manager, knows_no_package_by_a_name_that_is_none) {
    const auto& packages = replay::platform::system_packages();
    for (const char* const name : {"", "x", "*", "dpk*", "--help", "-y", "dpkg ", "Dpkg",
                                   "dpkg:amd64", "../dpkg", "brindlemoss-that-nobody-made"}) {
        SCOPED_TRACE(name);
        EXPECT_FALSE(packages.is_installed(name));
        EXPECT_FALSE(packages.remove(name));
    }
}

}  // namespace
