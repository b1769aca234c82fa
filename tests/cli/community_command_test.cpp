#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/child_process.h"
#include "support/community_home.h"
#include "support/kept_home.h"

namespace {

using namespace test_support;
using std::string;
using testing::AllOf;
using testing::HasSubstr;
using testing::MatchesRegex;
using texts = std::vector<string>;

const string mail = "From: Ann <ann@example.org>\nSubject: hi\n\nSee you at the station at noon.\n";

// Says of the first signature asked for: id 300, three reports, one revoke, ten matches.
replies known_spam(const string& request) {
    if (!request.starts_with("MATCH")) return {};
    return {response_to(request, "SCHEMA=1\tDB-SERIAL=BA\tDB-AGE=B", "A\tEs\tB\tA\tD\tB\tK\r\n")};
}

TEST(community_command, a_fresh_machine_asks_nobody_and_says_how_that_changes) {
    const kept_home home;
    const string how = "community use HOST";
    EXPECT_THAT(home.refused({"community", "servers"}), HasSubstr(how));
    EXPECT_THAT(home.refused({"community", "ping"}), HasSubstr(how));
    EXPECT_THAT(home.refused({"community", "reset"}), HasSubstr(how));
    EXPECT_THAT(home.done({"doctor"}), AllOf(HasSubstr("community      ok"), HasSubstr(how)));
    EXPECT_EQ(home.done({"vote", "spam", "-"}, mail),
              "spam  -  (not sent: no community is named)\n");
    EXPECT_EQ(home.done({"vote", "ham", "--json", "-"}, mail),
              R"({"file":"-","vote":"ham","sent":false,"not_sent":"no community is named"})"
              "\n");
}

TEST(community_command, looks_messages_up_and_sends_votes_where_a_server_is_named) {
    scripted_peer peer(community_server(known_spam));
    const kept_home home;
    EXPECT_EQ(home.done({"community", "use", peer.host()}),
              "Messages are looked up at " + peer.host() + ".\n");
    EXPECT_THAT(home.done({"score", "--json", "-"}, mail),
                AllOf(HasSubstr(R"("rating":75,)"),
                      HasSubstr(R"("matched":true,"id":300,"state":0,"reports":3,"revokes":1,)"
                                R"("matches":10)")));
    EXPECT_EQ(peer.requests_of("TOUCH", 1).size(), 1u);
    EXPECT_EQ(home.done({"vote", "spam", "-"}, mail), "spam  -\n");
    EXPECT_THAT(peer.requests_of("REPORT-MSG", 1), testing::ElementsAre(HasSubstr("Subject: hi")));
    EXPECT_EQ(home.done({"vote", "ham", "--json", "-"}, mail),
              R"({"file":"-","vote":"ham","sent":true})"
              "\n");
    peer.requests_of("REVOKE-MSG", 1);
    EXPECT_THAT(home.done({"stats"}),
                AllOf(HasSubstr("Protocol  Queries  1\n"), HasSubstr("Protocol  Errors  0\n")));

    EXPECT_EQ(home.done({"community", "use", "--none"}),
              "Messages are rated by the local tests alone.\n");
    const std::size_t requests = peer.requests().size();
    home.done({"rules", "allow", "clear"});  // on which the vote has put the sender
    EXPECT_THAT(home.done({"score", "-"}, mail), testing::StartsWith("  0  HAM"));
    EXPECT_EQ(peer.requests().size(), requests);
}

TEST(community_command, shows_the_servers_that_answer) {
    scripted_peer peer([](const string& request) -> replies {
        return {response_to(request,
                            "SRV-FQDN=one%2Eexample\tSRV-LOCATION=%1B%5BOslo\tDB-SERIAL=BA\t"
                            "DB-AGE=Es\tSRV-PROVIDER=p\tSRV-AGE=C\tSCHEMA=1")};
    });
    const kept_home home;
    home.done({"community", "use", peer.host()});
    EXPECT_THAT(home.done({"community", "servers"}),
                MatchesRegex("[0-9]+ ms  " + peer.host() +
                             "  one.example  [^\x1b]+  database 64, 300 s old\n"));
    EXPECT_THAT(
        home.done({"community", "servers", "--json"}),
        AllOf(HasSubstr(R"({"address":"127.0.0.1","port":)"), HasSubstr(R"("name":"one.example")"),
              HasSubstr(R"("location":"\u001b[Oslo","provider":"p","database_serial":64,)"
                        R"("database_age":300,"server_age":2})")));
    EXPECT_THAT(home.done({"community", "ping"}), MatchesRegex("answered in [0-9]+ ms\n"));
    EXPECT_THAT(home.done({"community", "ping", "--json"}),
                MatchesRegex(R"(\{"answered":true,"latency":[0-9]+\}
)"));
    EXPECT_EQ(home.done({"community", "reset"}), "servers that answer: 1, that do not: 0\n");
    EXPECT_EQ(home.done({"community", "reset", "--json"}), R"({"servers":1,"unreachable":0})"
                                                           "\n");
    EXPECT_THAT(home.done({"doctor"}),
                HasSubstr("on, " + peer.host() + "; servers that answer: 1, the fastest in "));
}

TEST(community_command, tells_of_votes_and_servers_that_get_no_answer) {
    scripted_peer silent([](auto&) { return replies{}; });
    const kept_home home;
    home.done({"community", "use", silent.host()});
    program_result result = home.run({"vote", "spam", "-"}, mail);
    EXPECT_EQ(result.code, 2);
    EXPECT_EQ(result.out, "spam  -  (not sent: no server answers)\n");
    EXPECT_THAT(result.err, HasSubstr("not sent"));
    EXPECT_THAT(home.done({"stats"}), HasSubstr("User  Blocked  1\n"));  // it counts here
    EXPECT_THAT(home.refused({"community", "servers"}), HasSubstr("no server answers"));
    result = home.run({"doctor"});
    EXPECT_EQ(result.code, 2);
    EXPECT_THAT(result.out, HasSubstr("community      WRONG  no server answers at"));
}

TEST(community_command, a_vote_too_large_for_a_datagram_is_told) {
    const scripted_peer peer(community_server(known_spam));
    const kept_home home;
    home.done({"community", "use", peer.host()});
    const program_result result =
        home.run({"vote", "spam", "-"}, mail + string(70'000, 'x') + "\n");
    EXPECT_EQ(result.code, 2);
    EXPECT_EQ(result.out, "spam  -  (not sent: the message is too large for a datagram)\n");
}

TEST(community_command, takes_several_servers_and_refuses_what_is_none) {
    const kept_home home;
    EXPECT_EQ(home.done({"community", "use", "--json", "a.example", "192.0.2.1:65535"}),
              R"({"servers":"a.example 192.0.2.1:65535","on":true})"
              "\n");
    for (const char* const wrong : {"", ":2409", "a:", "a:0", "a:65536", "a:1x", "a:-1", "::1",
                                    "a:1:2", "a b", "a\tb", "http://a", "\xC3\xA9.example"}) {
        SCOPED_TRACE(wrong);
        home.refused({"community", "use", "good.example", wrong});
    }
    const string host(253, 'a');
    home.refused({"community", "use", host + "a"});
    home.refused({"community", "use"});
    home.refused({"community", "use", "a", "--none"});
    EXPECT_EQ(home.done({"registry", "get", "--machine", "Community", "Server"}),
              "a.example 192.0.2.1:65535\n");
    EXPECT_EQ(home.done({"registry", "get", "--machine", "Community", "Refresh"}), "3600\n");

    home.done({"registry", "set", "--machine", "Community", "Refresh", "60"});
    home.done({"community", "use", "b.example", host});
    EXPECT_EQ(home.done({"registry", "get", "--machine", "Community", "Refresh"}), "60\n");
}

TEST(community_command, says_where_it_may_not_write) {
    const kept_home home;
    home.done({"stats"});
    home.done({"community", "use", "a.example"});
    namespace fs = std::filesystem;
    const auto for_all = fs::perms::others_read | fs::perms::others_exec;
    fs::permissions(home.folder().path(), for_all, fs::perm_options::add);
    fs::permissions(home.path(""), for_all, fs::perm_options::add);
    for (const auto& file : fs::directory_iterator(home.path(""))) {
        fs::permissions(file.path(), for_all, fs::perm_options::add);
    }
    child_process other([&] {
        become_nobody();
        const program_result result = home.run({"community", "use", "b.example"});
        require(result.code == 2, "it was written");
        require(result.err.find("nothing is changed") != string::npos, result.err.c_str());
    });
    EXPECT_EQ(other.wait(), 0);
    EXPECT_EQ(home.done({"registry", "get", "--machine", "Community", "Server"}), "a.example\n");
}

}  // namespace
