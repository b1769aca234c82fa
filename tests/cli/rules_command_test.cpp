#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "support/kept_home.h"

namespace {

using std::string;
using test_support::kept_home;
using test_support::program_result;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

TEST(rules_command, moves_a_sender_from_one_list_to_the_other) {
    const kept_home home;
    EXPECT_EQ(home.done({"rules", "allow", "add", "--name", "Ann", "--comment", "c",
                         "Ann@Example.org", "example.net"}),
              "");
    EXPECT_EQ(home.done({"rules", "allow", "list"}),
              "address\tann@example.org\tAnn\tc\ndomain\texample.net\tc\n");
    EXPECT_EQ(home.done({"rules", "deny", "add", "--json", "ann@example.org", "@Example.net"}),
              R"({"list":"deny","address":"ann@example.org","added":true})"
              "\n"
              R"({"list":"deny","domain":"@Example.net","added":true})"
              "\n");
    EXPECT_EQ(home.done({"rules", "allow", "list"}), "");
    EXPECT_EQ(home.done({"rules", "deny", "list", "--json"}),
              R"({"list":"deny","address":"ann@example.org","name":"","comment":""})"
              "\n"
              R"({"list":"deny","domain":"example.net","comment":""})"
              "\n");
    EXPECT_EQ(home.done({"rules", "deny", "remove", "ann@example.org", "example.net"}), "");
    EXPECT_EQ(home.done({"rules", "deny", "list"}), "");
}

TEST(rules_command, tells_what_the_lists_say_of_an_address) {
    const kept_home home;
    home.done({"rules", "allow", "add", "example.org"});
    home.done({"rules", "deny", "add", "eve@example.org"});
    home.done({"rules", "trust", "add", "--name", "Bob", "bob@x", "bob@x"});
    EXPECT_THAT(home.done({"rules", "check", "ann@example.org", "Eve@Example.org", "bob@x"}),
                AllOf(HasSubstr("ann@example.org: its mail passes\n"),
                      HasSubstr("Eve@Example.org: its mail is blocked\n"),
                      HasSubstr("bob@x: its mail is analysed\n"),
                      HasSubstr("trusted: no, 2 steps since ")));
    EXPECT_EQ(home.done({"--json", "rules", "check", "eve@example.org"}),
              R"({"address":"eve@example.org","allowed_address":false,"denied_address":true,)"
              R"("allowed_domain":true,"denied_domain":false,"trusted":false,"steps":0,)"
              R"("first_seen":null,"decision":"denied_address"})"
              "\n");
    home.done({"registry", "set", "Thresholds", "Trust Activation Delay", "0"});
    EXPECT_THAT(home.done({"rules", "check", "bob@x", "--json"}),
                AllOf(HasSubstr(R"("trusted":true,"steps":2,"first_seen":)"),
                      HasSubstr(R"("decision":"trusted"})")));
}

TEST(rules_command, trust_goes_up_by_a_step_and_away_altogether) {
    const kept_home home;
    home.done({"rules", "trust", "add", "a@x", "b@x", "a@x"});
    EXPECT_THAT(home.done({"rules", "trust", "list", "--json"}),
                AllOf(HasSubstr(R"("address":"a@x","name":"","steps":2,)"),
                      HasSubstr(R"("address":"b@x","name":"","steps":1,)")));
    home.done({"rules", "trust", "remove", "a@x"});
    EXPECT_THAT(home.done({"rules", "trust", "export"}), StartsWith("\tb@x\t1\t"));
    EXPECT_THAT(home.refused({"rules", "trust", "import", "-"}), HasSubstr("registry import"));
    EXPECT_THAT(home.refused({"rules", "trust", "add", "example.org"}), HasSubstr("'example.org'"));
    home.done({"rules", "trust", "clear"});
    EXPECT_EQ(home.done({"rules", "trust", "list"}), "");
}

TEST(rules_command, imports_what_it_exports_whatever_ends_the_lines) {
    const kept_home home;
    const string list = "\tzoe@x\t\nAnn \xC5\x81\tann@x\tc\n";
    const char* const texts[] = {
        "\xEF\xBB\xBF\nAnn \xC5\x81\tAnn@X\tc\n\n\tzoe@x\t",
        "Ann \xC5\x81\tann@x\tc\r\n\tz o e@x\t\r\n",
        "\tzoe@x\t\r\rAnn \xC5\x81\tann@x\tc\r",
    };
    for (const char* const text : texts) {
        SCOPED_TRACE(text);
        home.done({"rules", "allow", "clear"});
        EXPECT_EQ(home.done({"rules", "allow", "import", "-"}, text), "2 addresses\n");
        EXPECT_EQ(home.done({"rules", "allow", "export"}), list);
    }
    EXPECT_EQ(home.done({"rules", "deny", "import", "--domains", "--json", "-"}, "b.x\t\na.x\tc\n"),
              R"({"list":"deny","domains":2})"
              "\n");
    EXPECT_EQ(home.done({"rules", "deny", "export", "--domains"}), "a.x\tc\nb.x\t\n");
    EXPECT_EQ(home.done({"rules", "deny", "export"}), "");
    EXPECT_EQ(home.done({"rules", "allow", "export"}), list) << "an import empties no other list";
}

TEST(rules_command, imports_nothing_of_a_text_with_a_bad_line_and_names_it) {
    const kept_home home;
    home.done({"rules", "allow", "add", "old@x", "old.x"});
    const struct {
        const char* name;
        bool domains;
        string text;
        const char* told;
    } rows[] = {
        {"fields missing", false, "\ta@x\t\n\tb@x\n", "line 2: "},
        {"no at sign", false, "\r\n\r\n\tb\tc@x", "line 3: "},
        {"no UTF-8", false, "\xE9\ta@x\t\n", "line 1: "},
        {"a NUL", false, string("a\0\ta@x\t", 8), "line 1: "},
        {"no comment", true, "a.x\t\n\nb.x", "line 3: "},
        {"would match all", true, "a.x\t\n \tall\n", "line 2: "},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        test_support::temporary_folder folder;
        std::vector<string> arguments{"rules", "allow", "import", folder.file("list", row.text)};
        if (row.domains) arguments.emplace_back("--domains");
        EXPECT_THAT(home.refused(arguments), HasSubstr(row.told));
        EXPECT_EQ(home.done({"rules", "allow", "list"}), "address\told@x\t\t\ndomain\told.x\t\n");
    }
    EXPECT_THAT(home.refused({"rules", "allow", "import", home.path("nowhere")}),
                HasSubstr("cannot read"));
}

TEST(rules_command, refuses_arguments_that_would_break_a_list) {
    const kept_home home;
    const std::vector<string> rows[] = {
        {"add", " "},
        {"add", "@"},
        {"add", "ann@"},
        {"add", "a\tb@x"},
        {"add", "good@x", "a\nb"},
        {"add", "a@x", "--name", "a\tb"},
        {"add", "a@x", "--comment", "\xE9"},
        {"remove", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row));
        std::vector<string> arguments{"rules", "allow"};
        arguments.insert(arguments.end(), row.begin(), row.end());
        home.refused(arguments);
    }
    EXPECT_EQ(home.done({"rules", "allow", "list"}), "");
    const program_result result =
        home.run({"rules", "deny", "remove", "--json", "nobody@x", "nowhere.x"});
    EXPECT_EQ(result.code, 2);
    EXPECT_EQ(result.out, R"({"list":"deny","address":"nobody@x","removed":false})"
                          "\n"
                          R"({"list":"deny","domain":"nowhere.x","removed":false})"
                          "\n");
}

TEST(rules_command, shows_a_broken_entry_and_lets_an_import_put_it_right) {
    const kept_home home;
    home.done({"registry", "set", "Rules/Sender/Allow", "Addresses", "a\ta@x\tc", "b@x"});
    program_result result = home.run({"rules", "allow", "list"});
    EXPECT_EQ(result.code, 2);
    EXPECT_EQ(result.out, "address\ta@x\ta\tc\nbroken\tb@x\n");
    home.refused({"rules", "allow", "add", "c@x"});
    result = home.run({"rules", "check", "--json", "a@x", "c@x"});
    EXPECT_EQ(result.code, 2);
    EXPECT_THAT(result.out,
                AllOf(HasSubstr(R"("decision":"allowed_address"})"),
                      HasSubstr(R"("allowed_address":null)"), HasSubstr(R"("decision":"error"})")));
    const string text = home.done({"rules", "allow", "export"});
    EXPECT_EQ(home.done({"rules", "allow", "import", "-"}, text.substr(0, text.find("b@x"))),
              "1 addresses\n");
    home.done({"rules", "allow", "add", "c@x"});
}

TEST(vote_command, ham_puts_the_sender_on_the_allowed_list_and_spam_takes_its_trust) {
    const kept_home home;
    const string mail = "From: Ann <Ann@X>\nTo: b@x\n\ntext\n";
    home.done({"rules", "deny", "add", "ann@x"});
    EXPECT_THAT(home.done({"vote", "ham", "-"}, mail), testing::StartsWith("ham  -  "));
    EXPECT_EQ(home.done({"rules", "allow", "list"}), "address\tann@x\tAnn\tAdded due to Unblock\n");
    EXPECT_EQ(home.done({"rules", "deny", "list"}), "");

    home.done({"rules", "trust", "add", "ann@x"});
    EXPECT_THAT(home.done({"vote", "spam", "--json", "-"}, mail),
                testing::StartsWith(R"({"file":"-","vote":"spam",)"));
    EXPECT_EQ(home.done({"rules", "trust", "list"}), "");
    EXPECT_THAT(home.done({"stats"}),
                AllOf(HasSubstr("User  Blocked  1\n"), HasSubstr("User  Unblocked  1\n")));
}

TEST(vote_command, does_the_other_inputs_when_one_cannot_be_read) {
    const kept_home home;
    const program_result result = home.run({"vote", "spam", home.path("nowhere"), "-", "--mbox"},
                                           "From a\nFrom: a@x\n\n1\n\nFrom b\nFrom: b@x\n\n2\n");
    EXPECT_EQ(result.code, 2);
    EXPECT_THAT(result.out, AllOf(HasSubstr("spam  -#1  "), HasSubstr("spam  -#2  ")));
    EXPECT_THAT(result.err, HasSubstr("nowhere"));
    EXPECT_EQ(home.run({"vote", "maybe", "-"}).code, 2);
}

}  // namespace
