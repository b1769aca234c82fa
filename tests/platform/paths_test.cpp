#include "platform/paths.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <map>
#include <string>

#include "support/temporary_folder.h"

namespace replay::platform {
namespace {

using std::string;
using test_support::temporary_folder;

std::map<string, string> variables;

const char* variable(const char* name) {
    const auto found = variables.find(name);
    return found == variables.end() ? nullptr : found->second.c_str();
}

TEST(paths, come_from_the_environment) {
    const string data = "/u/.local/share/Brindlemoss";
    const string state = "/u/.local/state/Brindlemoss";
    const struct {
        const char* what;
        std::map<string, string> environment;  // beside HOME
        string home;
        string data;
        string state;
    } rows[] = {
        {"a home folder alone", {}, "", data, state},
        {"folders of one's own",
         {{"XDG_DATA_HOME", "/d/"}, {"XDG_STATE_HOME", "/s"}},
         "",
         "/d/Brindlemoss",
         "/s/Brindlemoss"},
        {"no absolute folders", {{"XDG_DATA_HOME", "d"}, {"XDG_STATE_HOME", ""}}, "", data, state},
        {"a home", {{"BRINDLEMOSS_HOME", "/b//c/../"}}, "/b", data, state},
        {"an empty home is none", {{"BRINDLEMOSS_HOME", ""}}, "", data, state},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        variables = row.environment;
        variables["HOME"] = "/u";
        const paths::places found = paths::places_of(variable);
        EXPECT_EQ(found.home, row.home);
        EXPECT_EQ(found.data, row.data);
        EXPECT_EQ(found.state, row.state);
    }
}

TEST(paths, are_absolute_whatever_the_environment_lacks) {
    variables = {};
    EXPECT_EQ(paths::places_of(variable).data.front(), '/');
    variables = {{"BRINDLEMOSS_HOME", "here"}};
    EXPECT_EQ(paths::places_of(variable).home, std::filesystem::current_path() / "here");
}

TEST(paths, put_everything_below_a_home_and_make_it_for_the_user_alone) {
    const temporary_folder folder;
    const paths::scoped_home home(folder.path("a/b/"));
    EXPECT_EQ(paths::machine(), folder.path("a/b"));
    EXPECT_FALSE(std::filesystem::exists(folder.path("a")));
    EXPECT_EQ(paths::user_data(), folder.path("a/b"));
    EXPECT_EQ(paths::user_state("Logs"), folder.path("a/b/Logs"));
    for (const char* made : {"a", "a/b", "a/b/Logs"}) {
        SCOPED_TRACE(made);
        struct stat status {};
        ASSERT_EQ(::stat(folder.path(made).c_str(), &status), 0);
        EXPECT_TRUE(S_ISDIR(status.st_mode));
        EXPECT_EQ(status.st_mode & 0777, 0700u);
    }
}

TEST(paths, name_the_folder_that_cannot_be_made) {
    const temporary_folder folder;
    folder.file("file", "x");
    const paths::scoped_home home(folder.path("file/home"));
    try {
        paths::user_state("Logs");
        FAIL() << "nothing was thrown";
    } catch (const paths::path_error& error) {
        EXPECT_EQ(error.what(),
                  "cannot make the folder " + folder.path("file") + ": Not a directory");
    }
}

TEST(paths, find_the_products_data_beside_the_code) {
    const temporary_folder folder;
    const string installed = folder.path("opt/share/brindlemoss");
    const string source = folder.path("source/share");
    for (const string& made : {installed, source}) {
        std::filesystem::create_directories(made);
    }
    std::filesystem::create_directories(folder.path("links/bin"));
    std::filesystem::create_symlink(folder.file("opt/bin/program"),
                                    folder.path("links/bin/program"));
    const struct {
        string file;
        string found;
    } rows[] = {
        {"opt/bin/program", installed},
        {"links/bin/program", installed},
        {"opt/lib/library.so", installed},
        {"opt/lib64/library.so", installed},
        {"opt/lib/x86_64-linux-gnu/library.so", installed},
        {"opt/lib/a/b/library.so", source},
        {"opt/program", source},
        {"other/bin/program", ""},  // installed, but without its data
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.file);
        if (row.file != "links/bin/program") folder.file(row.file);
        EXPECT_EQ(paths::product_data_of(folder.path(row.file), source), row.found);
    }
    EXPECT_EQ(paths::product_data_of(folder.path("opt/program"), folder.path("missing")), "");
    EXPECT_EQ(paths::product_data_of(folder.path("opt/bin/missing"), source), "");
    EXPECT_EQ(paths::product_data_of("", source), "");
}

}  // namespace
}  // namespace replay::platform
