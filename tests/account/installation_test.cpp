#include "account/installation.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/registry.h"
#include "platform/paths.h"
#include "support/temporary_folder.h"

namespace {

namespace registry2 = replay::registry2;
using brindlemoss::account::installation;
using registry2::tree_key;

class fake_packages : public replay::platform::package_manager {
public:
    bool is_installed(std::string_view package) const override {
        asked.emplace_back(package);
        return installed.contains(std::string(package));
    }
    bool remove(std::string_view package) const override {
        return installed.erase(std::string(package)) == 1;
    }

    mutable std::set<std::string> installed;
    mutable std::vector<std::string> asked;
};

class installation_test : public testing::Test {
protected:
    ~installation_test() override {
        installation::destroy();
        registry2::close_all();
    }

    const test_support::temporary_folder folder_;
    const replay::platform::paths::scoped_home home_{folder_.path()};
    fake_packages packages_;
    const installation installation_{packages_};
};

const registry2::key& installation_key() {
    return registry2::at(tree_key::machine_installation);
}

TEST_F(installation_test, has_defaults_and_does_not_write_them_back) {
    for (const char16_t* const name : {u"Partner", u"Version", u"Directory", u"Product Code"}) {
        installation_key().delete_value(name);
    }
    EXPECT_EQ(installation_.partner(), 0u);
    EXPECT_EQ(installation_.version(), "");
    EXPECT_EQ(installation_.directory(), "");
    EXPECT_EQ(installation_.features(), 0u);
    EXPECT_TRUE(installation_key().value_names().empty());
}

TEST_F(installation_test, throws_on_a_value_of_the_wrong_type_and_without_its_key) {
    installation_key().set_integer(u"Product Code", 1);
    EXPECT_THROW(installation_.features(), registry2::type_mismatch);
    EXPECT_THROW(installation_.remove(), registry2::type_mismatch);
    registry2::at(tree_key::machine_root).delete_key(u"Installation");
    registry2::close_all();
    EXPECT_THROW(installation_.partner(), registry2::key_error);
    EXPECT_THROW(installation_.remove(), registry2::key_error);
}

TEST_F(installation_test, makes_a_mask_of_the_features_of_the_product) {
    const std::string proxy = "brindlemoss-proxy";
    const std::string express = "brindlemoss-outlook-express";
    const std::string outlook = "brindlemoss-outlook";
    installation_key().set_text(u"Product Code", u"moss");
    const std::pair<std::set<std::string>, std::uint32_t> rows[] = {
        {{"moss"}, 0},
        {{"moss", proxy}, 1},
        {{"moss", express}, 2},
        {{"moss", outlook}, 4},
        {{"moss", proxy, express, outlook}, 7},
        {{proxy}, 0},  // another product's
    };
    for (const auto& [installed, features] : rows) {
        packages_.installed = installed;
        EXPECT_EQ(installation_.features(), features) << testing::PrintToString(installed);
    }
    installation_key().set_text(u"Product Code", u"");
    EXPECT_EQ(installation_.features(), 0u);
    EXPECT_EQ(packages_.asked.back(), "");  // it asks even then
}

TEST_F(installation_test, removes_the_product_and_nothing_else) {
    installation_key().set_text(u"Product Code", u"moss");
    packages_.installed = {"moss", "brindlemoss-proxy"};
    EXPECT_TRUE(installation_.remove());
    EXPECT_EQ(packages_.installed, std::set<std::string>{"brindlemoss-proxy"});
    EXPECT_FALSE(installation_.remove());
}

TEST_F(installation_test, is_made_again_after_it_was_destroyed) {
    EXPECT_EQ(&installation::instance(), &installation::instance());
    installation::destroy();
    installation::destroy();
    installation_key().set_integer(u"Partner", 0xFFFFFFFF);
    EXPECT_EQ(installation::instance().partner(), 0xFFFFFFFFu);
}

}  // namespace
