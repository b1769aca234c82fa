#include "cli/inputs.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "support/printable.h"
#include "support/program.h"

namespace {

using namespace brindlemoss::cli;
using std::string;
using test_support::escaped;
using test_support::temporary_folder;
using texts = std::vector<string>;
namespace fs = std::filesystem;

// What a folder gives, less its own path.
texts found_below(const temporary_folder& folder) {
    texts names;
    for (const input& each : find_inputs({folder.path()})) {
        EXPECT_EQ(each.error, "");
        EXPECT_TRUE(each.path.starts_with(folder.path() + "/"));
        names.push_back(each.path.substr(folder.path().size() + 1));
    }
    return names;
}

TEST(inputs, a_folder_gives_its_files_sorted_and_then_those_of_its_subfolders) {
    const temporary_folder folder;
    for (const char* name : {"b.eml", "a", "c/2", "c/1", "c/d/3", "B", "e/4", ".hidden"}) {
        folder.file(name);
    }
    fs::create_directory(folder.path("empty"));
    fs::create_symlink("..", folder.path("c/loop"));
    fs::create_symlink("a", folder.path("link_to_file"));
    ASSERT_EQ(::mkfifo(folder.path("pipe").c_str(), 0600), 0);
    EXPECT_EQ(found_below(folder),
              (texts{"B", "a", "b.eml", "link_to_file", "c/1", "c/2", "c/d/3", "e/4"}));
}

TEST(inputs, a_maildir_gives_delivered_mail) {
    const temporary_folder folder;
    for (const char* name :
         {"cur/2:2,S", "cur/1:2,", "new/3", "tmp/4", "index", "sub/5", "sub/tmp/6"}) {
        folder.file(name);
    }
    EXPECT_EQ(found_below(folder), (texts{"cur/1:2,", "cur/2:2,S", "new/3", "sub/5", "sub/tmp/6"}));
}

TEST(inputs, arguments_keep_their_order_and_are_not_looked_into) {
    const temporary_folder folder;
    const string file = folder.file("in/b");
    const texts arguments = {"missing", "-", folder.path("in"), file, file, "/dev/zero"};
    texts paths;
    for (const input& each : find_inputs(arguments)) paths.push_back(each.path + each.error);
    EXPECT_EQ(paths, (texts{"missing", "-", file, file, file, "/dev/zero"}));
}

TEST(inputs, mailbox) {
    const struct {
        const char* name;
        const char* text;
        texts messages;
    } rows[] = {
        {"nothing", "", {}},
        {"one", "From a\nA: b\n\nx\n", {"A: b\n\nx\n"}},
        {"two", "From a\nA: b\n\nx\n\nFrom c\nC: d\n\ny\n\n", {"A: b\n\nx\n", "C: d\n\ny\n"}},
        {"something before the first", "x\n\nFrom a\ny", {"x\n", "y"}},
        {"within a text", "From a\nx\nFrom here on\n", {"x\nFrom here on\n"}},
        {"not quite", "From a\n\nfrom b\n\nFrom\n\n From c\n", {"\nfrom b\n\nFrom\n\n From c\n"}},
        {"one empty line belongs to the separator", "From a\nx\n\n\nFrom b\ny", {"x\n\n", "y"}},
    };
    const temporary_folder folder;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const string path = folder.file("mbox", row.text);
        texts expected;
        for (std::size_t i = 0; i < row.messages.size(); ++i) {
            expected.push_back(path + "#" + std::to_string(i + 1) + escaped(row.messages[i]));
        }
        texts messages;
        const auto take = [&](const raw_message& message) {
            messages.push_back(string(message.name) + escaped(message.text));
        };
        EXPECT_EQ(for_each_message({path, {}}, file_format::mailbox, take), "");
        EXPECT_EQ(messages, expected);

        messages.clear();
        EXPECT_EQ(for_each_message({path, {}}, file_format::one_message, take), "");
        EXPECT_EQ(messages, texts{path + escaped(row.text)});
    }
}

TEST(inputs, what_cannot_be_read) {
    const temporary_folder folder;
    fs::create_symlink("nowhere", folder.path("dangling"));
    fs::create_symlink("loop", folder.path("loop"));
    const std::pair<input, const char*> rows[] = {
        {{folder.path("dangling"), {}}, "No such file or directory"},
        {{folder.path("loop"), {}}, "Too many levels of symbolic links"},
        {{folder.path(), {}}, "Is a directory"},
        {{"/dev/zero", {}}, "No such device"},
        {{folder.file("good"), "known before"}, "known before"},
    };
    for (const auto& [source, error] : rows) {
        SCOPED_TRACE(source.path);
        EXPECT_EQ(for_each_message(source, file_format::one_message,
                                   [](const raw_message&) { FAIL() << "a message"; }),
                  error);
    }
}

}  // namespace
