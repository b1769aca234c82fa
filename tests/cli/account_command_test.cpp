#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "foundation/md5.h"
#include "support/child_process.h"
#include "support/http_peer.h"
#include "support/kept_home.h"
#include "support/pseudo_terminal.h"

namespace {

using namespace test_support;
using std::string;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;
using texts = std::vector<string>;

const string approved =
    "<BrindlemossLogin><Login><Access>Approved</Access></Login>\r\n"
    "<Greeting>1 &lt; 2\t!</Greeting></BrindlemossLogin>";

http_peer::answer ok(const string& body) {
    return {"HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" +
            body};
}

string port_of(const http_peer& peer) {
    return std::to_string(peer.port());
}

// One that refuses connections.
string dead_port() {
    return std::to_string(listener().port());
}

string password_digest(const string& password) {
    return replay::md5(password).hex();
}

class account_home : public kept_home {
public:
    void use(const string& first_port, const string& second_port) const {
        done({"registry", "set", "--machine", "Account", "Host", "127.0.0.1"});
        done({"registry", "set", "--machine", "Account", "Port 1", first_port});
        done({"registry", "set", "--machine", "Account", "Port 2", second_port});
    }

    string stored(const string& name) const { return done({"registry", "get", "Account", name}); }

    // Whether any file below the home holds these bytes, as they stand or as 16-bit units.
    bool holds(const string& bytes) const {
        string wide;
        for (const char byte : bytes) wide.append({byte, '\0'});
        for (const auto& file : std::filesystem::recursive_directory_iterator(folder().path())) {
            if (!file.is_regular_file()) continue;
            const string content =
                folder().read(file.path().string().substr(folder().path().size() + 1));
            if (content.find(bytes) != string::npos || content.find(wide) != string::npos) {
                return true;
            }
        }
        return false;
    }

    string log() const { return folder().read("home/Logs/Core.log.txt"); }
};

TEST(account_command, a_fresh_machine_asks_nobody_and_says_how_that_changes) {
    const kept_home home;
    for (const texts& command : {texts{"login"}, {"update"}, {"setting", "a"}, {"create", "ann"}}) {
        SCOPED_TRACE(command[0]);
        texts arguments = command;
        arguments.insert(arguments.begin(), "account");
        EXPECT_THAT(home.refused(arguments, "secret\n"),
                    HasSubstr("no account server is named: 'brindlemoss registry set --machine "
                              "Account Host NAME' names one"));
    }
    const program_result result = home.run({"account", "login", "--json"});
    EXPECT_EQ(result.code, 2);
    EXPECT_THAT(result.out, StartsWith(R"({"done":false,"access":"","disabled":false,)"
                                       R"("from_cache":false,"age":null,"error":"no account)"));
}

TEST(account_command, logs_in_at_the_second_port_where_the_first_refuses) {
    http_peer peer;
    peer.serve({ok(approved)});
    const account_home home;
    home.use(dead_port(), port_of(peer));
    EXPECT_EQ(home.done({"account", "login"}), "Logged in.\n");
    EXPECT_THAT(peer.requests(),
                ElementsAre(StartsWith("GET /component/loginxml.asp?Pr=1&Pa=0&SV=&I=0&OSV=")));
    EXPECT_EQ(home.done({"account", "update"}), "The settings are up to date.\n");
    EXPECT_EQ(home.done({"account", "update", "--json"}),
              R"({"done":true,"access":"Approved","disabled":false,"from_cache":false,"age":null})"
              "\n");
}

TEST(account_command, prints_settings_of_the_kept_document_without_network) {
    const account_home home;
    {
        http_peer peer;
        peer.serve({ok(approved)});
        home.use(port_of(peer), dead_port());
        EXPECT_EQ(home.done({"account", "setting", "BrindlemossLogin.Greeting"}), "1 < 2!\n");
    }
    const string first = dead_port();
    home.use(first, dead_port());
    program_result result = home.run({"account", "setting", "brindlemosslogin.greeting"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.out, "1 < 2!\n");
    EXPECT_THAT(result.err, StartsWith("brindlemoss: these are the settings of less than a minute "
                                       "ago; no newer ones come: 127.0.0.1:" +
                                       first + " does not answer; "));
    result = home.run({"account", "setting", "--json", "No.Such"});
    EXPECT_EQ(result.out, R"({"name":"No.Such","value":""})"
                          "\n");

    home.use(first, dead_port());
    result = home.run({"account", "login", "--json"});
    EXPECT_EQ(result.code, 0);
    EXPECT_THAT(result.out, MatchesRegex(R"(\{"done":true,"access":"Approved","disabled":false,)"
                                         R"("from_cache":true,"age":[0-9]+\}
)"));
    EXPECT_THAT(home.refused({"account", "update"}), HasSubstr("no settings come from"));
    home.done({"registry", "set", "Account/Cache", "Ignore", "any"});
    EXPECT_THAT(home.refused({"account", "login"}), HasSubstr("127.0.0.1:" + first));
}

TEST(account_command, a_newer_document_counts_from_the_next_login_on) {
    http_peer peer;
    peer.serve({ok("<a>1"), ok("<a>2"), ok("<a>3")});
    const account_home home;
    home.use(port_of(peer), dead_port());
    EXPECT_EQ(home.done({"account", "setting", "a"}), "1\n");
    for (const char* const value : {"1\n", "2\n"}) {
        const program_result result = home.run({"account", "setting", "a"});
        EXPECT_EQ(result.out, value);
        EXPECT_THAT(result.err, HasSubstr("newer ones have come"));
    }
}

TEST(account_command, says_how_old_the_kept_document_is) {
    http_peer peer;
    peer.serve({ok(approved)});
    const account_home home;
    home.use(port_of(peer), dead_port());
    home.done({"account", "login"});
    const long expiry = std::stol(home.done({"registry", "get", "Account/Cache", "Expiry"}));

    struct row {
        long age;
        const char* text;
    };
    for (const row& each : {row{60, "1 minute ago"}, row{3 * 3600 + 60, "3 hours ago"},
                            row{86'400 + 60, "1 day ago"}}) {
        SCOPED_TRACE(each.text);
        // What was kept then, with its digest.
        const string then = std::to_string(expiry - each.age);
        string bytes = approved;
        std::erase_if(bytes,
                      [](char byte) { return byte == '\r' || byte == '\n' || byte == '\t'; });
        const string hash = replay::md5("\x71\x23\x6C\x6B\xA7" + then + bytes)
                                .base64(replay::coding::translate::padding::none);
        home.use(dead_port(), dead_port());
        home.done({"registry", "set", "Account/Cache", "Expiry", then});
        home.done({"registry", "set", "Account/Cache", "Hash", hash});
        EXPECT_THAT(home.run({"account", "login"}).err, HasSubstr(each.text));
    }
}

TEST(account_command, tells_what_is_wrong_with_the_server) {
    struct row {
        const char* name;
        http_peer::answer answer;
        const char* told;
    };
    const row rows[] = {
        {"an error", {"HTTP/1.1 500 No\r\nContent-Length: 0\r\n\r\n"}, "the error 500"},
        {"early end", {"HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\n<a>"}, "hangs up too early"},
        {"no HTTP", {"SSH-2.0-x\r\n"}, "sends what is no answer"},
        {"nothing", {""}, "hangs up too early"},
    };
    for (const row& each : rows) {
        SCOPED_TRACE(each.name);
        http_peer peer;
        peer.serve({each.answer});
        const account_home home;
        home.use(port_of(peer), port_of(peer));
        EXPECT_THAT(home.refused({"account", "login"}),
                    AllOf(HasSubstr("127.0.0.1:" + port_of(peer)), HasSubstr(each.told)));
        EXPECT_EQ(peer.requests().size(), 2u);
    }
}

TEST(account_command, tells_a_login_that_the_server_does_not_accept) {
    http_peer peer;
    peer.serve({ok("<BrindlemossLogin><Login><Access>No\x1B[2J"),
                ok("<BrindlemossLogin><Login><Access>Approved<Disabled>1"), ok("<x>")});
    const account_home home;
    home.use(port_of(peer), dead_port());
    home.done({"registry", "set", "Account/Cache", "Ignore", "any"});
    EXPECT_THAT(home.refused({"account", "login"}),
                AllOf(HasSubstr("does not accept the login"), HasSubstr("Account Identity NUMBER"),
                      Not(HasSubstr("\x1B"))));
    const program_result result = home.run({"account", "login", "--json"});
    EXPECT_EQ(result.code, 2);
    EXPECT_THAT(result.out, StartsWith(R"({"done":false,"access":"Approved","disabled":true,)"));
    EXPECT_THAT(result.err, HasSubstr("switched off"));
    EXPECT_THAT(home.done({"account", "login"}), HasSubstr("says nothing of the login"));
}

TEST(account_command, creates_an_account_and_keeps_its_password_to_itself) {
    http_peer peer;
    peer.serve({ok("<Registration><Creation>Failed</Creation></Registration>"),
                ok("<Registration><Creation>Done</Creation></Registration>")});
    const account_home home;
    home.use(port_of(peer), dead_port());
    home.done({"registry", "set", ".", "Debug Mode", "1"});
    EXPECT_THAT(home.refused({"account", "create", "Ann & Co"}, "first secret\n"),
                HasSubstr("refuses to create the account 'Ann & Co'"));
    EXPECT_EQ(home.stored("Password"), "\n");
    EXPECT_EQ(home.done({"account", "create", "Ann & Co"}, "open sesame\nmore\n"),
              "The account 'Ann & Co' is created.\n");
    EXPECT_EQ(home.stored("Name"), "Ann & Co\n");
    EXPECT_EQ(home.stored("Password"), password_digest("open sesame") + "\n");
    EXPECT_EQ(home.done({"account", "create", "ann", "--password", "p w", "--json"}),
              R"({"name":"ann","created":true})"
              "\n");
    const auto sent = [](const string& name, const string& password) {
        return AllOf(StartsWith("GET /component/registerxml.asp?"),
                     HasSubstr("&U=" + name + "&P=" + password_digest(password) + "&"));
    };
    EXPECT_THAT(peer.requests(),
                ElementsAre(sent("Ann%20%26%20Co", "first secret"),
                            sent("Ann%20%26%20Co", "open sesame"), sent("ann", "p w")));
    for (const char* const clear : {"first secret", "open sesame", "p w"}) {
        EXPECT_FALSE(home.holds(clear));
        EXPECT_THAT(home.log(), Not(HasSubstr(password_digest(clear))));
    }
    EXPECT_THAT(home.log(), HasSubstr("registerxml.asp?Pr=1"));  // else that was no proof
}

TEST(account_command, refuses_what_is_no_name_or_password) {
    http_peer peer;
    peer.serve({ok("<x>")});
    const account_home home;
    home.use(port_of(peer), dead_port());
    struct row {
        texts arguments;
        string input;
        const char* told;
    };
    const row rows[] = {
        {{"ann"}, "", "first line of standard input"},
        {{"ann"}, "\nsecret\n", "the password is empty"},
        {{"ann", "--password", ""}, "secret\n", "the password is empty"},
        {{"ann"}, string(5000, 'x'), "cannot be read"},
        {{""}, "secret\n", "the name is empty"},
        {{"\xE9"}, "secret\n", "the name"},
    };
    for (const row& each : rows) {
        SCOPED_TRACE(each.told);
        texts arguments{"account", "create"};
        arguments.insert(arguments.end(), each.arguments.begin(), each.arguments.end());
        EXPECT_THAT(home.refused(arguments, each.input), HasSubstr(each.told));
    }
    EXPECT_THAT(peer.requests(), IsEmpty());
    EXPECT_EQ(home.run({"account"}).code, 2);
    EXPECT_EQ(home.run({"account", "create"}).code, 2);
    EXPECT_EQ(home.run({"account", "setting"}).code, 2);
}

TEST(account_command, asks_twice_at_a_terminal_and_shows_nothing) {
    http_peer peer;
    peer.serve({ok("<x>")});
    const account_home home;
    home.use(port_of(peer), dead_port());
    struct row {
        texts typed;
        int code;  // a signal's, negative
    };
    for (const row& each : {row{{"secret\n", "secret\n"}, 0}, row{{"secret\n", "other\n"}, 2},
                            row{{"secret\x03"}, -SIGINT}}) {
        SCOPED_TRACE(each.code);
        const pseudo_terminal terminal;
        child_process child([&] {
            terminal.take_over();
            ::close(STDOUT_FILENO);
            ::execl(BRINDLEMOSS_PROGRAM, BRINDLEMOSS_PROGRAM, "--home", home.path("").c_str(),
                    "account", "create", "ann", nullptr);
        });
        string screen = terminal.screen_until("Password: ");
        EXPECT_FALSE(terminal.shows_keys());
        terminal.press(each.typed[0]);
        if (each.typed.size() > 1) {
            screen += terminal.screen_until("Once more: ");
            terminal.press(each.typed[1]);
        }
        EXPECT_EQ(child.wait(), each.code);
        EXPECT_TRUE(terminal.shows_keys());
        EXPECT_THAT(screen, Not(HasSubstr("secret")));
    }
    EXPECT_THAT(peer.requests(), ElementsAre(HasSubstr("&P=" + password_digest("secret") + "&")));
}

}  // namespace
