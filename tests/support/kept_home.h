#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/program.h"

namespace test_support {

// The program, call after call, on one home.
class kept_home {
public:
    program_result run(std::vector<std::string> arguments, const std::string& input = {}) const {
        arguments.insert(arguments.begin(), {"--home", folder_.path("home")});
        return run_program(arguments, input);
    }

    // Runs without complaint and gives what was printed.
    std::string done(const std::vector<std::string>& arguments,
                     const std::string& input = {}) const {
        const program_result result = run(arguments, input);
        EXPECT_EQ(result.code, 0) << testing::PrintToString(arguments);
        EXPECT_EQ(result.err, "") << testing::PrintToString(arguments);
        return result.out;
    }

    // Is refused in one line, which is given; nothing is printed.
    std::string refused(const std::vector<std::string>& arguments,
                        const std::string& input = {}) const {
        const program_result result = run(arguments, input);
        EXPECT_EQ(result.code, 2) << testing::PrintToString(arguments);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
        return result.err;
    }

    std::string path(const std::string& name) const { return folder_.path("home/" + name); }
    const temporary_folder& folder() const { return folder_; }

private:
    temporary_folder folder_;
};

}  // namespace test_support
