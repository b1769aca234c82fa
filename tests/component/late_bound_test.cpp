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

value text(std::u16string_view units) {
    return std::u16string(units);
}
value number(std::int32_t of) {
    return of;
}
value truth_of(bool is) {
    return is;
}

class late_bound_test : public test_support::component_test {};

// One call for each kind of parameter, each way it can go, and each order.
TEST_F(late_bound_test, gives_the_result_and_then_what_else_goes_out) {
    const struct {
        const char* name;
        const char* prog_id;
        const char* method;
        arguments given;
        values results;
    } rows[] = {
        {"nothing", "Brindlemoss.Account", "Configure", {}, {}},
        {"a text", "Core.Coding", "Base64Encode", {u"A"}, {text(u"QQ==")}},
        {"a failure", "Core.Coding", "Base64Decode", {u"Q Q"}, {text(u"")}},
        {"text and truth",
         "Brindlemoss.Filter",
         "Score",
         {u"X-Antivirus-Status: Infected\n", true},
         {number(100)}},
        {"text and number", "Brindlemoss.Filter", "Vote", {u"\u0100", -1}, {number(1)}},
        {"two texts",
         "Brindlemoss.Filter",
         "MergeHeader",
         {u"Content-Type: text/plain; charset=\"utf-8\"\n", u"Received: 1"},
         {text(u"Content-Type: text/plain; charset=\"utf-8\"\r\nReceived: 1\r\n\r\n")}},
        {"three texts, no result",
         "Brindlemoss.RulesSenderAllowed",
         "AddAddress",
         {u"N", u"A@b.example", u"c"},
         {}},
        {"no argument, a text",
         "Brindlemoss.RulesSenderAllowed",
         "EnumerateAddresses",
         {},
         {text(u"N\ta@b.example\tc\r")}},
        {"a text, a truth", "Brindlemoss.Rules", "Allowed", {u"a@b.example"}, {truth_of(true)}},
        {"a truth", "Brindlemoss.RulesSenderAllowed", "Silent", {true}, {}},
        {"a truth by its address", "Brindlemoss.Rules", "Silent", {false}, {}},
        {"a result that is left alone",
         "Brindlemoss.Localization",
         "GetString",
         {u"a", u"b"},
         {text(u"")}},
        {"an argument that goes out again, behind the result",
         "Brindlemoss.Footer",
         "Insert",
         {u"a\u0100"},
         {truth_of(false), text(u"a\u0100")}},
        {"one that only goes out, behind the result",
         "Brindlemoss.HTTP",
         "Get",
         {u"http://127.0.0.1:1/"},
         {number(0), text(u"")}},
        {"the same behind two that go in",
         "Brindlemoss.HTTP",
         "Post",
         {u"http://127.0.0.1:1/", u"x"},
         {number(0), text(u"")}},
        {"no argument, a truth", "Brindlemoss.Communication", "Offline", {}, {truth_of(false)}},
        {"no argument, a number", "Brindlemoss.Version", "Partner", {}, {number(0)}},
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
        EXPECT_THAT(called("Core.Coding", name, {u"\u00E9"}).results, ElementsAre(text(u"e9")))
            << name;
    }
}

TEST_F(late_bound_test, knows_no_other_names) {
    for (const std::string_view name :
         {std::string_view(), std::string_view("Scor"), std::string_view("Scored"),
          std::string_view(" Score"), std::string_view("Score\0", 6), std::string_view("IFilter"),
          std::string_view("invoke"), std::string_view("MD5")}) {
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
        {"none", "Core.Coding", "Base64Encode", {}},
        {"an absent text", "Core.Coding", "Base64Encode", {absent}},
        {"a number for a text", "Core.Coding", "Base64Encode", {5}},
        {"a truth for a text", "Core.Coding", "Base64Encode", {true}},
        {"one too many", "Core.Coding", "Base64Encode", {u"A", u"B"}},
        {"an absent one too many", "Core.Coding", "Base64Encode", {u"A", absent}},
        {"one where there are none", "Brindlemoss.Account", "Configure", {u""}},
        {"one for the result", "Brindlemoss.Communication", "Offline", {true}},
        {"one for what only goes out", "Brindlemoss.HTTP", "Get", {u"http://127.0.0.1:1/", u""}},
        {"one too few", "Brindlemoss.Filter", "Score", {u""}},
        {"an absent truth", "Brindlemoss.Filter", "Score", {u"", absent}},
        {"a number for a truth", "Brindlemoss.Filter", "Score", {u"", 1}},
        {"a text for a truth", "Brindlemoss.Filter", "Score", {u"", u"true"}},
        {"in the wrong order", "Brindlemoss.Filter", "Score", {true, u""}},
        {"a truth for a number", "Brindlemoss.Filter", "Vote", {u"", true}},
        {"a text for a number", "Brindlemoss.Filter", "Vote", {u"", u"1"}},
        {"an absent number", "Brindlemoss.Filter", "Vote", {u"", absent}},
        {"no address of a truth", "Brindlemoss.Rules", "Silent", {absent}},
        {"an absent one that goes both ways", "Brindlemoss.Footer", "Insert", {absent}},
        {"none for it", "Brindlemoss.Footer", "Insert", {}},
        {"of one not implemented", "Brindlemoss.AntiVirus", "Version", {u""}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const outcome made = called(row.prog_id, row.method, row.given);
        EXPECT_EQ(made.returned, invalid_call);
        EXPECT_THAT(made.results, IsEmpty());
    }
}

const struct missing_row {
    const char* prog_id;
    const char* method;
    arguments given;
} missing[] = {
    {"Brindlemoss.Account", "LoginWithCache", {}},
    {"Brindlemoss.AntiVirus", "Version", {}},
    {"Brindlemoss.AntiVirus", "Infected", {u"a", u"b"}},
    {"Brindlemoss.AntiVirus", "AssumeEncryptedInfected", {true}},
    {"Brindlemoss.Communication", "Failing", {}},
    {"Brindlemoss.Communication", "Roundtrip", {}},
    {"Brindlemoss.Communication", "Score", {u"a"}},
    {"Brindlemoss.Communication", "Vote", {u"a", 1}},
    {"Brindlemoss.Filter", "Signature", {u"a"}},
    {"Brindlemoss.Filter", "UnicodeToUTF8", {u"a"}},
    {"Brindlemoss.Filter", "SignatureFromPart", {u"a", u"b"}},
    {"Brindlemoss.Version", "Available", {}},
    {"Brindlemoss.Version", "Upgrade", {}},
};

TEST_F(late_bound_test, says_what_is_not_implemented_and_gives_nothing) {
    for (const missing_row& row : missing) {
        SCOPED_TRACE(row.method);
        const outcome made = called(row.prog_id, row.method, row.given);
        EXPECT_EQ(made.returned, 0x80004001u);
        EXPECT_THAT(made.results, IsEmpty());
    }
}

// The same methods through the interfaces.
TEST_F(late_bound_test, what_is_not_implemented_touches_nothing) {
    std::u16string first = u"first";
    std::u16string second = u"second";
    truth is_so = 12;
    std::int32_t amount = 34;
    const auto antivirus = create<IAntiVirus>();
    const auto community = create<ICommunication>();
    const auto filter = create<IFilter>();
    const auto version = create<IVersion>();
    for (const status returned :
         {antivirus->Version(first, second, is_so), antivirus->Infected({}, first, second, is_so),
          antivirus->AssumeEncryptedInfected(yes), create<IAccount>()->LoginWithCache(is_so),
          community->Failing(is_so), community->Roundtrip(amount), community->Score({}, amount),
          community->Vote({}, 0, amount), filter->Signature({}, first),
          filter->UnicodeToUTF8({}, first), filter->SignatureFromPart({}, {}, first),
          version->Available(first), version->Upgrade()}) {
        EXPECT_EQ(returned, 0x80004001u);
    }
    EXPECT_EQ(first, u"first");
    EXPECT_EQ(second, u"second");
    EXPECT_EQ(is_so, 12);
    EXPECT_EQ(amount, 34);
}

}  // namespace
