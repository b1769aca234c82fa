#include <fcntl.h>

#include <algorithm>
#include <cctype>

#include "component/component_home.h"

namespace {

using namespace brindlemoss::component;
using std::string;
using test_support::process_home;
using testing::HasSubstr;

const struct class_row {
    const char* name;
    const char* prog_id;
    const char* interface;
    bool is_safe;
} rows[] = {
    {"account", "Brindlemoss.Account", "IAccount", true},
    {"antivirus", "Brindlemoss.AntiVirus", "IAntiVirus", true},
    {"CCoding", "Core.Coding", "ICoding", false},
    {"communication", "Brindlemoss.Communication", "ICommunication", true},
    {"digest", "Brindlemoss.Digest", "IDigest", true},
    {"filter", "Brindlemoss.Filter", "IFilter", true},
    {"footer", "Brindlemoss.Footer", "IFooter", false},
    {"http", "Brindlemoss.HTTP", "IHTTP", true},
    {"language_recognition", "Brindlemoss.LanguageRecognition", "ILanguageRecognition", false},
    {"localization", "Brindlemoss.Localization", "ILocalization", false},
    {"rules", "Brindlemoss.Rules", "IRules", true},
    {"rules_sender_allowed", "Brindlemoss.RulesSenderAllowed", "IRulesSenderAllowed", false},
    {"rules_sender_denied", "Brindlemoss.RulesSenderDenied", "IRulesSenderDenied", false},
    {"rules_sender_trusted", "Brindlemoss.RulesSenderTrusted", "IRulesSenderTrusted", false},
    {"version", "Brindlemoss.Version", "IVersion", true},
    {"XML", "Brindlemoss.XML", "IXML", true},
};

class surface_test : public test_support::component_test {};

TEST_F(surface_test, makes_each_class_by_its_names) {
    EXPECT_EQ(classes().size(), std::size(rows));
    for (const class_row& row : rows) {
        string upper = row.prog_id;
        std::transform(upper.begin(), upper.end(), upper.begin(), ::toupper);
        for (const string& name : {string(row.prog_id), row.prog_id + string(".1"), upper}) {
            SCOPED_TRACE(name);
            const auto made = create_object(name);
            EXPECT_STREQ(made->description().name, row.name);
            EXPECT_NE(made->query(row.interface), nullptr);
        }
    }
}

TEST_F(surface_test, knows_no_other_names) {
    for (const string name : {"Brindlemoss.Coding", "Core.Filter", "Brindlemoss.Filter.2",
                              "Brindlemoss.Filter.1.1", "filter", "IFilter", "", ".1"}) {
        SCOPED_TRACE(name);
        try {
            create_object(name);
            ADD_FAILURE();
        } catch (const unknown_class& error) {
            EXPECT_THAT(error.what(), HasSubstr("\"" + name + "\""));
        }
    }
    EXPECT_THROW(create_object({"Core.Coding\0", 12}), unknown_class);
    EXPECT_EQ(live_objects(), 0u);
}

TEST_F(surface_test, an_object_has_its_interface_alone) {
    for (const class_row& row : rows) {
        SCOPED_TRACE(row.name);
        const auto made = create_object(row.prog_id);
        for (const class_row& other : rows) {
            EXPECT_EQ(made->query(other.interface) != nullptr, &other == &row) << other.interface;
        }
        for (const char* name : {"", "IUnknown", "ifilter"}) {
            EXPECT_EQ(made->query(name), nullptr) << name;
        }
    }
    const auto filter = create_object("Brindlemoss.Filter");
    std::u16string result = u"untouched";
    EXPECT_EQ(interface_of<IFilter>(*filter)->Signature({}, result), not_implemented);
    EXPECT_EQ(result, u"untouched");
    EXPECT_EQ(interface_of<IRules>(*filter), nullptr);
}

TEST_F(surface_test, declares_what_scripts_may_use) {
    for (const class_row& row : rows) {
        SCOPED_TRACE(row.name);
        const auto made = create_object(row.prog_id);
        auto* const safety = interface_of<IObjectSafety>(*made);
        ASSERT_EQ(safety != nullptr, row.is_safe);
        if (safety == nullptr) continue;
        std::uint32_t supported = 7;
        std::uint32_t enabled = 7;
        EXPECT_EQ(safety->GetInterfaceSafetyOptions("IUnknown", supported, enabled), invalid_call);
        EXPECT_EQ(supported, 7u);
        EXPECT_EQ(enabled, 7u);
        EXPECT_EQ(safety->GetInterfaceSafetyOptions(row.interface, supported, enabled), success);
        EXPECT_EQ(supported, 1u);
        EXPECT_EQ(enabled, 1u);
    }
}

// Every class by a method that reaches what the process shares of it.
void use_every_class() {
    truth is_so = no;
    std::int32_t number = 0;
    std::u16string text;
    const auto rules = create<IRules>();
    EXPECT_EQ(rules->AllowAddress(u"a@b.example", number), success);
    EXPECT_EQ(rules->Allowed(u"a@b.example", is_so), success);
    EXPECT_EQ(is_so, yes);
    EXPECT_EQ(rules->IncreaseTrust(u"a@b.example"), success);
    EXPECT_EQ(create<IFilter>()->Score(u"X-Antivirus-Status: Infected\n", yes, number), success);
    EXPECT_EQ(number, 100);
    create<IRulesSenderTrusted>()->EnumerateAddresses(text);
    EXPECT_FALSE(text.empty());
    create<IVersion>()->Partner(number);
    EXPECT_EQ(number, 0);
    create<IFooter>()->GetFooter(u"text/plain", text, is_so);
    EXPECT_EQ(is_so, no);
    create<ILocalization>()->Reload();
    create<IAccount>()->Setting(u"a", text);
    EXPECT_EQ(text, u"");
    create<ICommunication>()->Ping(is_so);
    EXPECT_EQ(is_so, no);
    create<ILanguageRecognition>()->Accept(u"\n", is_so);
    EXPECT_EQ(is_so, yes);
}

std::size_t open_stores() {
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        const string file = std::filesystem::read_symlink(entry, gone).filename().string();
        if (file.starts_with("user.store") || file.starts_with("machine.store")) ++count;
    }
    return count;
}

std::size_t times_loaded() {
    const string log = process_home.log();
    std::size_t count = 0;
    for (std::size_t at = 0; (at = log.find("Loaded by: ", at)) != log.npos; ++at) ++count;
    return count;
}

class life_test : public test_support::component_test {
protected:
    // The account server refuses at once, and what an earlier one gave is forgotten.
    life_test() {
        use_account_server(1);
        truth is_done = yes;
        create<IAccount>()->Update(is_done);
        EXPECT_EQ(is_done, no);
        unload();
    }
};

TEST_F(life_test, loads_and_unloads_any_number_of_times) {
    const std::size_t before = times_loaded();
    for (std::size_t round = 1; round <= 100; ++round) {
        use_every_class();
        EXPECT_NE(open_stores(), 0u);
        unload();
        ASSERT_EQ(open_stores(), 0u);
        EXPECT_EQ(times_loaded(), before + round);
    }
    load();
    load();
    EXPECT_EQ(times_loaded(), before + 101);
    unload();
    unload();
    EXPECT_EQ(times_loaded(), before + 101);
}

// A file stands where the folder of all that is kept should be.
TEST_F(life_test, does_without_what_it_cannot_keep) {
    unload();
    const string away = process_home.path() + ".away";
    std::filesystem::rename(process_home.path(), away);
    ::close(::open(process_home.path().c_str(), O_CREAT | O_WRONLY, 0600));

    truth is_so = yes;
    std::int32_t number = 7;
    std::u16string text = u"before";
    EXPECT_EQ(create<IRules>()->AllowAddress(u"a@b.example", number), success);
    EXPECT_EQ(number, 1);
    EXPECT_EQ(create<IRules>()->Allowed(u"a@b.example", is_so), success);
    EXPECT_EQ(is_so, no);
    EXPECT_EQ(create<IFilter>()->Score(u"From: a@b.example\n\nx", no, number), success);
    EXPECT_EQ(number, 0);
    EXPECT_EQ(create<IVersion>()->Path(text), success);
    EXPECT_EQ(text, u"");
    is_so = yes;
    EXPECT_EQ(create<IAccount>()->Login(is_so), success);
    EXPECT_EQ(is_so, no);
    EXPECT_EQ(create<IDigest>()->MD5(u"abc", text), success);
    EXPECT_EQ(text, u"900150983cd24fb0d6963f7d28e17f72");

    unload();
    std::filesystem::remove(process_home.path());
    std::filesystem::rename(away, process_home.path());
}

}  // namespace
