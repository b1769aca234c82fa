#include <fcntl.h>

#include <algorithm>
#include <cctype>
#include <set>

#include "component/component_home.h"

namespace {

using namespace brindlemoss::component;
using std::string;
using test_support::process_home;
using testing::HasSubstr;
using testing::MatchesRegex;
using strings = std::vector<string>;

const char* word_for(direction way) {
    constexpr const char* words[] = {"in", "out", "in_out", "result"};
    return words[static_cast<int>(way)];
}

const char* word_for(value_type type) {
    constexpr const char* words[] = {"text", "number", "yes_or_no"};
    return words[static_cast<int>(type)];
}

// "Score(in text Message, in yes_or_no Orphan, result number Result)"
string shown(const method_description& method) {
    string text = string(method.name) + "(";
    for (const parameter& each : method.parameters) {
        if (!text.ends_with('(')) text += ", ";
        text.append(word_for(each.way)).append(" ").append(word_for(each.type));
        text.append(" ").append(each.name);
    }
    return text + ")";
}

strings shown(const class_description& description) {
    strings methods;
    for (const method_description& each : description.methods) methods.push_back(shown(each));
    return methods;
}

const strings methods_of_a_sender_list = {
    "Match(in text Address, result yes_or_no Result)",
    "AddAddress(in text Name, in text Address, in text Comment)",
    "AddDomain(in text Domain, in text Comment)",
    "RemoveAddress(in text Address)",
    "RemoveDomain(in text Domain)",
    "EnumerateAddresses(result text Result)",
    "EnumerateDomains(result text Result)",
    "Silent(in yes_or_no Mode)",
    "EmptyAddresses()",
    "EmptyDomains()",
    "WriteAddresses(in text Addresses)",
    "WriteDomains(in text Domains)",
};

const struct class_row {
    const char* name;
    const char* prog_id;
    const char* interface;  // "I" and the short name
    bool is_safe;
    strings methods;
} rows[] = {
    {"account",
     "Brindlemoss.Account",
     "IAccount",
     true,
     {"Create(in text Name, in text Password, result yes_or_no Result)",
      "Login(result yes_or_no Result)", "Setting(in text Identifier, result text Result)",
      "Configure()", "LoginWithCache(result yes_or_no Result)", "Update(result yes_or_no Result)"}},
    {"antivirus",
     "Brindlemoss.AntiVirus",
     "IAntiVirus",
     true,
     {"Version(out text Engine, out text Definitions, result yes_or_no Result)",
      "Infected(in text Buffer, in_out text Object, out text Infection, result yes_or_no Result)",
      "AssumeEncryptedInfected(in yes_or_no State)"}},
    {"CCoding",
     "Core.Coding",
     "ICoding",
     false,
     {"Base64Encode(in text Text, result text Result)",
      "Base64Decode(in text Text, result text Result)",
      "Base16Encode(in text Text, result text Result)",
      "Base16Decode(in text Text, result text Result)"}},
    {"communication",
     "Brindlemoss.Communication",
     "ICommunication",
     true,
     {"Reset(result yes_or_no Result)", "Failing(result yes_or_no Result)",
      "Roundtrip(result number Result)", "Score(in text Message, result number Result)",
      "Vote(in text Message, in number Score, result number Result)",
      "Ping(result yes_or_no Result)", "Offline(result yes_or_no Result)", "Shutdown()"}},
    {"digest", "Brindlemoss.Digest", "IDigest", true, {"MD5(in text Text, result text Result)"}},
    {"filter",
     "Brindlemoss.Filter",
     "IFilter",
     true,
     {"Score(in text Message, in yes_or_no Orphan, result number Result)",
      "Vote(in text Message, in number Score, result number Result)",
      "Signature(in text Message, result text Result)",
      "UnicodeToUTF8(in text Text, result text Result)",
      "SignatureFromPart(in text ContentType, in text Text, result text Result)",
      "MergeHeader(in text Message, in text Header, result text Result)"}},
    {"footer",
     "Brindlemoss.Footer",
     "IFooter",
     false,
     {"Insert(in_out text Serialized, result yes_or_no Result)",
      "GetFooter(in text ContentType, out text Footer, result yes_or_no Insert)"}},
    {"http",
     "Brindlemoss.HTTP",
     "IHTTP",
     true,
     {"Get(in text URI, out text Document, result number Result)",
      "Status(in text URI, result number Result)",
      "Post(in text URI, in text PostData, out text Document, result number Result)"}},
    {"language_recognition",
     "Brindlemoss.LanguageRecognition",
     "ILanguageRecognition",
     false,
     {"Classify(in text Message, result number Result)",
      "Accept(in text Message, result yes_or_no Result)"}},
    {"localization",
     "Brindlemoss.Localization",
     "ILocalization",
     false,
     {"Reload()", "GetString(in text Group, in text Item, result text Result)",
      "SetLanguage(in text ISO)", "GetLanguages(result text Result)"}},
    {"rules",
     "Brindlemoss.Rules",
     "IRules",
     true,
     {"Allowed(in text Address, result yes_or_no Result)",
      "AllowAddress(in text Address, result number Result)",
      "AllowDomain(in text Domain, result number Result)",
      "Denied(in text Address, result yes_or_no Result)",
      "DenyAddress(in text Address, result number Result)",
      "DenyDomain(in text Domain, result number Result)", "IncreaseTrust(in text Address)",
      "RemoveTrust(in text Address)", "Silent(in yes_or_no Value)"}},
    {"rules_sender_allowed", "Brindlemoss.RulesSenderAllowed", "IRulesSenderAllowed", false,
     methods_of_a_sender_list},
    {"rules_sender_denied", "Brindlemoss.RulesSenderDenied", "IRulesSenderDenied", false,
     methods_of_a_sender_list},
    {"rules_sender_trusted",
     "Brindlemoss.RulesSenderTrusted",
     "IRulesSenderTrusted",
     false,
     {"Match(in text Address, result yes_or_no Result)",
      "AddAddress(in text Name, in text Address)", "RemoveAddress(in text Address)",
      "EnumerateAddresses(result text Result)"}},
    {"version",
     "Brindlemoss.Version",
     "IVersion",
     true,
     {"Partner(result number Result)", "Current(result text Result)",
      "Available(result text Result)", "Path(result text Result)", "Upgrade()", "Remove()"}},
    {"XML",
     "Brindlemoss.XML",
     "IXML",
     true,
     {"Parse(in text Document)", "Setting(in text Name, result text Result)"}},
};

class surface_test : public test_support::component_test {};

TEST_F(surface_test, has_sixteen_classes) {
    ASSERT_EQ(classes().size(), std::size(rows));
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        SCOPED_TRACE(rows[i].name);
        const class_description& seen = classes()[i];
        EXPECT_STREQ(seen.name, rows[i].name);
        EXPECT_STREQ(seen.prog_id, rows[i].prog_id);
        EXPECT_STREQ(seen.interface_name, rows[i].interface);
        const string short_name =
            string(rows[i].name) == "CCoding" ? "CCoding" : string(rows[i].interface).substr(1);
        EXPECT_EQ(seen.friendly_name, short_name + " Class");
        EXPECT_EQ(seen.safe_for_scripting, rows[i].is_safe);
        EXPECT_EQ(seen.shared_between_threads, string(rows[i].name) != "CCoding");
        EXPECT_EQ(shown(seen), rows[i].methods);
    }
}

TEST_F(surface_test, no_two_have_one_guid) {
    std::set<string> guids;
    for (const class_description& each : classes()) {
        for (const string guid : {each.class_id, each.interface_id}) {
            EXPECT_THAT(guid, MatchesRegex("\\{[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}\\}"));
            EXPECT_TRUE(guids.insert(guid).second) << guid;
        }
    }
}

TEST_F(surface_test, makes_each_class_by_its_names) {
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
                              "Brindlemoss.Filter.1.1", "Brindlemoss.Filter.", "Brindlemoss.Filte",
                              "filter", "Filter Class", "IFilter", "", ".1"}) {
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
    std::u16string result;
    EXPECT_EQ(interface_of<IFilter>(*filter)->Signature({}, result), not_implemented);
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

TEST_F(surface_test, counts_what_lives) {
    EXPECT_TRUE(can_unload_now());
    std::vector<std::unique_ptr<object>> made;
    for (const class_row& row : rows) {
        made.push_back(create_object(row.prog_id));
        EXPECT_EQ(live_objects(), made.size());
        made.back()->query(row.interface);
        EXPECT_FALSE(can_unload_now());
    }
    made.erase(made.begin(), made.end() - 1);
    EXPECT_EQ(live_objects(), 1u);
    EXPECT_FALSE(can_unload_now());
    made.clear();
    EXPECT_TRUE(can_unload_now());
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
    // An account server that refuses at once.
    life_test() {
        keep({"--machine", "Account", "Host", "127.0.0.1"});
        for (const char* name : {"Port 1", "Port 2"}) {
            keep({"--machine", "--type", "integer", "Account", name, "1"});
        }
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

TEST_F(life_test, objects_outlive_an_unload) {
    const auto rules = create<IRules>();
    const auto document = create<IXML>();
    document->Parse(u"<a>1</a>");
    std::int32_t done = 0;
    rules->DenyDomain(u"b.example", done);
    unload();
    truth is_denied = no;
    std::u16string value;
    rules->Denied(u"a@b.example", is_denied);
    document->Setting(u"a", value);
    EXPECT_EQ(is_denied, yes);
    EXPECT_EQ(value, u"1");
    EXPECT_EQ(live_objects(), 2u);
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
