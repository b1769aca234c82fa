#include "services/footer_engine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "account/account_service.h"
#include "foundation/module.h"
#include "foundation/registry.h"
#include "message/part.h"
#include "platform/paths.h"
#include "support/failure_text.h"
#include "support/heard_log.h"
#include "support/http_peer.h"
#include "support/mail_text.h"
#include "support/temporary_folder.h"

namespace {

namespace registry = replay::registry2;
using brindlemoss::module;
using brindlemoss::services::footer_account;
using brindlemoss::services::footer_engine;
using brindlemoss::services::footer_outcome;
using registry::tree_key;
using std::string;
using std::chrono::milliseconds;
using test_support::http_peer;
using test_support::join;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::StartsWith;

const string url_setting = "BrindlemossLogin.URL.Email";

string document(const string& plain, const string& html) {
    return "<?xml version=\"1.0\"?>\r\n<Brindlemoss>\r\n\t<MailTag>\r\n<PlainTxt>" + plain +
           "</PlainTxt>\r\n<HtmlTxt>" + html + "</HtmlTxt></MailTag></Brindlemoss>";
}

string answer(const string& body, const string& status = "200 OK") {
    return "HTTP/1.1 " + status + "\r\n\r\n" + body;
}

class footer_engine_test : public testing::Test {
protected:
    footer_engine_test() { registry::close_all(); }
    ~footer_engine_test() override { registry::close_all(); }

    std::unique_ptr<footer_engine> make() {
        const footer_account account{
            [this] { return is_logged_in; },
            [this] {
                ++logins;
                return can_log_in;
            },
            [this](std::string_view name) { return settings[string(name)]; },
        };
        return std::make_unique<footer_engine>(
            module::instance().log_of(brindlemoss::subsystem::footer), account, limit);
    }

    std::unique_ptr<footer_engine> make_from(const http_peer::answer& given) {
        http_peer server;
        server.serve({given});
        settings[url_setting] = server.url("/wording.xml?a=b");
        auto made = make();
        requests = server.requests();
        return made;
    }

    std::unique_ptr<footer_engine> make_with(const string& plain,
                                             const string& html = "&lt;i&gt;F&lt;/i&gt;") {
        return make_from({answer(document(plain, html))});
    }

    // Is without a footer in every way, for a reason that is logged.
    void expect_none(const footer_engine& engine, const string& logged) {
        EXPECT_FALSE(engine.enabled());
        EXPECT_EQ(engine.get_footer(u"text/plain"), std::nullopt);
        string text = "\nmail\n";
        EXPECT_FALSE(engine.insert(text));
        EXPECT_EQ(text, "\nmail\n");
        EXPECT_THAT(log.take(),
                    ElementsAre(AllOf(StartsWith(logged), EndsWith(": " + engine.why_disabled()))));
    }

    static const registry::key& counters() {
        return registry::at(tree_key::user_statistics_filter);
    }
    static const registry::key& options() { return registry::at(tree_key::user_outbound_emails); }

    std::vector<string> requests;  // that the last server got
    test_support::heard_log<brindlemoss::subsystem::footer> log;
    std::map<string, string> settings;
    milliseconds limit = footer_engine::longest_fetch;
    bool is_logged_in = true;
    bool can_log_in = true;
    int logins = 0;

private:
    const test_support::temporary_folder folder_;
    const replay::platform::paths::scoped_home home_{folder_.path("home")};
};

TEST_F(footer_engine_test, fills_the_wording_of_the_server) {
    counters().set_integer(u"Blocked", 4'294'967'295u);
    const auto engine = make_with("\t|br|-- |br||Blocked||Blocked|br|\xD0\x96",
                                  "&lt;p&gt;|br||blocked|&amp;lt;|Blocked|&lt;/p&gt;");
    EXPECT_EQ(engine->get_footer(u"text/plain"), u"\r\n-- \r\n-1|Blocked\r\n\u0416");
    EXPECT_EQ(engine->get_footer(u"Text/HTML"), u"<p><br>|blocked|&lt;-1</p>");
    EXPECT_EQ(engine->get_footer(u"text/rtf"), std::nullopt);
    EXPECT_THAT(requests, ElementsAre(StartsWith("GET /wording.xml?a=b HTTP/1.1\r\n")));
    EXPECT_EQ(logins, 0);
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(footer_engine_test, is_on_when_the_account_or_the_user_says_so) {
    struct row {
        const char* mail_tag;
        std::optional<std::uint32_t> option;
        bool is_on;
    };
    const row rows[] = {{"1", 0, true}, {"", 0, false}, {"1 ", 0, false},
                        {"", 1, true},  {"0", 2, true}, {"", {}, true}};
    for (const row& each : rows) {
        SCOPED_TRACE(string(each.mail_tag) + "/" + testing::PrintToString(each.option));
        settings["BrindlemossLogin.Parameters.MailTag"] = each.mail_tag;
        if (options().get_raw(u"Insert Footer")) options().delete_value(u"Insert Footer");
        if (each.option) options().set_integer(u"Insert Footer", *each.option);
        const auto engine = make_with("p");
        EXPECT_EQ(engine->enabled(), each.is_on);
        EXPECT_EQ(requests.size(), each.is_on ? 1u : 0u);
        if (!each.is_on) expect_none(*engine, "0 No footer: it is switched off");
    }
    EXPECT_EQ(options().get_raw(u"Insert Footer")->bytes, string("\1\0\0\0", 4));  // written back
    EXPECT_EQ(counters().get_raw(u"Blocked")->bytes, string(4, '\0'));
}

TEST_F(footer_engine_test, logs_in_once_where_nobody_has) {
    is_logged_in = false;
    EXPECT_TRUE(make_with("p")->enabled());
    EXPECT_EQ(logins, 1);

    can_log_in = false;
    expect_none(*make_with("p"), "3 No footer: the account could not be logged in to");
    EXPECT_EQ(logins, 2);
    EXPECT_THAT(requests, IsEmpty());
}

TEST_F(footer_engine_test, goes_without_where_the_wording_cannot_be_had) {
    const string had = "3 No footer: the wording could not be had: ";
    expect_none(*make_from({answer(document("p", "h"), "204 No")}),
                "3 No footer: the server of the wording answered with status 204");
    string large = document("p", "h");
    large.resize(1 << 20, 'x');
    EXPECT_EQ(make_from({answer(large)})->get_footer(u"text/plain"), u"p");
    expect_none(*make_from({answer(large + 'x')}), had + "http.invalid_response");
    limit = milliseconds(50);
    expect_none(*make_from({"HTTP/1.1 200 OK\r\nA: b", "", http_peer::answer::ending::wait}),
                had + "socket.timeout[Transfer took too long]");
    settings[url_setting] = "";
    expect_none(*make(), "3 No footer: the account's settings name no wording");
    settings[url_setting] = "http:///wording.xml";
    expect_none(*make(), had + "socket.invalid_name");
}

struct mail_row {
    string before;
    std::optional<string> after;
    footer_outcome outcome = footer_outcome::added;
};
const std::optional<string> as_it_was;

void expect_rows(const footer_engine& engine, const std::vector<mail_row>& rows) {
    for (const mail_row& each : rows) {
        SCOPED_TRACE(each.before);
        string text = each.before;
        EXPECT_EQ(engine.insert_and_tell(text), each.outcome);
        EXPECT_EQ(text, each.after.value_or(each.before));
        if (each.outcome != footer_outcome::added) continue;
        EXPECT_EQ(engine.insert_and_tell(text), footer_outcome::already_there);
        EXPECT_EQ(text, each.after);
    }
}

// Bare line feeds become what is written: CR LF.
string crlf(const string& text) {
    return join(test_support::split_slowly(text, false));
}

const string plain_head = "Content-Type: text/plain; charset=\"us-ascii\"\n";
const string html_head = "Content-Type: text/html; charset=\"us-ascii\"\n";
const string mixed_head = "Content-Type: multipart/mixed; boundary=\"b\"\n\n";

TEST_F(footer_engine_test, writes_it_into_texts_attached_or_not_but_not_into_attached_mail) {
    using enum footer_outcome;
    const string footer = "<!-- Brindlemoss Signature --><i>F</i>";
    const string both = mixed_head + "--b\n" + plain_head + "\nx\n--b\n" + html_head;
    const string both_after = mixed_head + "--b\n" + plain_head + "\nx\n--\nF\n--b\n" + html_head;
    const string file = "Newsgroups: a\n" + plain_head + "Content-Disposition: attachment\n\nx\n";
    const string mail = "Content-Type: message/rfc822\n\n" + plain_head + "\n--\nF\n";
    const string picture = "Content-Type: image/png\nContent-Transfer-Encoding: base64\n\nAAEC\n";
    const auto engine = make_with("--|br|F");
    expect_rows(
        *engine,
        {{"A: b\n" + plain_head + "\nx\ny", crlf("A: b\n" + plain_head + "\nx\ny\n--\nF\n")},
         {plain_head + "\nx\n", crlf(plain_head + "\nx\n\n--\nF\n")},  // an empty line remains
         {both + "\n<p>x</body></html>\n--b--\n",
          crlf(both_after + "\n<p>x" + footer + "</body></html>\n\n--b--\n")},
         {both + "\n<p>x</body\n--b--", crlf(both_after + "\n<p>x</body\n\n--b--\n")},
         {html_head + "\n<B>\xC9</BoDY></body>",
          crlf(html_head + "\n<B>\xC9" + footer + "</BoDY></body>\n\n")},
         {html_head + "\n--\nF <!-- brindlemoss signature --></body>",
          crlf(html_head + "\n--\nF <!-- brindlemoss signature -->" + footer + "</body>\n\n")},
         {plain_head + "\n<!-- Brindlemoss Signature -->",
          crlf(plain_head + "\n<!-- Brindlemoss Signature -->\n--\nF\n")},
         {mixed_head + "--b\n" + file + "--b\n" + mail + "--b--\n",
          crlf(mixed_head + "--b\n" + file + "--\nF\n--b\n" + mail + "\n--b--\n")},
         {"A:\n  b\n" + picture, crlf("A: b\n" + picture), no_place},
         {mail, crlf(mail + "\n\n"), no_place}});
    string text = picture;
    EXPECT_TRUE(engine->insert(text));
    EXPECT_EQ(text, crlf(picture));
}

TEST_F(footer_engine_test, keeps_charset_and_coding_while_they_can_hold_it) {
    const auto plain = [](const string& charset, const string& more, const string& body) {
        return "Content-Type: text/plain; charset=\"" + charset + "\"\n" + more + "\n" + body;
    };
    const string base64 = "Content-Transfer-Encoding: base64\n";
    const string quoted = "Content-Transfer-Encoding: quoted-printable\n";
    expect_rows(
        *make_with("\xD0\x96="),  // U+0416
        {{plain("iso-8859-1", "", "\xE9"), crlf(plain("utf-8", "", "\xC3\xA9\n\xD0\x96=\n"))},
         {"\nx", crlf(plain("utf-8", "", "x\n\xD0\x96=\n"))},
         {plain("koi8-r", "", "\xC1"), crlf(plain("koi8-r", "", "\xC1\n\xF6=\n"))},
         {plain("windows-1251", base64, "5A=="), crlf(plain("windows-1251", base64, "5MY9\n"))},
         {plain("us-ascii", quoted, "x=3D=\ny"),
          crlf(plain("utf-8", quoted, "x=3Dy\n=D0=96=3D\n"))}});
    // A byte holds each of the first 256 characters, whatever the charset's name.
    expect_rows(*make_with("\xC3\xA9"), {{plain_head + "\nx", crlf(plain_head + "\nx\n\xE9\n")}});
}

TEST_F(footer_engine_test, refuses_what_is_to_have_none) {
    using enum footer_outcome;
    const string almost = "\n> abcab\nabcabcabd";  // the second line holds one that overlaps
    const string marked = html_head + "\n<!-- Brindlemoss Signature -->";
    const string one_of_two =
        mixed_head + "--b\n\nx\n--b\n" + plain_head + "\nabcab\nabcabd.\n--b--\n";
    expect_rows(*make_with("abcab|br|abcabd"),
                {{"newsGroups: a.b\n\nx", as_it_was, news_posting},
                 {"Content-Type: Multipart/Signed; boundary=b\n\n--b\n\nx\n--b--\n", as_it_was,
                  signed_mail},
                 {"\n> abcab\nabcabd", as_it_was, already_there},
                 {almost, "Content-Type: text/plain; charset=\"iso-8859-1\"\r\n" +
                              crlf(almost + "\nabcab\nabcabd\n")},
                 {one_of_two, as_it_was, already_there},
                 {marked, as_it_was, already_there}});
    expect_rows(*make_with("", ""),
                {{mixed_head + "--b\n\nx\n--b\n" + html_head + "\n</body>\n--b--\n", as_it_was,
                  no_plain_text},
                 {html_head + "\n</body>", crlf(marked + "</body>\n\n")}});
}

TEST_F(footer_engine_test, leaves_a_message_alone_that_cannot_be_read) {
    const auto engine = make_with("F");
    const string rows[] = {
        mixed_head + "--b\n\nx\n--b\nContent-Type: text/plain; charset=windows-9999\n\nx\n--b--\n",
        "Content-Type: text/plain; charset=windows-932\n\n\x81",
    };
    for (const string& before : rows) {
        string text = before;
        EXPECT_NE(test_support::failure_of([&] { engine->insert(text); }), "") << before;
        EXPECT_EQ(text, before);
    }
}

TEST_F(footer_engine_test, the_one_of_the_process_stays_until_the_module_is_unloaded) {
    using brindlemoss::account::account_service;
    account_service::shutdown();
    http_peer accounts;
    http_peer wordings;
    const registry::key& account = registry::at(tree_key::machine_account);
    account.set_text(u"Host", u"127.0.0.1");
    account.set_integer(u"Port 1", accounts.port());
    accounts.serve({{answer("<BrindlemossLogin><URL><Email>" + wordings.url() + "<")}});
    wordings.serve({{answer(document("|Blocked|", ""))}});
    footer_engine& first = footer_engine::instance();
    EXPECT_EQ(first.get_footer(u"text/plain"), u"0") << first.why_disabled();
    counters().set_integer(u"Blocked", 5);
    EXPECT_EQ(&footer_engine::instance(), &first);
    EXPECT_EQ(first.get_footer(u"text/plain"), u"0");

    module::instance().unload();
    EXPECT_EQ(footer_engine::instance().get_footer(u"text/plain"), u"5");
    EXPECT_EQ(accounts.requests().size(), 1u);  // logged in it is
    EXPECT_EQ(wordings.requests().size(), 2u);
    module::instance().unload();
    account_service::shutdown();
}

}  // namespace
