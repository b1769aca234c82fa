#include <variant>

#include "component/component_home.h"

namespace {

using namespace brindlemoss::component;
using testing::ElementsAre;
using testing::IsEmpty;
using arguments = std::vector<argument>;
using values = std::vector<value>;

constexpr std::monostate absent;

// What a call gives: what the method returned, and what came back.
struct outcome {
    status returned;
    values results;
};

outcome called(object& on, std::string_view method, const arguments& given = {}) {
    outcome made{success, {u"of a call before", 7}};
    made.returned = on.invoke(method, given, made.results);
    return made;
}

outcome called(const char* prog_id, std::string_view method, const arguments& given = {}) {
    return called(*create_object(prog_id), method, given);
}

class late_bound_test : public test_support::component_test {};

constexpr const char* coding = "Core.Coding";
constexpr const char* filter = "Brindlemoss.Filter";
constexpr const char* footer = "Brindlemoss.Footer";
constexpr const char* http = "Brindlemoss.HTTP";
constexpr const char* rules = "Brindlemoss.Rules";

// One call for each kind of parameter, each way it can go, and each order.
TEST_F(late_bound_test, gives_the_result_and_then_what_else_goes_out) {
    constexpr const char* allowed = "Brindlemoss.RulesSenderAllowed";
    const struct {
        const char* name;
        const char* prog_id;
        const char* method;
        arguments given;
        values results;
    } rows[] = {
        {"nothing", "Brindlemoss.Account", "Configure", {}, {}},
        {"a text", coding, "Base64Encode", {u"A"}, {u"QQ=="}},
        {"text and truth", filter, "Score", {u"X-Antivirus-Status: Infected\n", true}, {100}},
        {"text and number", filter, "Vote", {u"\u0100", -1}, {1}},
        {"three texts, no result", allowed, "AddAddress", {u"N", u"A@b.example", u"c"}, {}},
        {"a text, no argument", allowed, "EnumerateAddresses", {}, {u"N\ta@b.example\tc\r"}},
        {"a text, a truth", rules, "Allowed", {u"a@b.example"}, {true}},
        {"a truth by its address", rules, "Silent", {false}, {}},
        {"left alone", "Brindlemoss.Localization", "GetString", {u"a", u"b"}, {u""}},
        {"goes out again, behind the result", footer, "Insert", {u"a\u0100"}, {false, u"a\u0100"}},
        {"only goes out, behind the result", http, "Get", {u"http://127.0.0.1:1/"}, {0, u""}},
        {"the same behind two texts", http, "Post", {u"http://127.0.0.1:1/", u"x"}, {0, u""}},
        {"a truth, no argument", "Brindlemoss.Communication", "Offline", {}, {false}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const outcome made = called(row.prog_id, row.method, row.given);
        EXPECT_EQ(made.returned, success);
        EXPECT_EQ(made.results, row.results);
    }
}

TEST_F(late_bound_test, takes_a_name_in_any_case) {
    for (const char* name : {"Base16Encode", "base16encode", "BASE16ENCODE", "bAsE16eNcOdE"}) {
        EXPECT_THAT(called(coding, name, {u"\u00E9"}).results, ElementsAre(value(u"e9"))) << name;
    }
}

TEST_F(late_bound_test, knows_no_other_names) {
    for (const std::string_view name :
         {std::string_view(), std::string_view("Scor"), std::string_view("Scored"),
          std::string_view("Score\0", 6), std::string_view("MD5")}) {
        const outcome made = called("Brindlemoss.Filter", name, {u"", true});
        EXPECT_EQ(made.returned, invalid_call) << name;
        EXPECT_THAT(made.results, IsEmpty()) << name;
    }
}

TEST_F(late_bound_test, refuses_arguments_that_do_not_fit) {
    const struct {
        const char* name;
        const char* prog_id;
        const char* method;
        arguments given;
    } rows[] = {
        {"none", coding, "Base64Encode", {}},
        {"a number for a text", coding, "Base64Encode", {5}},
        {"one too many", coding, "Base64Encode", {u"A", u"B"}},
        {"one where there are none", "Brindlemoss.Account", "Configure", {u""}},
        {"one for the result", "Brindlemoss.Communication", "Offline", {true}},
        {"one for what only goes out", http, "Get", {u"http://127.0.0.1:1/", u""}},
        {"a text for a truth", filter, "Score", {u"", u"true"}},
        {"an absent truth", filter, "Score", {u"", absent}},
        {"one too few", filter, "Score", {u""}},
        {"a number for a truth", filter, "Score", {u"", 1}},
        {"a truth for a number", filter, "Vote", {u"", true}},
        {"a text for a number", filter, "Vote", {u"", u"1"}},
        {"no address of a truth", rules, "Silent", {absent}},
        {"of one not implemented", "Brindlemoss.AntiVirus", "Version", {u""}},
        {"none for what goes both ways", footer, "Insert", {}},
        {"an absent one that goes both ways", footer, "Insert", {absent}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const outcome made = called(row.prog_id, row.method, row.given);
        EXPECT_EQ(made.returned, invalid_call);
        EXPECT_THAT(made.results, IsEmpty());
    }
}

TEST_F(late_bound_test, says_what_is_not_implemented_and_gives_nothing) {
    const struct {
        const char* prog_id;
        const char* method;
        arguments given;
    } rows[] = {
        {"Brindlemoss.Account", "LoginWithCache", {}},
        {"Brindlemoss.AntiVirus", "Version", {}},
        {"Brindlemoss.AntiVirus", "Infected", {u"a", u"b"}},
        {"Brindlemoss.AntiVirus", "AssumeEncryptedInfected", {true}},
        {"Brindlemoss.Communication", "Failing", {}},
        {"Brindlemoss.Communication", "Roundtrip", {}},
        {"Brindlemoss.Communication", "Score", {u"a"}},
        {"Brindlemoss.Communication", "Vote", {u"a", 1}},
        {filter, "Signature", {u"a"}},
        {filter, "UnicodeToUTF8", {u"a"}},
        {filter, "SignatureFromPart", {u"a", u"b"}},
        {"Brindlemoss.Version", "Available", {}},
        {"Brindlemoss.Version", "Upgrade", {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.method);
        const outcome made = called(row.prog_id, row.method, row.given);
        EXPECT_EQ(made.returned, 0x80004001u);
        EXPECT_THAT(made.results, IsEmpty());
    }
}

}  // namespace
