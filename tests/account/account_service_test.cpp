#include "account/account_service.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "account/installation.h"
#include "account/settings_cache.h"
#include "foundation/registry.h"
#include "foundation/translate.h"
#include "platform/clock.h"
#include "platform/connection_state.h"
#include "platform/paths.h"
#include "support/account_log.h"
#include "support/http_peer.h"
#include "support/in_threads.h"
#include "support/program_script.h"
#include "support/temporary_folder.h"

namespace {

namespace registry = replay::registry2;
namespace settings_cache = brindlemoss::account::settings_cache;
using brindlemoss::account::account_service;
using brindlemoss::account::account_service_options;
using brindlemoss::account::machine_facts;
using registry::tree_key;
using registry::write_back;
using std::chrono::milliseconds;
using std::chrono::seconds;
using test_support::http_peer;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

constexpr std::int64_t now = 1'700'000'000;
constexpr milliseconds for_ever = std::chrono::hours(1);
const std::string query_end =
    "&I=0&OSV=4%3A6%2E1&L=EN&Process=mailer&Statistics="
    "0%7C0%7C0%7C0%7C0%7C0%7C0%7C0%7C0%7C0%7C0%7C&CP=65001";
const std::string query = "?Pr=1&Pa=0&SV=" + query_end;
const std::string md5_of_secret = "5ebe2294ecd0e0f08eab7690d2a6ee69";
const std::string tag_setting = "BrindlemossLogin.Parameters.MailTag";

std::string document(const std::string& tag, const std::string& parameters = {}) {
    return "<BrindlemossLogin><Login><Access>Approved</Access></Login><Parameters><MailTag>" + tag +
           "</MailTag>" + parameters + "</Parameters></BrindlemossLogin>";
}

http_peer::answer answer(const std::string& body, const std::string& status = "200 OK") {
    return {"HTTP/1.1 " + status + "\r\n\r\n" + body};
}

// A server on two ports, and a store that names it.
class account_service_test : public testing::Test {
protected:
    account_service_test() {
        machine().set_text(u"Host", u"127.0.0.1");
        machine().set_integer(u"Port 1", first_.port());
        machine().set_integer(u"Port 2", second_.port());
        options_.machine = [] { return machine_facts{"4:6.1", {}, {}, "/opt/mailer"}; };
    }
    ~account_service_test() override {
        service_.reset();
        brindlemoss::account::installation::destroy();
        registry::close_all();
    }

    static const registry::key& machine() { return registry::at(tree_key::machine_account); }
    static const registry::key& user() { return registry::at(tree_key::user_account); }
    static const registry::key& cache() { return registry::at(tree_key::user_account_cache); }

    account_service& service() {
        if (!service_) service_ = std::make_unique<account_service>(options_);
        return *service_;
    }
    std::string tag() { return service().setting(tag_setting); }

    static std::string first_line(const std::string& request) {
        return request.substr(0, request.find('\r'));
    }

    const test_support::temporary_folder folder_;
    const replay::platform::paths::scoped_home home_{folder_.path()};
    replay::platform::clock::standing clock_{replay::platform::clock::time_point(seconds(now))};
    const replay::platform::assumed_connection_state connected_{{}};
    test_support::account_log log_;
    http_peer first_;
    http_peer second_;
    account_service_options options_;
    std::unique_ptr<account_service> service_;
};

TEST_F(account_service_test, fetches_a_document_and_keeps_it) {
    first_.serve({answer("\t" + document("\xC3\xA9\r\n!"))});
    user().set_text(u"Password", u"0123");  // without an account it is not sent
    EXPECT_EQ(tag(), "");
    EXPECT_TRUE(service().login());
    EXPECT_TRUE(service().document_loaded());
    EXPECT_EQ(tag(), "\xC3\xA9!");
    EXPECT_EQ(service().setting("Brindlemosslogin.None"), "");
    EXPECT_EQ(service().cached_since(), std::nullopt);
    EXPECT_TRUE(service().wait_for_background(milliseconds(0)));
    ASSERT_THAT(first_.requests(), SizeIs(1));
    EXPECT_EQ(first_line(first_.requests()[0]),
              "GET /component/loginxml.asp" + query + " HTTP/1.1");
    const std::string size = std::to_string(document("\xC3\xA9\r\n!").size() + 1);
    EXPECT_THAT(log_.take(), ElementsAre("0 Fetching '" + first_.url("/component/loginxml.asp") +
                                             query + "' returned status 200 and " + size +
                                             " bytes of configuration data",
                                         "0 Cache updated"));
    EXPECT_EQ(settings_cache::load()->document, document("\xC3\xA9!"));
    EXPECT_EQ(cache().get_integer(u"Refresh", 0, write_back::no), now + 93'600);
    EXPECT_EQ(user().get_integer(u"Identity", 7, write_back::no), 0u);
}

TEST_F(account_service_test, keeps_a_document_of_a_refused_login_for_no_time) {
    const std::string refused[] = {"<BrindlemossLogin><Login><Access>approved<",
                                   "<BrindlemossLogin><Login><Access>Approved</Access><Disabled>1<",
                                   "", "no tags"};
    std::vector<http_peer::answer> answers;
    for (const std::string& body : refused) answers.push_back(answer(body));
    answers.push_back(answer("<BrindlemossLogin><Login><Access>Approved</Access><Disabled>10<"));
    first_.serve(answers);
    for (const std::string& body : refused) {
        SCOPED_TRACE(body);
        EXPECT_TRUE(service().update());
        EXPECT_TRUE(service().document_loaded());
        EXPECT_EQ(cache().get_integer(u"Refresh", 7, write_back::no), 0u);
    }
    EXPECT_TRUE(service().update());
    EXPECT_NE(cache().get_integer(u"Refresh", 7, write_back::no), 0u);
}

TEST_F(account_service_test, sends_the_account_and_never_logs_its_password) {
    user().set_integer(u"Identity", 4'000'000'000);
    user().set_text(u"Password", std::u16string(md5_of_secret.begin(), md5_of_secret.end()));
    first_.serve({answer("You asked for P=" + md5_of_secret, "403 Not " + md5_of_secret)});
    second_.serve({{"no HTTP but " + md5_of_secret + "\r\n"}});
    EXPECT_FALSE(service().login());
    const std::string sent =
        "GET /component/loginxml.asp?Pr=1&Pa=0&SV=&U=4000000000&P=" + md5_of_secret + query_end +
        " HTTP/1.1";
    ASSERT_THAT(first_.requests(), SizeIs(1));
    ASSERT_THAT(second_.requests(), SizeIs(1));
    EXPECT_EQ(first_line(first_.requests()[0]), sent);
    EXPECT_EQ(first_line(second_.requests()[0]), sent);
    const std::string mask(32, '*');
    const std::string shown =
        "/component/loginxml.asp?Pr=1&Pa=0&SV=&U=4000000000&P=" + mask + query_end;
    EXPECT_THAT(log_.take(),
                ElementsAre("3 Fetching '" + first_.url(shown) +
                                "' returned status 403 and 48 bytes of configuration data",
                            "3 Output: " + replay::coding::translate::base64_encode(
                                               "You asked for P=" + mask,
                                               replay::coding::translate::padding::pad),
                            "2 Exception 'http.invalid_response[no HTTP but " + mask +
                                "]' while processing '" + second_.url(shown) + "'"));
}

TEST_F(account_service_test, logs_the_beginning_of_long_pages_and_names) {
    namespace translate = replay::coding::translate;
    const std::string longest_page(65'536, 'p');
    const std::string longest_name(1024, 'n');
    first_.serve({answer(longest_page, "500 No"), answer(longest_page + '!', "500 No")});
    second_.serve({answer("", "500 No"), answer("", "500 No")});
    for (const char* const more : {"", "!"}) {
        SCOPED_TRACE(more);
        EXPECT_FALSE(service().create(longest_name + more, "secret"));
        const auto shown = HasSubstr("&U=" + longest_name + "&P=");
        const std::string page = translate::base64_encode(longest_page, translate::padding::pad);
        EXPECT_THAT(log_.take(), ElementsAre(shown, "3 Output: " + page, shown, "3 Output: "));
    }
}

TEST_F(account_service_test, tries_the_second_port_when_the_first_gives_nothing) {
    second_.serve({answer(document("second"))});
    machine().set_integer(u"Port 1", test_support::listener().port());  // which nobody listens at
    EXPECT_TRUE(service().login());
    EXPECT_EQ(tag(), "second");
    EXPECT_THAT(log_.take(),
                ElementsAre(StartsWith("2 Exception 'socket.connect_failed[connect() failed]'"),
                            StartsWith("0 Fetching '" + second_.url("/component/loginxml.asp")),
                            "0 Cache updated"));
}

TEST_F(account_service_test, puts_a_document_out_of_force_when_a_fetch_fails) {
    const std::string endless(1 << 16, 'x');
    const struct {
        const char* what;
        http_peer::answer first;
        const char* told;
    } rows[] = {
        {"another status", answer("<a>", "500 Oh"), "returned status 500 and 3 bytes"},
        {"no content", answer("", "204 None"), "returned status 204 and 0 bytes"},
        {"a connection that breaks", {"HTTP/1.1 200", "", http_peer::answer::ending::reset}, "2 E"},
        {"no answer", {""}, "http.closed["},
        {"more than a document", {"HTTP/1.1 200 OK\r\n\r\n", endless}, "http.invalid_response["},
    };
    std::vector<http_peer::answer> good_and_bad;
    second_.serve({answer("", "503 Later")});
    settings_cache::store(document("kept"), true);
    for (const auto& row : rows) {
        good_and_bad.push_back(answer(document("good")));
        good_and_bad.push_back(row.first);
    }
    first_.serve(good_and_bad);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        ASSERT_TRUE(service().update());
        EXPECT_EQ(tag(), "good");
        log_.take();
        EXPECT_FALSE(service().update());
        EXPECT_FALSE(service().document_loaded());
        EXPECT_EQ(tag(), "");
        EXPECT_EQ(service().last_setting(tag_setting), "good");
        EXPECT_THAT(log_.take(), Contains(HasSubstr(row.told)));
    }
    EXPECT_THAT(second_.requests(), SizeIs(std::size(rows)));
}

TEST_F(account_service_test, gives_a_server_that_never_ends_some_time) {
    options_.fetch_limit = milliseconds(50);
    first_.serve({{"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n", "1\r\nx\r\n"}});
    second_.serve({{"HTTP/1.1 200 OK\r\nA: b", "", http_peer::answer::ending::wait}});
    EXPECT_FALSE(service().login());
    const auto told = StartsWith("2 Exception 'socket.timeout[Transfer took too long]'");
    EXPECT_THAT(log_.take(), ElementsAre(told, told));
    EXPECT_THAT(second_.requests(), SizeIs(1));
}

TEST_F(account_service_test, takes_its_defaults_without_a_key_of_the_machine) {
    registry::at(tree_key::machine_root).delete_key(u"Account");
    registry::close_all();
    EXPECT_FALSE(service().update());
    EXPECT_THAT(log_.take(),
                ElementsAre(AllOf(StartsWith("2 Exception '"),
                                  HasSubstr("'http://account.brindlemoss.example:2409/component/")),
                            HasSubstr("'http://account.brindlemoss.example:80/component/")));
}

TEST_F(account_service_test, asks_nobody_when_the_machine_is_offline) {
    service_.reset();
    first_.serve({answer(document("x"))});
    const auto& root = registry::at(tree_key::user_root);
    EXPECT_TRUE(service().update());
    EXPECT_FALSE(root.get_raw(u"Always Connected"));
    log_.take();
    {
        const replay::platform::assumed_connection_state offline(
            {false, replay::platform::connection_state::offline});
        EXPECT_TRUE(service().update());
        EXPECT_EQ(root.get_integer(u"Always Connected", 0, write_back::no), 1u);
        root.set_integer(u"Always Connected", 0);
        log_.take();
        EXPECT_FALSE(service().update());
        EXPECT_FALSE(service().document_loaded());
        EXPECT_THAT(log_.take(), IsEmpty());
        EXPECT_THAT(first_.requests(), SizeIs(2));
    }
}

TEST_F(account_service_test, begins_with_the_kept_document_and_fetches_one_for_later) {
    settings_cache::store(document("kept"), true);
    first_.serve({answer(document("newer"))});
    clock_.advance(seconds(100));
    EXPECT_TRUE(service().login());
    EXPECT_EQ(service().last_setting(tag_setting), "kept");
    EXPECT_EQ(service().cached_since(), now);
    EXPECT_TRUE(service().wait_for_background(for_ever));
    EXPECT_TRUE(service().document_loaded());
    EXPECT_EQ(tag(), "kept");
    EXPECT_THAT(log_.take(), ElementsAre("0 Cache updated", "0 Cache loaded",
                                         StartsWith("0 Fetching"), "0 Cache updated"));
    EXPECT_TRUE(service().login());
    EXPECT_TRUE(service().wait_for_background(for_ever));
    EXPECT_EQ(tag(), "newer");
    EXPECT_EQ(service().cached_since(), now + 100);
    EXPECT_THAT(first_.requests(), SizeIs(2));
    EXPECT_TRUE(service().update());
    EXPECT_EQ(service().cached_since(), std::nullopt);
}

TEST_F(account_service_test, takes_the_kept_document_out_of_force_when_no_newer_one_comes) {
    settings_cache::store(document("kept"), true);
    first_.serve({answer("", "500 No")});
    second_.serve({answer("", "500 No")});
    EXPECT_TRUE(service().login());
    EXPECT_TRUE(service().wait_for_background(for_ever));
    EXPECT_FALSE(service().document_loaded());
    EXPECT_EQ(tag(), "");
    EXPECT_EQ(service().last_setting(tag_setting), "kept");
    // The next login does not wait for the thread's next try, but has it try at once.
    EXPECT_TRUE(service().login());
    EXPECT_TRUE(service().wait_for_background(for_ever));
    EXPECT_THAT(second_.requests(), SizeIs(2));
    service_.reset();  // while the thread waits for an hour
}

TEST_F(account_service_test, tries_again_in_the_background_until_a_document_comes) {
    options_.retry = milliseconds(0);
    settings_cache::store(document("kept"), true);
    first_.serve({answer("", "500 No"), answer("", "500 No"), answer(document("newer"))});
    second_.serve({answer("", "500 No")});
    EXPECT_TRUE(service().login());
    while (first_.requests().size() < 3) std::this_thread::yield();
    EXPECT_TRUE(service().wait_for_background(for_ever));
    EXPECT_EQ(tag(), "kept");
    service_.reset();
    EXPECT_THAT(first_.requests(), SizeIs(3));
    EXPECT_EQ(settings_cache::load()->document, document("newer"));
}

TEST_F(account_service_test, ends_while_the_server_is_still_talking_or_silent) {
    using ending = http_peer::answer::ending;
    const std::vector<http_peer::answer> answers = {
        {"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n", "1\r\nx\r\n"},
        {"HTTP/1.1 200 OK\r\nA: b", "", ending::wait},
        {"", "", ending::wait},
    };
    settings_cache::store(document("kept"), true);
    first_.serve(answers);
    second_.serve({answer(document("newer"))});
    for (std::size_t asked = 1; asked <= answers.size(); ++asked) {
        SCOPED_TRACE(asked);
        EXPECT_TRUE(service().login());
        EXPECT_FALSE(service().wait_for_background(milliseconds(0)));
        while (first_.requests().size() < asked) std::this_thread::yield();
        service_.reset();
        EXPECT_THAT(log_.take(), Contains(StartsWith("2 Exception 'http.aborted[waiting]'")));
    }
    EXPECT_THAT(second_.requests(), IsEmpty());
}

TEST_F(account_service_test, fetches_when_the_kept_document_is_no_good) {
    first_.serve({answer(document("new"))});
    for (const bool is_expired : {false, true}) {
        SCOPED_TRACE(is_expired);
        settings_cache::store(document("kept"), true);
        if (is_expired) cache().set_integer(u"Expiry", now);
        cache().set_text(u"Hash", u"AAAAAAAAAAAAAAAAAAAAAA");
        service_.reset();
        log_.take();
        EXPECT_TRUE(service().login());
        EXPECT_EQ(tag(), "new");
        const auto fetched = StartsWith("0 Fetching");
        if (is_expired) {
            EXPECT_THAT(log_.take(), ElementsAre(fetched, "0 Cache updated"));
        } else {
            EXPECT_THAT(log_.take(), ElementsAre("0 Cache corrupted", fetched, "0 Cache updated"));
        }
    }
}

TEST_F(account_service_test, refuses_a_login_when_the_kept_values_cannot_be_read) {
    first_.serve({answer(document("new"))});
    settings_cache::store(document("kept"), true);
    cache().set_text(u"Content", u"PGE*");
    log_.take();
    EXPECT_FALSE(service().login());
    EXPECT_THAT(log_.take(),
                ElementsAre("3 Login: translate.invalid_codeword[Invalid Codeword 0x2A]"));
    EXPECT_THAT(first_.requests(), IsEmpty());
    EXPECT_TRUE(service().update());  // which writes them anew
    service_.reset();
    EXPECT_TRUE(service().login());
}

TEST_F(account_service_test, tells_which_operation_a_value_of_the_wrong_type_ended) {
    user().set_text(u"Identity", u"7");
    EXPECT_FALSE(service().update());
    EXPECT_THAT(log_.take(), ElementsAre(StartsWith("3 Update: registry2.type_mismatch[")));
    user().set_integer(u"Password", 7);
    EXPECT_FALSE(service().create("name", "secret"));
    EXPECT_THAT(log_.take(), ElementsAre(StartsWith("3 Create: registry2.type_mismatch[")));
}

TEST_F(account_service_test, creates_an_account_without_telling_its_password) {
    first_.serve({answer("<Registration><Creation>OK<"), answer("<Registration><Creation>OK<"),
                  answer(document("x"))});
    EXPECT_TRUE(service().create("J\xC3\xB8rn & Co", "secret"));
    EXPECT_EQ(first_line(first_.requests()[0]),
              "GET /component/registerxml.asp?Pr=1&Pa=0&SV=&U=J%C3%B8rn%20%26%20Co&P=" +
                  md5_of_secret + query_end + " HTTP/1.1");
    EXPECT_EQ(user().get_text(u"Name", u"", write_back::no), u"J\u00F8rn & Co");
    EXPECT_EQ(user().get_bytes_text(u"Password", "", write_back::no), md5_of_secret);
    EXPECT_EQ(user().get_integer(u"Identity", 0, write_back::no), 0u);
    EXPECT_FALSE(cache().get_raw(u"Content"));
    EXPECT_FALSE(service().document_loaded());  // what the server said was none for the user
    // The stored form is not taken for a password to be hashed once more.
    EXPECT_TRUE(service().create("other", md5_of_secret));
    EXPECT_THAT(first_.requests()[1], HasSubstr("&U=other&P=" + md5_of_secret + "&"));
    EXPECT_THAT(log_.take(), Not(Contains(HasSubstr(md5_of_secret))));
    EXPECT_TRUE(service().login());
    EXPECT_THAT(first_.requests()[2], StartsWith("GET /component/loginxml.asp?"));
    EXPECT_TRUE(service().create("third", "secret"));
    EXPECT_TRUE(service().document_loaded());  // that of the login, again
    EXPECT_EQ(tag(), "x");
}

TEST_F(account_service_test, stores_nothing_of_an_account_that_was_not_created) {
    first_.serve({answer("<Registration><Creation>Failed</Creation>"), answer("", "500 No")});
    second_.serve({answer("", "500 No")});
    EXPECT_FALSE(service().create("name", "secret"));
    EXPECT_THAT(second_.requests(), IsEmpty());
    EXPECT_FALSE(service().create("name", "secret"));
    EXPECT_THAT(second_.requests(), ElementsAre(StartsWith("GET /component/registerxml.asp?")));
    EXPECT_FALSE(service().document_loaded());
    EXPECT_FALSE(user().get_raw(u"Name"));
    EXPECT_EQ(user().get_bytes_text(u"Password", "-", write_back::no), "");
}

TEST_F(account_service_test, starts_the_configuration_program_when_it_is_told_to) {
    const test_support::program_script script("mosscfg");
    registry::at(tree_key::machine_installation).set_bytes_text(u"Directory", script.folder());
    first_.serve({answer(document("x", "<Command>/show &quot;a b&quot; $(id)</Command>"))});
    options_.machine = [] { return machine_facts{"4:6.1", {}, {}, "/opt/MossCfg.Exe"}; };
    EXPECT_TRUE(service().update());
    EXPECT_THAT(log_.take(), Not(Contains(HasSubstr("Launching"))));
    service_.reset();
    options_.machine = [] { return machine_facts{"4:6.1", {}, {}, "/opt/mailer"}; };
    EXPECT_TRUE(service().update());
    EXPECT_THAT(log_.take(), Contains("0 Launching: \"MOSSCFG.EXE /show \"a b\" $(id)\""));
    EXPECT_EQ(script.told(),
              script.folder() + "/mosscfg\n" + script.folder() + "\n[/show]\n[a b]\n[$(id)]\n");
}

TEST_F(account_service_test, is_read_by_any_thread_while_documents_change) {
    first_.serve({answer(document("x"))});
    ASSERT_TRUE(service().update());
    std::atomic<bool> is_over = false;
    std::atomic<int> wrong = 0;
    test_support::in_threads(3, [&](int number) {
        if (number == 0) {
            for (int i = 0; i < 20; ++i) EXPECT_TRUE(service().update());
            is_over = true;
        }
        while (!is_over) {
            const std::string value = service().setting(tag_setting);
            if (!value.empty() && value != "x") ++wrong;
            if (service().last_setting(tag_setting) != "x") ++wrong;
        }
    });
    EXPECT_EQ(wrong, 0);
}

TEST_F(account_service_test, is_one_for_the_process_until_it_is_shut_down) {
    first_.serve({answer(document("x"))});
    account_service::shutdown();
    EXPECT_EQ(&account_service::instance(), &account_service::instance());
    EXPECT_TRUE(account_service::instance().update());
    account_service::shutdown();
    EXPECT_FALSE(account_service::instance().document_loaded());
    account_service::shutdown();
}

}  // namespace
