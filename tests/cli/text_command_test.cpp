#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/kept_home.h"

namespace {

using namespace test_support;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

// A home whose installation has two languages.
class text_command : public testing::Test {
protected:
    text_command() {
        home_.folder().file("product/Languages/EN0.ini",
                            "[system]\n3=English\n4=English\n[Group]\nitem=text\nonly=english\n"
                            "odd=a\x1B[2Jb\n[command line]\nscore=Rates\n");
        home_.folder().file("product/Languages/DA0.ini",
                            "[system]\n3=Dansk \xC3\xA6\n4=Danish\n[group]\nitem=tekst\n"
                            "[command line]\nscore=Bed\xC3\xB8mmer\nheading: Options=Tilvalg\n");
        home_.done({"registry", "set", "--machine", "Installation", "Directory",
                    home_.folder().path("product")});
    }

    kept_home home_;
};

TEST_F(text_command, prints_texts_in_the_users_language_and_else_in_english) {
    EXPECT_EQ(home_.done({"text", "group", "ITEM"}), "text\n");
    home_.done({"languages", "--set", "da"});
    EXPECT_EQ(home_.done({"text", "GROUP", "item"}), "tekst\n");
    EXPECT_EQ(home_.done({"text", "group", "only"}), "english\n");
    EXPECT_EQ(home_.done({"text", "--json", "Group", "Item"}),
              R"({"group":"Group","item":"Item","text":"tekst"})"
              "\n");
    EXPECT_EQ(home_.done({"text", "group", "odd"}), "a\xEF\xBF\xBD[2Jb\n");
    EXPECT_THAT(home_.refused({"text", "group", "missing"}),
                AllOf(HasSubstr("'missing'"), HasSubstr("'group'")));
    EXPECT_THAT(home_.refused({"text", "nowhere", "item"}), HasSubstr("'nowhere'"));
}

TEST_F(text_command, lists_the_languages_and_keeps_a_choice) {
    EXPECT_EQ(home_.done({"languages"}),
              "  DA  Dansk \xC3\xA6       Danish\n* EN  English       English\n");
    EXPECT_EQ(home_.done({"languages", "--set", "da"}),
              "* DA  Dansk \xC3\xA6       Danish\n  EN  English       English\n");
    EXPECT_EQ(home_.done({"registry", "get", ".", "Language"}), "DA\n");
    EXPECT_EQ(home_.done({"languages", "--json"}),
              "{\"iso\":\"DA\",\"name\":\"Dansk \xC3\xA6\",\"english_name\":\"Danish\","
              "\"chosen\":true}\n"
              "{\"iso\":\"EN\",\"name\":\"English\",\"english_name\":\"English\","
              "\"chosen\":false}\n");
    EXPECT_THAT(home_.refused({"languages", "--set", "../DA"}), HasSubstr("'../DA'"));
    EXPECT_EQ(home_.done({"registry", "get", ".", "Language"}), "DA\n");
}

TEST_F(text_command, help_speaks_the_users_language) {
    EXPECT_THAT(home_.done({"--help"}), HasSubstr("Options:"));
    home_.done({"languages", "--set", "DA"});
    EXPECT_THAT(home_.done({"--help"}), AllOf(HasSubstr(" Bed\xC3\xB8mmer\n"),
                                              HasSubstr("Tilvalg:"), Not(HasSubstr("Options:"))));
    EXPECT_THAT(home_.done({"score", "--help"}), testing::StartsWith("Bed\xC3\xB8mmer\n"));
}

TEST(text_command_alone, has_the_products_own_texts) {
    const kept_home home;
    EXPECT_EQ(home.done({"text", "system", "3"}), "English\n");
    EXPECT_THAT(home.done({"languages"}),
                AllOf(HasSubstr("* EN  English"), HasSubstr("  FR  Fran\xC3\xA7"
                                                            "ais")));
    home.done({"languages", "--set", "SV"});
    EXPECT_EQ(home.done({"text", "mail program", "block"}), "Blockera\n");
    EXPECT_THAT(home.done({"parse", "--help"}), HasSubstr("Flaggor:"));
}

TEST(text_command_alone, help_keeps_nothing) {
    const kept_home home;
    home.done({"--help"});
    EXPECT_FALSE(std::filesystem::exists(home.path("user.store")));
    EXPECT_FALSE(std::filesystem::exists(home.path("machine.store")));
}

TEST(text_command_alone, an_installation_without_languages_says_so) {
    const kept_home home;
    home.done({"registry", "set", "--machine", "Installation", "Directory", "/nonexistent"});
    EXPECT_THAT(home.refused({"languages"}), HasSubstr("no languages are installed"));
    home.refused({"text", "system", "3"});
    EXPECT_THAT(home.done({"--help"}), HasSubstr("Options:"));
}

}  // namespace
