#include "platform/host_process.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

namespace host_process = replay::platform::host_process;

TEST(host_process, is_the_program_that_runs) {
    const std::string path = host_process::path();
    ASSERT_TRUE(path.starts_with("/"));
    EXPECT_TRUE(std::filesystem::equivalent(path, "/proc/self/exe"));
}

TEST(host_process, is_the_resident_agent_by_its_file_name_alone) {
    const struct {
        const char* path;
        const char* file_name;
        bool is_agent;
    } rows[] = {
        {"/opt/brindlemoss/BMAGENT.EXE", "BMAGENT.EXE", true},
        {"/opt/brindlemoss/BmAgent.exe", "BmAgent.exe", true},
        {"/opt/brindlemoss/bmagent", "bmagent", true},
        {"/opt/brindlemoss/xbmagent", "xbmagent", false},
        {"/opt/brindlemoss/bmagent2", "bmagent2", false},
        {"/opt/bmagent/thunder", "thunder", false},
        {"/opt/bmagent/", "", false},
        {"", "", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path);
        EXPECT_EQ(host_process::file_name(row.path), row.file_name);
        EXPECT_EQ(host_process::is_resident_agent(row.path), row.is_agent);
    }
}

}  // namespace
