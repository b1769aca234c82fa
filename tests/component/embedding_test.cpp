#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "support/temporary_folder.h"

namespace {

using std::string;
using test_support::temporary_folder;

const string sources = BRINDLEMOSS_EXAMPLES "/embedding/";
const string compile_and_link = string(" -I") + BRINDLEMOSS_INCLUDE + " -L" + BRINDLEMOSS_LIBRARY +
                                " -lbrindlemoss -Wall -Wextra -Wpedantic -Werror -o ";

// A mail of each kind of rating, and their ratings and digests.
const char* const mails[] = {"gtube", "plain-text", "forged-client", "spam-pitch"};

class embedding : public testing::Test {
protected:
    // Runs a command of the shell in the folder and gives what it printed.
    string output_of(const string& command) const {
        const string home = "BRINDLEMOSS_HOME=" + folder.path("home." + std::to_string(homes_++));
        const string whole = "cd " + folder.path() + " && " + home +
                             " LD_LIBRARY_PATH=" BRINDLEMOSS_LIBRARY " " + command +
                             " >out 2>err </dev/null";
        EXPECT_EQ(std::system(whole.c_str()), 0) << whole << '\n' << folder.read("err");
        EXPECT_EQ(folder.read("err"), "");
        return folder.read("out");
    }

    temporary_folder folder;

private:
    mutable int homes_ = 0;
};

string all_mails() {
    string arguments;
    for (const char* const mail : mails) {
        arguments += string(" " BRINDLEMOSS_EXAMPLES "/") + mail + ".eml";
    }
    return arguments;
}

TEST_F(embedding, the_examples_rate_as_the_program_does) {
    string wanted;
    for (const char* const name : mails) {
        const string mail = string(BRINDLEMOSS_EXAMPLES "/") + name + ".eml";
        const string rating = output_of(BRINDLEMOSS_PROGRAM " score --rescan " + mail).substr(0, 3);
        const string digest = output_of("md5sum " + mail).substr(0, 32);
        wanted += rating + "  " + digest + "  " + mail + "\n";
    }
    ASSERT_THAT(wanted, testing::StartsWith("100  "));

    output_of(BRINDLEMOSS_C_COMPILER " -std=c11 " + sources + "rate.c" + compile_and_link + "c");
    EXPECT_EQ(output_of("./c" + all_mails()), wanted);
    output_of(BRINDLEMOSS_CXX_COMPILER " -std=c++20 " + sources + "rate.cpp" + compile_and_link +
              "cpp");
    EXPECT_EQ(output_of("./cpp" + all_mails()), wanted);
    EXPECT_EQ(output_of("python3 " + sources + "rate.py" + all_mails()), wanted);
}

}  // namespace
