#include <atomic>
#include <map>
#include <optional>
#include <thread>

#include "component/component_home.h"
#include "support/community_home.h"
#include "support/http_peer.h"
#include "support/scripted_peer.h"

namespace {

using namespace brindlemoss::component;
using std::string;
using std::u16string;
using test_support::http_peer;
using test_support::scripted_peer;
using test_support::wide;
using values = std::vector<value>;

constexpr int thread_count = 16;
constexpr int round_count = 6;

// A number as text of 16-bit units.
u16string numeral(int number) {
    return wide(std::to_string(number));
}

u16string address_of(int thread, int round) {
    return u"s" + numeral(thread) + u"." + numeral(round) + u"@a.example";
}

// What it gives must be what it would give to one thread alone; where others may change that,
// nothing is told.
struct call {
    const char* prog_id;
    const char* method;
    std::vector<argument> given;
    std::optional<values> wanted;
};

// One object of each class that threads may share.
class shared_objects {
public:
    shared_objects() {
        for (const class_description& each : classes()) {
            if (each.shared_between_threads) made_[each.prog_id] = create_object(each.prog_id);
        }
    }

    void make(const call& each) const {
        SCOPED_TRACE(string(each.prog_id) + "." + each.method);
        values results;
        EXPECT_EQ(made_.at(each.prog_id)->invoke(each.method, each.given, results), success);
        if (each.wanted) {
            EXPECT_EQ(results, *each.wanted);
        }
    }

private:
    std::map<string, std::unique_ptr<object>> made_;
};

void rate_and_keep_lists(const shared_objects& with, int number, int round) {
    const u16string own = address_of(number, round);
    const u16string domain = u"d" + numeral(number) + u".example";
    const u16string mail = u"From: " + own + u"\nSubject: a\n\nhello, how are you?\n";
    const u16string typed = u"Content-Type: text/plain; charset=\"utf-8\"";
    const u16string merged = typed + u"\r\nReceived: 1\r\n\r\n";
    const call calls[] = {
        {"Brindlemoss.Filter", "Score", {u"X-Antivirus-Status: Infected\n", false}, values{100}},
        {"Brindlemoss.Filter", "Score", {mail, true}, {}},
        {"Brindlemoss.Filter", "Vote", {mail, -1}, values{1}},
        {"Brindlemoss.Filter", "MergeHeader", {typed, u"Received: 1"}, values{merged}},
        {"Brindlemoss.LanguageRecognition", "Accept", {mail}, values{true}},
        {"Brindlemoss.LanguageRecognition", "Classify", {u"\n"}, values{0}},
        {"Brindlemoss.Rules", "DenyAddress", {own}, values{1}},
        {"Brindlemoss.Rules", "Denied", {own}, values{true}},
        {"Brindlemoss.RulesSenderAllowed", "AddAddress", {u"N", own, u""}, values()},
        {"Brindlemoss.RulesSenderAllowed", "Match", {own}, values{true}},
        {"Brindlemoss.RulesSenderDenied", "Match", {own}, values{false}},
        {"Brindlemoss.RulesSenderDenied", "AddDomain", {domain, u""}, values()},
        {"Brindlemoss.RulesSenderDenied", "EnumerateDomains", {}, {}},
        {"Brindlemoss.RulesSenderTrusted", "AddAddress", {u"", u"all@b.example"}, values()},
        {"Brindlemoss.Rules", "Silent", {true}, values()},
    };
    for (const call& each : calls) with.make(each);
}

void use_plain_classes(const shared_objects& with, int number) {
    const u16string document = u"<a>" + numeral(number) + u"</a>";
    const call calls[] = {
        {"Brindlemoss.XML", "Parse", {document}, values()},
        {"Brindlemoss.XML", "Setting", {u"a"}, {}},
        {"Brindlemoss.Digest", "MD5", {u"abc"}, values{u"900150983cd24fb0d6963f7d28e17f72"}},
        {"Brindlemoss.Version", "Partner", {}, values{5}},
        {"Brindlemoss.Localization", "Reload", {}, values()},
        {"Brindlemoss.Localization", "GetString", {u"a", u"b"}, values{u"one"}},
        {"Brindlemoss.Localization", "SetLanguage", {u"EN"}, values()},
    };
    for (const call& each : calls) with.make(each);
    values results;
    const argument given[] = {u"A"};
    EXPECT_EQ(create_object("core.coding.1")->invoke("base64encode", given, results), success);
    EXPECT_EQ(results, values{u"QQ=="});
    EXPECT_EQ(classes().size(), 16u);
    EXPECT_FALSE(can_unload_now());
}

// What takes long goes by turns.
void use_the_network(const shared_objects& with, int turn, const u16string& url) {
    with.make({"Brindlemoss.Footer", "GetFooter", {u"text/plain"}, {}});
    with.make({"Brindlemoss.Footer", "Insert", {u"\nx"}, {}});
    with.make({"Brindlemoss.Account", "Setting", {u"BrindlemossLogin"}, {}});
    with.make({"Brindlemoss.Communication", "Offline", {}, values{false}});
    const call calls[] = {
        {"Brindlemoss.Communication", "Shutdown", {}, values()},
        {"Brindlemoss.Communication", "Reset", {}, values{true}},
        {"Brindlemoss.Communication", "Ping", {}, {}},
        {"Brindlemoss.Communication", "Ping", {}, {}},
        {"Brindlemoss.Account", "Login", {}, values{true}},
        {"Brindlemoss.Account", "Update", {}, values{true}},
        {"Brindlemoss.HTTP", "Status", {url}, values{200}},
        {"Brindlemoss.HTTP", "Status", {url}, values{200}},
    };
    with.make(calls[static_cast<std::size_t>(turn) % std::size(calls)]);
}

class threads_test : public test_support::component_test {
protected:
    threads_test() {
        server_.serve({{"HTTP/1.1 200 OK\r\n\r\n<BrindlemossLogin><URL><Email>" + server_.url("") +
                        "/</Email></URL></BrindlemossLogin>"}});
        installed_.file("Languages/EN0.ini", "");
        installed_.file("Languages/EN5.ini", "[a]\nb=one\n");
        use_account_server(server_.port());
        keep({"--machine", "--type", "integer", "Installation", "Partner", "5"});
        keep({"--machine", "Installation", "Directory", installed_.path() + "/"});
        use_community(community_.host());
    }

    const test_support::temporary_folder installed_;
    http_peer server_;
    scripted_peer community_{test_support::community_server(test_support::nothing_known)};
};

TEST_F(threads_test, sixteen_threads_in_every_class_while_the_library_goes_and_comes) {
    const shared_objects with;
    const u16string url = wide(server_.url());
    std::atomic<int> rounds_done = 0;
    std::vector<std::thread> threads;
    for (int number = 0; number < thread_count; ++number) {
        threads.emplace_back([&, number] {
            for (int round = 0; round < round_count; ++round, ++rounds_done) {
                rate_and_keep_lists(with, number, round);
                use_plain_classes(with, number);
                use_the_network(with, number + round, url);
            }
        });
    }
    for (int done = 0; done < thread_count * round_count; ++done) {
        while (rounds_done < done) std::this_thread::yield();
        unload();
    }
    for (std::thread& each : threads) each.join();

    truth is_allowed = no;
    for (int number = 0; number < thread_count; ++number) {
        for (int round = 0; round < round_count; ++round) {
            create<IRulesSenderAllowed>()->Match(address_of(number, round), is_allowed);
            EXPECT_EQ(is_allowed, yes) << number << " " << round;
        }
    }
    u16string entries;
    create<IRulesSenderTrusted>()->EnumerateAddresses(entries);
    EXPECT_EQ(entries.find(u"\tall@b.example\t" + numeral(thread_count * round_count) + u"\t"), 0u);
    create<IRulesSenderDenied>()->EnumerateAddresses(entries);
    EXPECT_EQ(entries, u"");
}

}  // namespace
