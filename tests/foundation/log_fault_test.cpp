#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>

#include "foundation/log.h"
#include "platform/paths.h"
#include "support/temporary_folder.h"

namespace {

using replay::log;
using std::string;
using test_support::temporary_folder;

constexpr std::uint32_t plenty = 1'000'000;

class log_fault_test : public testing::Test {
protected:
    static void write(log::file& file, const string& text) { file.write(0, "", text); }
    string read(const string& name) const { return folder_.read("Logs/" + name); }

    const temporary_folder folder_;
    const replay::platform::paths::scoped_home home_{folder_.path()};
    const string base_ = replay::platform::paths::user_state("Logs") + "/core";
};

TEST_F(log_fault_test, the_next_line_takes_away_what_a_killed_writer_left_of_one) {
    const string whole = "one\r\ntwo\r\n";
    const struct {
        const char* what;
        string before;
        string kept;
    } rows[] = {
        {"whole lines", whole, whole},
        {"one byte", whole + "t", whole},
        {"all but the last byte", whole + "three\r", whole},
        {"as much as is looked at at a time", whole + string(4096, 't'), whole},
        {"more than that", whole + string(10'000, 't'), whole},
        {"no line", "somebody's own", "somebody's own"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        folder_.file("Logs/core.log.txt", row.before);
        log::file file(base_, plenty, 1);
        write(file, "next");
        EXPECT_EQ(read("core.log.txt"), row.kept + "next\r\n");
    }
}

TEST_F(log_fault_test, a_writer_looks_again_when_another_has_written) {
    log::file one(base_, plenty, 1);
    write(one, "one");
    folder_.file("Logs/core.log.txt", read("core.log.txt") + "torn");
    write(one, "two");
    EXPECT_EQ(read("core.log.txt"), "one\r\ntwo\r\n");
    log::file other(base_, plenty, 1);
    write(other, "other");
    folder_.file("Logs/core.log.txt", read("core.log.txt") + "torn");
    write(one, "three");
    EXPECT_EQ(read("core.log.txt"), "one\r\ntwo\r\nother\r\nthree\r\n");
}

TEST_F(log_fault_test, no_torn_line_goes_into_an_old_file) {
    folder_.file("Logs/core.log.txt", string(100, 'x') + "\r\ntorn");
    log::file file(base_, 100, 1);
    write(file, "next");
    EXPECT_EQ(read("core.1.log.txt"), string(100, 'x') + "\r\n");
    EXPECT_EQ(read("core.log.txt"), "next\r\n");
}

TEST_F(log_fault_test, a_copy_that_a_killed_writer_left_goes_with_the_next) {
    folder_.file("Logs/core.log.txt.part", string(500, 'p'));
    folder_.file("Logs/core.log.txt", string(100, 'x') + "\r\n");
    log::file file(base_, 100, 1);
    write(file, "next");
    EXPECT_EQ(read("core.1.log.txt"), string(100, 'x') + "\r\n");
    EXPECT_FALSE(std::filesystem::exists(base_ + ".log.txt.part"));
}

TEST_F(log_fault_test, goes_on_when_its_file_or_folder_is_gone) {
    log::file file(base_, plenty, 1);
    write(file, "one");
    std::filesystem::remove(base_ + ".log.txt");
    write(file, "anew");
    EXPECT_EQ(read("core.log.txt"), "anew\r\n");

    std::filesystem::remove_all(folder_.path("Logs"));
    write(file, "two");
    EXPECT_EQ(read("core.log.txt"), "two\r\n");
    EXPECT_EQ(std::filesystem::status(folder_.path("Logs")).permissions(),
              std::filesystem::perms::owner_all);

    std::filesystem::remove_all(folder_.path("Logs"));
    folder_.file("Logs", "in the way");
    write(file, "lost");
    std::filesystem::remove(folder_.path("Logs"));
    write(file, "three");
    EXPECT_EQ(read("core.log.txt"), "three\r\n");
}

}  // namespace
