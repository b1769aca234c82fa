#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "message/character_set.h"
#include "support/kept_home.h"
#include "support/paragraphs.h"

namespace {

using std::string;
using test_support::program_result;
using testing::AllOf;
using testing::HasSubstr;
using texts = std::vector<string>;

// A mail in the language of a paragraph.
string mail_in(const string& language) {
    for (const auto& each : test_support::paragraphs) {
        if (each.language != language) continue;
        return "From: ann@example.org\nContent-Type: text/plain; charset=utf-8\n\n" +
               replay::unicode::from_wide(each.text, replay::unicode::utf8) + "\n";
    }
    throw std::invalid_argument(language);
}

class language_command_test : public testing::Test, protected test_support::kept_home {
protected:
    void set_mode(const string& mode) const {
        done({"registry", "set", "Language Recognition", "Mode", mode});
    }

    // The list as it stands in the store.
    string stored() const {
        const program_result result = run({"registry", "get", "Language Recognition", "Languages"});
        return result.code == 0 ? result.out : "";
    }

    void set_list(const texts& entries) const {
        texts set{"registry", "set", "Language Recognition", "Languages"};
        set.insert(set.end(), entries.begin(), entries.end());
        done(set);
    }

    static texts language_call(texts arguments) {
        arguments.insert(arguments.begin(), "language");
        return arguments;
    }
};

TEST_F(language_command_test, names_the_language_of_each_message) {
    const string russian = folder().file("russian.eml", mail_in("Russian"));
    const string short_one = folder().file("short.eml", "\nHello Ann\n");
    EXPECT_EQ(done({"language", "classify", russian, short_one}),
              "1049   Russian  " + russian + "\n0      (unknown)  " + short_one + "\n");
    EXPECT_EQ(done({"language", "classify", "--json", "-"}, mail_in("Chinese (traditional)")),
              R"json({"file":"-","lcid":1028,"tag":"zh-Hant","name":"Chinese (traditional)"})json"
              "\n");
    EXPECT_EQ(done({"--json", "language", "classify", short_one}),
              R"({"file":")" + short_one + R"(","lcid":0,"tag":null,"name":null})" + "\n");
}

TEST_F(language_command_test, goes_on_behind_what_it_cannot_read) {
    const string broken = folder().file(
        "broken.eml", "Content-Type: text/html\n\n<body>" + string(50, 'x') + "&#xQQ;</body>\n");
    const string danish = folder().file("danish.eml", mail_in("Danish"));
    const program_result result =
        run({"language", "classify", folder().path("none"), broken, danish});
    EXPECT_EQ(result.code, 2);
    EXPECT_EQ(result.out, "1030   Danish  " + danish + "\n");
    EXPECT_THAT(result.err, AllOf(HasSubstr(folder().path("none")), HasSubstr(broken)));
    const program_result json = run({"language", "classify", "--json", broken});
    EXPECT_EQ(json.code, 2);
    EXPECT_THAT(json.out, AllOf(HasSubstr(broken), HasSubstr(R"("error":)")));
}

TEST_F(language_command_test, refuses_mail_by_its_language) {
    const auto decision = [&](const string& language) {
        const string line = done({"score", "--json", "-"}, mail_in(language));
        const string key = R"("decision":")";
        const auto begin = line.find(key) + key.size();
        return line.substr(begin, line.find('"', begin) - begin);
    };
    EXPECT_EQ(decision("Russian"), "analysed");
    done({"language", "refuse", "1049"});
    EXPECT_EQ(decision("Russian"), "language");
    EXPECT_EQ(decision("Ukrainian"), "analysed");
    done({"language", "accept", "1049"});
    EXPECT_EQ(decision("Russian"), "analysed");
}

TEST_F(language_command_test, edits_the_list_so_that_the_wish_comes_true) {
    const struct {
        const char* name;
        string mode;
        texts before;
        texts arguments;
        string after;
    } rows[] = {
        {"refuse by name and tag", "1", {}, {"refuse", "danish", "RU"}, "1030\n1049\n"},
        {"refuse by hexadecimal number", "1", {}, {"refuse", "0x419"}, "1049\n"},
        {"refuse all scripts", "1", {}, {"refuse", "Chinese"}, "2052\n1028\n"},
        {"refuse again", "1", {"1049"}, {"refuse", "ru", "Russian"}, "1049\n"},
        {"accept", "1", {"1030", "1049", "1033"}, {"accept", "1049"}, "1030\n1033\n"},
        {"accept what was written twice", "1", {"1049", "01049 x"}, {"accept", "ru"}, ""},
        {"accept what is not refused", "1", {"1030"}, {"accept", "1049"}, "1030\n"},
        {"accept a number of no language", "1", {"2057", "x"}, {"accept", "2057"}, "x\n"},
        {"accept among few", "0", {"1033"}, {"accept", "1049"}, "1033\n1049\n"},
        {"refuse among few", "0", {"1033", "1049"}, {"refuse", "1049"}, "1033\n"},
        {"refuse what is not accepted", "0", {"1033"}, {"refuse", "1049"}, "1033\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        set_mode(row.mode);
        set_list(row.before);
        done(language_call(row.arguments));
        EXPECT_EQ(stored(), row.after);
    }
}

TEST_F(language_command_test, changes_nothing_where_it_cannot_do_all) {
    const struct {
        const char* name;
        string mode;
        texts before;
        texts arguments;
        const char* complaint;
    } rows[] = {
        {"another country", "1", {"1030"}, {"refuse", "1049", "2057"}, "English is 1033"},
        {"zero", "1", {"x"}, {"accept", "0"}, "'0' is not"},
        {"an unknown name", "1", {"1030"}, {"refuse", "ru", "Elvish"}, "'Elvish' is no language"},
        {"without a number", "1", {"1030"}, {"refuse", "Esperanto"}, "Esperanto"},
        {"the last accepted", "0", {"1049"}, {"refuse", "1049"}, "Mode 1"},
        {"with all accepted", "0", {}, {"refuse", "1049"}, "Mode 1"},
        {"a mode that counts no list", "2", {"1030"}, {"refuse", "1049"}, "the mode is 2"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        set_mode(row.mode);
        set_list(row.before);
        const string before = stored();
        EXPECT_THAT(refused(language_call(row.arguments)), HasSubstr(row.complaint));
        EXPECT_EQ(stored(), before);
    }
}

TEST_F(language_command_test, tells_the_choice_by_name) {
    EXPECT_EQ(done({"language", "list"}), "Mail in every language is accepted.\n");
    EXPECT_EQ(done({"language", "list", "--json"}), R"({"mode":1,"languages":[]})"
                                                    "\n");
    EXPECT_EQ(done({"language", "refuse", "ru"}),
              "Mail in these languages is refused, in every other accepted:\n"
              "1049   ru       Russian\n");
    done({"registry", "set", "Language Recognition", "Languages", "x", "2052"});
    EXPECT_EQ(
        done({"--json", "language", "list"}),
        R"json({"mode":1,"languages":[{"entry":"x","lcid":0,"tag":null,"name":null},)json"
        R"json({"entry":"2052","lcid":2052,"tag":"zh-Hans","name":"Chinese (simplified)"}]})json"
        "\n");
    set_mode("0");
    EXPECT_EQ(done({"language", "list"}),
              "Only mail in these languages is accepted, and mail whose language cannot be told:\n"
              "x  (no language that mail can be in)\n"
              "2052   zh-Hans  Chinese (simplified)\n");
    set_mode("2");
    EXPECT_THAT(done({"language", "list"}), HasSubstr("Mail in every language is accepted"));
}

TEST_F(language_command_test, lists_what_can_be_recognised) {
    EXPECT_THAT(done({"language", "list", "--all"}),
                AllOf(HasSubstr("\n1049   ru       Russian\n"),
                      HasSubstr("\n1044   nb       Norwegian (Bokm\xC3\xA5l)\n"),
                      testing::Not(HasSubstr("Esperanto"))));
    EXPECT_THAT(done({"language", "list", "--all", "--json"}),
                HasSubstr(R"({"lcid":1049,"tag":"ru","name":"Russian"})"));
}

}  // namespace
