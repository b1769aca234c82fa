#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/kept_home.h"

namespace {

using namespace test_support;
using std::string;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;
using texts = std::vector<string>;

class call_command : public testing::Test {
protected:
    // "call" and the arguments.
    string called(texts arguments, const string& input = {}) const {
        arguments.insert(arguments.begin(), "call");
        return home.done(arguments, input);
    }
    string refused(texts arguments, const string& input = {}) const {
        arguments.insert(arguments.begin(), "call");
        return home.refused(arguments, input);
    }
    // What Base16Encode says of the argument: the units of the text that became of it.
    string units(const string& argument) const {
        return called({"Core.Coding", "Base16Encode", argument});
    }
    static string result(const string& value) {
        return R"({"status":0,"result":)" + value + R"(,"out":[]})" + "\n";
    }

    kept_home home;
};

TEST_F(call_command, rates_the_bytes_of_a_file) {
    const string gtube = BRINDLEMOSS_EXAMPLES "/gtube.eml";
    EXPECT_EQ(called({"Brindlemoss.Filter", "Score", "@" + gtube, "true"}), result("100"));
    EXPECT_EQ(called({"brindlemoss.filter.1", "sCORE", "@-", "false"},
                     "X-Antivirus-Status: Infected\n\n\xFF"),
              result("100"));
    const string all_bytes("\0\x7F\x80\xFF\n", 5);
    EXPECT_EQ(called({"Core.Coding", "Base16Encode", "@-"}, all_bytes), result(R"("007f80ff0a")"));
    EXPECT_EQ(called({"Core.Coding", "Base16Encode", "@-"}), result(R"("")"));
}

TEST_F(call_command, arguments_are_json_or_texts_as_they_stand) {
    const struct {
        const char* argument;
        const char* units;
    } rows[] = {
        {"abc", "616263"},
        {"", ""},
        {" \t\"abc\"\n", "616263"},
        {R"("\"\\\/\b\f\n\r\t\u0041\u00e9\u00E9")", "225c2f080c0a0d0941e9e9"},
        {"\"\xC3\xA9\"", "e9"},
        {"\"a", "2261"},  // what is no JSON
        {"\"", "22"},
        {R"("\")", "225c22"},
        {R"("a"b")", "2261226222"},
        {R"("\x")", "225c7822"},
        {R"("\u004")", "225c7530303422"},
        {"\"\n\"", "220a22"},
        {"[a]", "5b615d"},
        {"007", "303037"},
        {"True", "54727565"},
        {R"("@a")", "4061"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.argument);
        EXPECT_EQ(units(row.argument), result('"' + string(row.units) + '"'));
    }
    EXPECT_EQ(called({"Core.Coding", "Base16Encode", "--", "-x"}), result(R"("2d78")"));
    EXPECT_EQ(units("stats"), result(R"("7374617473")"));  // also the name of a command
}

TEST_F(call_command, prints_what_comes_back_in_order) {
    EXPECT_EQ(
        called({"Brindlemoss.RulesSenderDenied", "AddDomain", "a.example", R"("\ud83d \u00e9")"}),
        result("null"));
    EXPECT_EQ(called({"Brindlemoss.RulesSenderDenied", "EnumerateDomains"}),
              result("\"a.example\\t\\ud83d \xC3\xA9\\r\""));
    EXPECT_EQ(called({"Brindlemoss.Rules", "Denied", "x@a.example"}), result("true"));
    EXPECT_EQ(called({"Brindlemoss.Rules", "Allowed", "x@a.example"}), result("false"));
    EXPECT_EQ(called({"Brindlemoss.Filter", "Vote", "Subject: a", "-2147483648"}), result("1"));
    EXPECT_EQ(called({"Brindlemoss.HTTP", "Get", "no address"}),
              R"({"status":0,"result":0,"out":[""]})"
              "\n");
    EXPECT_EQ(called({"--json", "Brindlemoss.AntiVirus", "Infected", "a", "b"}),
              R"({"status":2147500033,"result":null,"out":[]})"
              "\n");
}

TEST_F(call_command, says_what_a_method_takes) {
    const struct {
        texts arguments;
        string said;
    } rows[] = {
        {{"Brindlemoss.Filter"}, "call --list"},
        {{"Brindlemoss.Coding", "MD5", "a"}, "'Brindlemoss.Coding'"},
        {{"Brindlemoss.Digest", "MD\033"}, "has no method 'MD\xEF\xBF\xBD'; it has MD5\n"},
        {{"Brindlemoss.Digest", "MD5"},
         "MD5 takes 1 argument, not 0: MD5(Text: text) -> Result: text\n"},
        {{"Brindlemoss.Version", "Current", "a", "b"},
         "Current takes 0 arguments, not 2: Current() -> Result: text\n"},
        {{"Brindlemoss.Digest", "MD5", "5"}, "MD5 takes a text as Text: MD5("},
        {{"Brindlemoss.Digest", "MD5", "null"}, "MD5 takes a text as Text: MD5("},
        {{"Brindlemoss.Filter", "Score", "a", "1"},
         "Score takes a truth as Orphan: "
         "Score(Message: text, Orphan: truth) -> "
         "Result: number\n"},
        {{"Brindlemoss.Filter", "Vote", "a", "\"1\""}, "Vote takes a number as Score: "},
        {{"Brindlemoss.Filter", "Vote", "a", "2147483648"}, "a number beyond 32 bits"},
        {{"Brindlemoss.Filter", "Vote", "a", "-2147483649"}, "a number beyond 32 bits"},
        {{"Brindlemoss.Filter", "Vote", "a", "1.0"}, "is JSON, but"},
        {{"Brindlemoss.Digest", "MD5", "[1]"}, "'[1]' is JSON, but"},
        {{"Brindlemoss.Digest", "MD5", "\xFF"}, "is not UTF-8"},
        {{"Brindlemoss.Digest", "MD5", "@nowhere"}, "cannot read 'nowhere': No such file"},
        {{"Brindlemoss.Digest", "MD5", "@/dev/zero"}, "cannot read '/dev/zero': "},
        {{"Brindlemoss.Filter", "MergeHeader", "@-", "@-"}, "standard input"},
        {{"--list", "Brindlemoss.Digest"}, "takes no class"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.arguments));
        EXPECT_THAT(refused(row.arguments), HasSubstr(row.said));
    }
}

TEST_F(call_command, lists_the_classes) {
    const string list = called({"--list"});
    EXPECT_THAT(list, StartsWith("Brindlemoss.Account  {"));
    EXPECT_THAT(list, AllOf(HasSubstr("filter, Filter Class, threading Both, safe for scripting\n"),
                            HasSubstr("CCoding, CCoding Class, threading Both, an object for one "
                                      "thread at a time\n"),
                            HasSubstr("    GetFooter(ContentType: text, out Footer: text) -> "
                                      "Insert: truth\n")));
    const string json = called({"--list", "--json"});
    EXPECT_EQ(std::count(json.begin(), json.end(), '\n'), 16);
    EXPECT_THAT(
        json,
        HasSubstr(
            R"("methods":[{"name":"Insert","arguments":[{"name":"Serialized","direction":"in out",)"
            R"("type":"text"},{"name":"Result","direction":"result","type":"truth"}]},)"));
}

}  // namespace
