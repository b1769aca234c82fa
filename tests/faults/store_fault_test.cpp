#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "analysis/filter_engine.h"
#include "analysis/stored_services.h"
#include "foundation/log.h"
#include "foundation/registry.h"
#include "platform/paths.h"
#include "support/child_process.h"
#include "support/temporary_folder.h"

namespace {

using namespace brindlemoss::analysis;
namespace paths = replay::platform::paths;
namespace registry = replay::registry2;
using registry::tree_key;
using std::string;
using test_support::child_process;
using test_support::require;

// The engine on a home that the tests break while it is in use.
class store_fault_test : public testing::Test {
protected:
    store_fault_test() {
        registry::set_message_sink([this](std::string_view line) { told_.emplace_back(line); });
    }
    ~store_fault_test() override {
        registry::close_all();
        registry::set_message_sink({});
    }

    decision score() const {
        part message("From: Ann <ann@example.org>\n\nSee you at noon.\n");
        return engine_.score(message, occasion::first).settled_by;
    }
    static std::uint32_t processed() {
        return registry::at(tree_key::user_statistics_filter)
            .get_integer(u"Processed", 0, registry::write_back::no);
    }

    const test_support::temporary_folder folder_;
    const paths::scoped_home home_{folder_.path("home")};
    std::vector<string> told_;
    replay::log log_;
    stored_services services_{log_};
    const filter_engine engine_{services_};
};

TEST_F(store_fault_test, begins_anew_where_its_home_is_removed_while_it_is_open) {
    EXPECT_EQ(score(), decision::analysed);
    std::filesystem::remove_all(folder_.path("home"));
    EXPECT_EQ(score(), decision::analysed);
    EXPECT_EQ(processed(), 1u);
}

TEST_F(store_fault_test, goes_on_with_its_home_when_that_was_away) {
    EXPECT_EQ(score(), decision::analysed);
    std::filesystem::rename(folder_.path("home"), folder_.path("away"));
    folder_.file("home", "in the way");
    EXPECT_EQ(score(), decision::error);
    EXPECT_EQ(score(), decision::error);
    EXPECT_EQ(told_.size(), 1u) << "a fault is told once";
    std::filesystem::remove(folder_.path("home"));
    std::filesystem::rename(folder_.path("away"), folder_.path("home"));
    EXPECT_EQ(score(), decision::analysed);
    EXPECT_EQ(processed(), 2u);
}

// A message that cannot be counted is not rated; it passes.
TEST_F(store_fault_test, lets_mail_pass_where_the_store_may_only_be_read) {
    EXPECT_EQ(score(), decision::analysed);
    registry::close_all();
    ::chmod(folder_.path().c_str(), 0755);
    ::chmod(folder_.path("home/user.store").c_str(), 0444);
    ::chmod(folder_.path("home").c_str(), 0555);
    child_process child([&] {
        test_support::become_nobody();
        require(score() == decision::error, "no rating");
        require(told_.size() == 1 && told_[0].ends_with("user.store can only be read"), "told");
    });
    EXPECT_EQ(child.wait(), 0);
    ::chmod(folder_.path("home").c_str(), 0700);
    ::chmod(folder_.path("home/user.store").c_str(), 0600);
    EXPECT_EQ(score(), decision::analysed);
    EXPECT_EQ(processed(), 2u);
}

}  // namespace
