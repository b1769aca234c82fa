#include "account/configuration_program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/registry.h"
#include "platform/paths.h"
#include "support/program_script.h"
#include "support/temporary_folder.h"

namespace {

namespace configuration_program = brindlemoss::account::configuration_program;
namespace registry = replay::registry2;
using test_support::program_script;

TEST(configuration_program, splits_a_command_at_blanks_outside_quotes) {
    using namespace std::string_view_literals;
    const std::pair<std::string_view, std::vector<std::string>> rows[] = {
        {"", {}},
        {"   ", {}},
        {"  a  b c ", {"a", "b", "c"}},
        {"\"a b\" c", {"a b", "c"}},
        {"a\" \"b", {"a b"}},
        {"\"\" x", {"", "x"}},
        {"\"a b", {"a b"}},
        {"$(x) `y`;z|w>v 'a b' \\\" c", {"$(x)", "`y`;z|w>v", "'a", "b'", "\\ c"}},
        {"a b\0c d"sv, {"a", "b"}},
    };
    for (const auto& [command, arguments] : rows) {
        EXPECT_EQ(configuration_program::arguments_of(command), arguments) << command;
    }
}

TEST(configuration_program, knows_its_own_process) {
    for (const char* const path : {"/opt/MOSSCFG.EXE", "/opt/MossCfg.exe", "/opt/mosscfg.exe/other",
                                   "/opt/mosscfg", "MOSSCFG"}) {
        EXPECT_TRUE(configuration_program::is_host(path)) << path;
    }
    for (const char* const path : {"", "/opt/mosscfg/other", "/opt/mosscfg2", "/opt/brindlemoss"}) {
        EXPECT_FALSE(configuration_program::is_host(path)) << path;
    }
}

class launch_test : public testing::Test {
protected:
    ~launch_test() override { registry::close_all(); }

    static void install_in(std::string_view folder) {
        registry::at(registry::tree_key::machine_installation).set_bytes_text(u"Directory", folder);
    }

    const test_support::temporary_folder folder_;
    const replay::platform::paths::scoped_home home_{folder_.path()};
};

TEST_F(launch_test, starts_the_file_of_either_name_in_its_folder_and_leaves_no_child_behind) {
    const program_script script("mosscfg");
    for (const std::string name : {"mosscfg", "MOSSCFG.EXE"}) {  // the log tells the latter
        SCOPED_TRACE(name);
        script.add(name);
        install_in(script.folder() + (name == "mosscfg" ? "" : "/"));
        configuration_program::launch("-a \"b c\" ; touch evil $(touch evil) *");
        EXPECT_EQ(script.told(),
                  script.folder() + "/" + name + "\n" + script.folder() +
                      "\n[-a]\n[b c]\n[;]\n[touch]\n[evil]\n[$(touch]\n[evil)]\n[*]\n");
        EXPECT_FALSE(std::filesystem::exists(script.folder() + "/evil"));
        EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
        EXPECT_EQ(errno, ECHILD);
    }
}

TEST_F(launch_test, does_nothing_where_there_is_nothing_to_start) {
    const test_support::temporary_folder empty;
    for (const std::string& folder :
         {std::string(), std::string("."), empty.path(), empty.path("missing")}) {
        install_in(folder);
        EXPECT_NO_THROW(configuration_program::launch(std::string(1 << 22, 'x'))) << folder;
        EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
    }
    EXPECT_TRUE(std::filesystem::is_empty(empty.path()));
}

}  // namespace
