#include <atomic>
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

constexpr int thread_count = 16;
constexpr int round_count = 6;

// A number as text of 16-bit units.
u16string numeral(int number) {
    return wide(std::to_string(number));
}

// One object of each class that threads may share.
struct shared_objects {
    std::unique_ptr<IAccount> account = create<IAccount>();
    std::unique_ptr<IAntiVirus> antivirus = create<IAntiVirus>();
    std::unique_ptr<ICommunication> communication = create<ICommunication>();
    std::unique_ptr<IDigest> digest = create<IDigest>();
    std::unique_ptr<IFilter> filter = create<IFilter>();
    std::unique_ptr<IFooter> footer = create<IFooter>();
    std::unique_ptr<IHTTP> http = create<IHTTP>();
    std::unique_ptr<ILanguageRecognition> languages = create<ILanguageRecognition>();
    std::unique_ptr<ILocalization> texts = create<ILocalization>();
    std::unique_ptr<IRules> rules = create<IRules>();
    std::unique_ptr<IRulesSenderAllowed> allowed = create<IRulesSenderAllowed>();
    std::unique_ptr<IRulesSenderDenied> denied = create<IRulesSenderDenied>();
    std::unique_ptr<IRulesSenderTrusted> trusted = create<IRulesSenderTrusted>();
    std::unique_ptr<IVersion> version = create<IVersion>();
    std::unique_ptr<IXML> document = create<IXML>();
};

// The work of one thread. What it gets must be what it would get alone.
class worker {
public:
    worker(shared_objects& with, int number, const http_peer& peer)
        : with_(with), number_(number), url_(wide(peer.url())) {}

    void work(int round) {
        rate(round);
        keep_lists(round);
        use_plain_classes(round);
        use_the_network(round);
    }

private:
    u16string address(int round) const {
        return u"s" + numeral(number_) + u"." + numeral(round) + u"@a.example";
    }

    void rate(int round) {
        std::int32_t rating = -1;
        EXPECT_EQ(with_.filter->Score(u"X-Antivirus-Status: Infected\n", no, rating), success);
        EXPECT_EQ(rating, 100);
        const u16string mail =
            u"From: " + address(round) + u"\nSubject: a\n\nhello, how are you?\n";
        EXPECT_EQ(with_.filter->Score(mail, yes, rating), success);
        EXPECT_TRUE(rating >= 0 && rating <= 100) << rating;
        EXPECT_EQ(with_.filter->Vote(mail, -1, rating), success);
        EXPECT_EQ(rating, 1);
        u16string merged;
        EXPECT_EQ(with_.filter->MergeHeader(mail, u"Received: 1", merged), success);
        EXPECT_NE(merged.find(u"\r\nReceived: 1\r\n"), merged.npos);
        EXPECT_EQ(with_.languages->Accept(mail, is_so_), success);
        EXPECT_EQ(is_so_, yes);
        EXPECT_EQ(with_.languages->Classify(u"\n", rating), success);
        EXPECT_EQ(rating, 0);
    }

    void keep_lists(int round) {
        const u16string own = address(round);
        EXPECT_EQ(with_.rules->DenyAddress(own, amount_), success);
        EXPECT_EQ(with_.rules->Denied(own, is_so_), success);
        EXPECT_EQ(is_so_, yes);
        EXPECT_EQ(with_.allowed->AddAddress(u"N", own, u""), success);
        EXPECT_EQ(with_.allowed->Match(own, is_so_), success);
        EXPECT_EQ(is_so_, yes);
        EXPECT_EQ(with_.denied->Match(own, is_so_), success);
        EXPECT_EQ(is_so_, no);
        EXPECT_EQ(with_.denied->AddDomain(u"d" + numeral(number_) + u".example", u""), success);
        EXPECT_EQ(with_.denied->EnumerateDomains(text_), success);
        EXPECT_EQ(with_.trusted->AddAddress(u"", u"all@b.example"), success);
        const truth quiet = yes;
        EXPECT_EQ(with_.rules->Silent(&quiet), success);
    }

    void use_plain_classes(int round) {
        EXPECT_EQ(with_.document->Parse(u"<a>" + numeral(number_) + u"</a>"), success);
        EXPECT_EQ(with_.document->Setting(u"a", text_), success);
        EXPECT_FALSE(text_.empty());
        EXPECT_EQ(with_.digest->MD5(u"abc", text_), success);
        EXPECT_EQ(text_, u"900150983cd24fb0d6963f7d28e17f72");
        EXPECT_EQ(create<ICoding>()->Base64Encode(u"A", text_), success);
        EXPECT_EQ(text_, u"QQ==");
        EXPECT_EQ(with_.antivirus->Infected(u"", text_, text_, is_so_), not_implemented);
        EXPECT_EQ(with_.version->Partner(amount_), success);
        EXPECT_EQ(amount_, 5);
        EXPECT_EQ(round % 3 == 0 ? with_.texts->Reload() : success, success);
        EXPECT_EQ(with_.texts->GetString(u"a", u"b", text_ = u"none"), success);
        EXPECT_TRUE(text_ == u"none" || text_ == u"one");
        EXPECT_EQ(with_.texts->SetLanguage(u"EN"), success);

        const auto made = create_object("brindlemoss.digest.1");
        const argument given[] = {u"abc"};
        std::vector<value> results;
        EXPECT_EQ(made->invoke("md5", given, results), success);
        EXPECT_EQ(results.size(), 1u);
        EXPECT_EQ(classes().size(), 16u);
        EXPECT_FALSE(can_unload_now());
    }

    void use_the_network(int round) {
        EXPECT_EQ(with_.footer->GetFooter(u"text/plain", text_, is_so_), success);
        EXPECT_EQ(with_.footer->Insert(text_ = u"\nx", is_so_), success);
        EXPECT_EQ(with_.account->Setting(u"BrindlemossLogin", text_), success);
        EXPECT_EQ(with_.communication->Offline(is_so_), success);
        EXPECT_EQ(is_so_, no);
        switch ((number_ + round) % 8) {  // what takes long, by turns
            case 0: EXPECT_EQ(with_.communication->Shutdown(), success); break;
            case 1:
                EXPECT_EQ(with_.communication->Reset(is_so_), success);
                EXPECT_EQ(is_so_, yes);
                break;
            case 2:
            case 3: EXPECT_EQ(with_.communication->Ping(is_so_), success); break;
            case 4:
                EXPECT_EQ(with_.account->Login(is_so_), success);
                EXPECT_EQ(is_so_, yes);
                break;
            case 5:
                EXPECT_EQ(with_.account->Update(is_so_), success);
                EXPECT_EQ(is_so_, yes);
                break;
            default:
                EXPECT_EQ(with_.http->Get(url_, text_, amount_), success);
                EXPECT_EQ(amount_, 200);
        }
    }

    shared_objects& with_;
    const int number_;
    const u16string url_;
    u16string text_;
    truth is_so_ = no;
    std::int32_t amount_ = 0;
};

class threads_test : public test_support::component_test {
protected:
    threads_test() {
        const string url = server_.url("");
        server_.serve({{"HTTP/1.1 200 OK\r\n\r\n<BrindlemossLogin><URL><Email>" + url +
                        "/</Email></URL></BrindlemossLogin>"}});
        installed_.file("Languages/EN0.ini", "");
        installed_.file("Languages/EN5.ini", "[a]\nb=one\n");
        const std::vector<std::vector<string>> values = {
            {"Account", "Host", "127.0.0.1"},
            {"--type", "integer", "Account", "Port 1", url.substr(url.rfind(':') + 1)},
            {"--type", "integer", "Installation", "Partner", "5"},
            {"Installation", "Directory", installed_.path() + "/"},
            {"Community", "Server", community_.host()},
            {"--type", "integer", "Community", "Refresh", "3600"},
        };
        for (std::vector<string> value : values) {
            value.insert(value.begin(), "--machine");
            keep(value);
        }
    }

    const test_support::temporary_folder installed_;
    http_peer server_;
    scripted_peer community_{test_support::community_server(test_support::nothing_known)};
};

TEST_F(threads_test, sixteen_threads_in_every_class_while_the_library_goes_and_comes) {
    shared_objects with;
    std::atomic<int> rounds_done = 0;
    std::vector<std::thread> threads;
    for (int number = 0; number < thread_count; ++number) {
        threads.emplace_back([&, number] {
            worker worker(with, number, server_);
            for (int round = 0; round < round_count; ++round) {
                worker.work(round);
                ++rounds_done;
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
            const u16string address =
                u"s" + numeral(number) + u"." + numeral(round) + u"@a.example";
            with.allowed->Match(address, is_allowed);
            EXPECT_EQ(is_allowed, yes) << number << " " << round;
        }
    }
    u16string entries;
    with.trusted->EnumerateAddresses(entries);
    EXPECT_EQ(entries.find(u"\tall@b.example\t" + numeral(thread_count * round_count) + u"\t"), 0u);
    with.denied->EnumerateAddresses(entries);
    EXPECT_EQ(entries, u"");
}

}  // namespace
