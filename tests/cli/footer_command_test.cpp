#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "support/http_peer.h"
#include "support/kept_home.h"

namespace {

using namespace test_support;
using std::string;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

const string head = "Content-Type: text/plain; charset=\"us-ascii\"\r\n\r\n";

// A home whose account is on a server that gives one document with its settings and the wording.
class served_home : public kept_home {
public:
    explicit served_home(const string& status = "200 OK") {
        const string url = server_.url("");
        server_.serve({{"HTTP/1.1 " + status +
                        "\r\n\r\n<BrindlemossLogin><Login><Access>Approved</Access></Login><URL>"
                        "<Email>" +
                        url +
                        "/</Email></URL></BrindlemossLogin><Brindlemoss>"
                        "<MailTag><PlainTxt>|Blocked| blocked</PlainTxt></MailTag>"}});
        done({"registry", "set", "--machine", "Account", "Host", "127.0.0.1"});
        for (const char* name : {"Port 1", "Port 2"}) {
            done({"registry", "set", "--machine", "Account", name, std::to_string(server_.port())});
        }
    }

private:
    http_peer server_;
};

// The message comes out as it went in; gives what is said of it.
string unchanged(const kept_home& home, const string& message) {
    const program_result result = home.run({"footer", "-"}, message);
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.out, message);
    EXPECT_THAT(result.err, StartsWith("brindlemoss: no footer in '-': "));
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    return result.err;
}

TEST(footer_command, prints_a_message_with_the_footer) {
    const served_home home;
    home.done({"registry", "set", "--type", "integer", "Statistics/Filter", "Blocked", "12"});
    const string with_footer = head + "x\r\n12 blocked\r\n";
    EXPECT_EQ(home.done({"footer", home.folder().file("mail.eml", head + "x")}), with_footer);
    // The settings are the kept ones now, and fetched anew behind.
    EXPECT_EQ(home.done({"footer", "-"}, head + "x"), with_footer);
    EXPECT_EQ(
        home.done({"footer", "--json", "-"},
                  "Content-Type: text/plain; charset=\"cp1252\"\n\n\xE9"),
        R"({"file":"-","added":true,"mail":"Content-Type: text/plain; charset=\"cp1252\"\r\n\r\n)"
        "\xC3\xA9"
        R"(\r\n12 blocked\r\n"})"
        "\n");
}

TEST(footer_command, leaves_a_message_as_it_is_and_says_why) {
    const served_home home;
    EXPECT_THAT(unchanged(home, "Newsgroups: a\n\nx"), HasSubstr("news posting"));
    EXPECT_THAT(unchanged(home, "\n0 blocked"), HasSubstr("it has one already"));
    EXPECT_THAT(unchanged(home, string("A:\n b\nContent-Type: a/b\n\n\0\xFF\r", 28)),
                HasSubstr("neither plain text nor HTML"));
    EXPECT_THAT(unchanged(home, "Content-Type: text/plain; charset=windows-9999\n\nx"),
                HasSubstr("cannot be read"));
    home.done({"registry", "set", "--type", "integer", "Outbound Emails", "Insert Footer", "0"});
    EXPECT_THAT(unchanged(home, "\nx"), HasSubstr("switched off"));
    EXPECT_EQ(home.run({"footer", "--json", "-"}, "\nx").out,
              R"({"file":"-","added":false,"reason":"it is switched off","mail":"\nx"})"
              "\n");
}

TEST(footer_command, goes_on_without_the_account) {
    const served_home home("500 Oh");
    EXPECT_THAT(unchanged(home, "\nx"), AllOf(HasSubstr("could not be logged in"),
                                              HasSubstr("answers with the error 500")));
    EXPECT_THAT(unchanged(kept_home(), "\nx"), HasSubstr("no account server is named"));
}

TEST(footer_command, refuses_what_is_no_file) {
    const kept_home home;
    EXPECT_THAT(home.refused({"footer", home.path("missing.eml")}), HasSubstr("missing.eml"));
    home.refused({"footer", home.folder().path()});
}

}  // namespace
