#pragma once

#include <brindlemoss/component.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "support/program.h"

namespace test_support {

// What this process keeps lies here and nowhere else: the library looks for its home once.
class home_of_process {
public:
    home_of_process() { ::setenv("BRINDLEMOSS_HOME", folder_.path("home").c_str(), 1); }

    std::string path(const std::string& name = {}) const {
        return folder_.path(name.empty() ? "home" : "home/" + name);
    }

    // What the log has heard since the test began.
    std::string log() const { return folder_.read("home/Logs/Core.log.txt"); }

    void empty() const {
        for (const char* each : {".", "Logs"}) {
            std::error_code missing;
            for (const auto& entry : std::filesystem::directory_iterator(path(each), missing)) {
                if (entry.is_regular_file()) std::filesystem::remove(entry);
            }
        }
    }

private:
    const temporary_folder folder_;
};

inline const home_of_process process_home;

// Begins with a library that is not loaded and has kept nothing, and ends its threads.
class component_test : public testing::Test {
protected:
    component_test() {
        brindlemoss::component::unload();
        process_home.empty();
    }
    ~component_test() override {
        brindlemoss::component::create<brindlemoss::component::ICommunication>()->Shutdown();
        brindlemoss::component::unload();
    }

    // Writes a value as the program does: the arguments of `registry set`.
    static void keep(const std::vector<std::string>& value) {
        std::vector<std::string> arguments = {"--home", process_home.path(), "registry", "set"};
        arguments.insert(arguments.end(), value.begin(), value.end());
        const program_result result = run_program(arguments);
        ASSERT_EQ(result.code, 0) << result.err;
    }

    // The account server, which also has the wording of the footer.
    static void use_account_server(std::uint16_t port) {
        keep({"--machine", "Account", "Host", "127.0.0.1"});
        for (const char* name : {"Port 1", "Port 2"}) {
            keep({"--machine", "--type", "integer", "Account", name, std::to_string(port)});
        }
    }

    // The servers of the community, looked for once an hour.
    static void use_community(const std::string& hosts) {
        keep({"--machine", "Community", "Server", hosts});
        keep({"--machine", "--type", "integer", "Community", "Refresh", "3600"});
    }
};

// One byte a unit.
inline std::u16string wide(std::string_view bytes) {
    std::u16string units;
    for (const char byte : bytes) units += static_cast<unsigned char>(byte);
    return units;
}

}  // namespace test_support
