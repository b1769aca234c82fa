#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include "support/program.h"

namespace {

using namespace test_support;
using std::string;
using testing::HasSubstr;

string file_of_the_tree(const string& name) {
    std::ifstream file(string(BRINDLEMOSS_EXAMPLES "/../") + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// The section of a page below a heading, up to the next one of its rank.
string section(const string& page, const string& heading) {
    const std::size_t begin = page.find("\n" + heading + "\n");
    if (begin == string::npos) return {};
    const string rank = heading.substr(0, heading.find(' ') + 1);
    return page.substr(begin, page.find("\n" + rank, begin + 1) - begin);
}

TEST(component_description, the_interface_description_is_that_of_the_table) {
    const program_result printed = run_program({"call", "--list", "--idl"});
    EXPECT_EQ(printed.code, 0);
    EXPECT_EQ(printed.out, file_of_the_tree("share/brindlemoss.idl"));
}

// The page lists of each class what "call --list" shows, in the same words and no others.
TEST(component_description, the_documentation_lists_all_classes_and_methods) {
    const string page = file_of_the_tree("docs/component.md");
    std::istringstream list(run_program({"call", "--list"}).out);
    string of_class;
    int methods = 0;
    for (string line; std::getline(list, line);) {
        SCOPED_TRACE(line);
        if (line.starts_with("    ")) {
            EXPECT_THAT(of_class, HasSubstr("\n| `" + line.substr(4) + "` | "));
            ++methods;
        } else if (line.starts_with("  ")) {
            const std::size_t gap = line.find("  ", 2);
            EXPECT_THAT(of_class, HasSubstr("`" + line.substr(2, gap - 2) + "`"));
            EXPECT_THAT(of_class, HasSubstr("`" + line.substr(gap + 2) + "`"));
        } else {
            of_class = section(page, "### " + line.substr(0, line.find(' ')));
            EXPECT_THAT(of_class, HasSubstr("`" + line.substr(line.find('{'), 38) + "`"));
            EXPECT_EQ(line.find("safe for scripting") != string::npos,
                      of_class.find("Safe for scripting.") != string::npos);
        }
    }
    EXPECT_EQ(methods, 84);
    int rows = 0;
    for (std::size_t at = 0; (at = page.find("\n| `", at)) != string::npos; ++at) ++rows;
    EXPECT_EQ(rows, methods);
}

}  // namespace
