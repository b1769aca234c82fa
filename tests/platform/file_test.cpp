#include "platform/file.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>

#include "support/temporary_folder.h"

namespace {

using namespace replay::platform;

int error_of_reading(const std::string& path) {
    try {
        read_file(path);
        return 0;
    } catch (const file_error& error) {
        return error.code().value();
    }
}

TEST(file, is_read_whole_up_to_its_bound_and_else_not_at_all) {
    const test_support::temporary_folder folder;
    const std::string path = folder.file("file", "beginning");
    EXPECT_EQ(read_file(path), "beginning");
    std::filesystem::resize_file(path, most_file_bytes);
    EXPECT_EQ(read_file(path).size(), most_file_bytes);
    std::filesystem::resize_file(path, most_file_bytes + 1);
    EXPECT_EQ(error_of_reading(path), EFBIG);
}

TEST(file, is_nothing_that_may_have_no_end) {
    EXPECT_EQ(error_of_reading("/dev/zero"), ENODEV);
    EXPECT_EQ(error_of_reading("/"), EISDIR);
    EXPECT_EQ(error_of_reading("/nowhere/at/all"), ENOENT);
}

}  // namespace
