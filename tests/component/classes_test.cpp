#include "component/component_home.h"
#include "message/character_set.h"
#include "support/community_home.h"
#include "support/http_peer.h"
#include "support/paragraphs.h"
#include "support/scripted_peer.h"

namespace {

using namespace brindlemoss::component;
using std::string;
using std::u16string;
using test_support::http_peer;
using test_support::process_home;
using test_support::scripted_peer;
using test_support::wide;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

class classes_test : public test_support::component_test {};

string response(const string& body, const string& status = "200 OK") {
    return "HTTP/1.1 " + status + "\r\n\r\n" + body;
}

// What a method gives, whatever stood there before.
template <typename interface_type, typename method_type, typename... taken>
u16string text_of(interface_type& of, method_type method, const taken&... given) {
    u16string result = u"before";
    EXPECT_EQ((of.*method)(given..., result), success);
    return result;
}

template <typename interface_type, typename method_type, typename... taken>
bool is(interface_type& of, method_type method, const taken&... given) {
    truth result = 12;
    EXPECT_EQ((of.*method)(given..., result), success);
    EXPECT_TRUE(result == yes || result == no) << result;
    return result == yes;
}

template <typename interface_type, typename method_type, typename... taken>
std::int32_t number_of(interface_type& of, method_type method, const taken&... given) {
    std::int32_t result = 7777;
    EXPECT_EQ((of.*method)(given..., result), success);
    return result;
}

TEST_F(classes_test, codings) {
    using method = status (ICoding::*)(std::u16string_view, u16string&) noexcept;
    const struct {
        method translate;
        const char16_t* text;
        const char16_t* result;
    } rows[] = {
        {&ICoding::Base64Encode, u"A", u"QQ=="},
        {&ICoding::Base64Encode, u"\u00FF\u00FE", u"//4="},
        {&ICoding::Base64Encode, u"A\u0100", u""},
        {&ICoding::Base64Decode, u"//4", u"\u00FF\u00FE"},
        {&ICoding::Base64Decode, u"Q Q", u""},
        {&ICoding::Base64Decode, u"QQ\u0151", u""},
        {&ICoding::Base16Encode, u"\u00AB\n", u"ab0a"},
        {&ICoding::Base16Encode, u"\uFFFF", u""},
        {&ICoding::Base16Decode, u"aB0A", u"\u00AB\n"},
        {&ICoding::Base16Decode, u"ag", u""},
    };
    const auto coding = create<ICoding>();
    for (const auto& row : rows) EXPECT_EQ(text_of(*coding, row.translate, row.text), row.result);
    EXPECT_THAT(
        process_home.log(),
        HasSubstr("!  Coding: Base64Decode: translate.invalid_codeword[Invalid Codeword 0x20]"));
}

TEST_F(classes_test, digest) {
    const auto digest = create<IDigest>();
    EXPECT_EQ(text_of(*digest, &IDigest::MD5, u"abc"), u"900150983cd24fb0d6963f7d28e17f72");
    u16string all_bytes;
    for (char16_t unit = 0; unit < 256; ++unit) all_bytes += unit;
    EXPECT_EQ(text_of(*digest, &IDigest::MD5, all_bytes), u"e2c865db4162bed963bfaa9ef6ac18f0");
    EXPECT_EQ(text_of(*digest, &IDigest::MD5, u"abc\u20AC"), u"");
}

TEST_F(classes_test, settings_of_a_document) {
    const auto document = create<IXML>();
    EXPECT_EQ(text_of(*document, &IXML::Setting, u"a"), u"");
    document->Parse(u"<a>1\r\n\t2 &amp;lt; \xD800</a><b></b>");
    EXPECT_EQ(text_of(*document, &IXML::Setting, u"A"), u"12 &lt; \xD800");
    EXPECT_EQ(text_of(*document, &IXML::Setting, u"b"), u"");
    EXPECT_EQ(text_of(*document, &IXML::Setting, u"\xDC00"), u"");
    EXPECT_EQ(text_of(*create<IXML>(), &IXML::Setting, u"a"), u"");
    document->Parse(u"no tag");
    EXPECT_EQ(text_of(*document, &IXML::Setting, u"a"), u"");
}

TEST_F(classes_test, rules_move_a_sender_between_the_lists) {
    const auto rules = create<IRules>();
    const auto allowed = create<IRulesSenderAllowed>();
    const auto denied = create<IRulesSenderDenied>();
    EXPECT_EQ(number_of(*rules, &IRules::AllowAddress, u"A \u00E6@b.example"), 1);
    EXPECT_TRUE(is(*rules, &IRules::Allowed, u"a\u00E6@B.example"));
    // UTF-8 here, bytes there; the name is what was given.
    EXPECT_EQ(text_of(*allowed, &sender_rules::EnumerateAddresses),
              u"A \u00E6@b.example\ta\u00C3\u00A6@b.example\t\r");
    EXPECT_FALSE(is(*allowed, &sender_rules::Match, u"a\u00E6@b.example"));
    EXPECT_TRUE(is(*allowed, &sender_rules::Match, u"a\u00C3\u00A6@b.example"));

    EXPECT_EQ(number_of(*rules, &IRules::DenyAddress, u"a\u00E6@b.example"), 1);
    EXPECT_FALSE(is(*rules, &IRules::Allowed, u"a\u00E6@b.example"));
    EXPECT_TRUE(is(*rules, &IRules::Denied, u"a\u00E6@b.example"));

    EXPECT_EQ(number_of(*rules, &IRules::DenyDomain, u"x@c.example"), 1);
    EXPECT_TRUE(is(*rules, &IRules::Denied, u"z@c.example"));
    EXPECT_EQ(number_of(*rules, &IRules::AllowDomain, u"c.example"), 1);
    EXPECT_FALSE(is(*rules, &IRules::Denied, u"z@c.example"));
    EXPECT_EQ(text_of(*allowed, &sender_rules::EnumerateDomains), u"c.example\t\r");
    EXPECT_EQ(text_of(*denied, &sender_rules::EnumerateDomains), u"");

    const truth quiet = yes;
    EXPECT_EQ(rules->Silent(&quiet), success);
    EXPECT_EQ(rules->Silent(nullptr), invalid_call);
}

TEST_F(classes_test, a_broken_list_matches_nothing_and_says_so) {
    const auto rules = create<IRules>();
    create<IRulesSenderAllowed>()->WriteDomains(u"no tab");
    EXPECT_FALSE(is(*rules, &IRules::Allowed, u"a@b.example"));
    EXPECT_FALSE(is(*create<IRulesSenderAllowed>(), &sender_rules::Match, u"a@b.example"));
    EXPECT_THAT(process_home.log(),
                AllOf(HasSubstr("!  Rules: Allowed: m_unpack_domain failed"),
                      HasSubstr("!  Rules: Sender: Allowed: Match: m_unpack_domain failed")));
    EXPECT_EQ(number_of(*rules, &IRules::AllowDomain, u"b.example"), 1);
    EXPECT_EQ(text_of(*create<IRulesSenderAllowed>(), &sender_rules::EnumerateDomains),
              u"no tab\r");
}

// Both lists, each as the other of the other.
TEST_F(classes_test, sender_lists) {
    const std::unique_ptr<sender_rules> lists[] = {create<IRulesSenderAllowed>(),
                                                   create<IRulesSenderDenied>()};
    for (const int which : {0, 1}) {
        SCOPED_TRACE(which);
        sender_rules& list = *lists[which];
        sender_rules& other = *lists[1 - which];
        for (sender_rules* const each : {&list, &other}) {
            EXPECT_EQ(each->EmptyAddresses(), success);
            EXPECT_EQ(each->EmptyDomains(), success);
        }
        other.AddAddress(u"", u"a@b.example", u"");
        other.AddDomain(u"c.example", u"");
        EXPECT_EQ(list.AddAddress(u"N\u0151", u"A@b.example", u"\u65E5"), success);
        EXPECT_EQ(list.AddDomain(u"x@C.example", u"why"), success);
        EXPECT_EQ(text_of(list, &sender_rules::EnumerateAddresses),
                  u"N\u0151\ta@b.example\t\u65E5\r");
        EXPECT_EQ(text_of(list, &sender_rules::EnumerateDomains), u"c.example\twhy\r");
        EXPECT_EQ(text_of(other, &sender_rules::EnumerateAddresses), u"");
        EXPECT_EQ(text_of(other, &sender_rules::EnumerateDomains), u"");
        EXPECT_TRUE(is(list, &sender_rules::Match, u"A@B.example"));
        EXPECT_TRUE(is(list, &sender_rules::Match, u"z@c.example"));
        EXPECT_FALSE(is(list, &sender_rules::Match, u"z@d.example"));

        // What cannot be bytes changes nothing, on either list.
        other.AddAddress(u"", u"q@d.example", u"");
        EXPECT_EQ(list.AddAddress(u"", u"q\u0151@d.example", u""), success);
        EXPECT_TRUE(is(other, &sender_rules::Match, u"q@d.example"));

        EXPECT_EQ(list.WriteAddresses(u"B\te@f.example\t\rA\tE@f.example\t\r\tnobody\t\r"),
                  success);
        EXPECT_EQ(text_of(list, &sender_rules::EnumerateAddresses), u"A\te@f.example\t\r");
        EXPECT_EQ(list.WriteDomains(u"z.example\t\ry.example\t\r"), success);
        EXPECT_EQ(text_of(list, &sender_rules::EnumerateDomains), u"y.example\t\rz.example\t\r");
        EXPECT_EQ(list.RemoveAddress(u"E@F.example"), success);
        EXPECT_EQ(list.RemoveDomain(u"z.example"), success);
        EXPECT_EQ(text_of(list, &sender_rules::EnumerateAddresses), u"");
        EXPECT_EQ(text_of(list, &sender_rules::EnumerateDomains), u"y.example\t\r");
        EXPECT_EQ(list.Silent(1), success);
    }
}

TEST_F(classes_test, trust_comes_in_steps) {
    const auto trusted = create<IRulesSenderTrusted>();
    const auto rules = create<IRules>();
    keep({"--type", "integer", "Thresholds", "Trust Activation Delay", "0"});
    EXPECT_EQ(trusted->AddAddress(u"N", u"A\u00E6@b.example"), success);
    EXPECT_FALSE(is(*trusted, &IRulesSenderTrusted::Match, u"a\u00E6@b.example"));
    EXPECT_EQ(trusted->AddAddress(u"M", u"a\u00E6@b.example"), success);
    EXPECT_TRUE(is(*trusted, &IRulesSenderTrusted::Match, u"a\u00E6@b.example"));
    EXPECT_TRUE(text_of(*trusted, &IRulesSenderTrusted::EnumerateAddresses)
                    .starts_with(u"M\ta\u00E6@b.example\t2\t"));
    EXPECT_EQ(trusted->RemoveAddress(u"a\u00E6@b.example"), success);
    EXPECT_EQ(text_of(*trusted, &IRulesSenderTrusted::EnumerateAddresses), u"");

    EXPECT_EQ(rules->IncreaseTrust(u"C\u00E6@d.example"), success);
    EXPECT_TRUE(text_of(*trusted, &IRulesSenderTrusted::EnumerateAddresses)
                    .starts_with(u"C\u00E6@d.example\tc\u00C3\u00A6@d.example\t1\t"));
    EXPECT_EQ(rules->RemoveTrust(u"c\u00E6@d.example"), success);
    EXPECT_EQ(text_of(*trusted, &IRulesSenderTrusted::EnumerateAddresses), u"");
}

TEST_F(classes_test, version_of_what_is_installed) {
    keep({"--machine", "--type", "integer", "Installation", "Partner", "4294967295"});
    keep({"--machine", "Installation", "Version", "4.2 \u00E6"});
    keep({"--machine", "Installation", "Directory", "/opt/\u65E5/"});
    const auto version = create<IVersion>();
    EXPECT_EQ(number_of(*version, &IVersion::Partner), -1);
    EXPECT_EQ(text_of(*version, &IVersion::Current), u"4.2 \u00E6");
    EXPECT_EQ(text_of(*version, &IVersion::Path), u"/opt/\u65E5/");
    EXPECT_EQ(version->Remove(), success);  // of a product without a code
    EXPECT_THAT(process_home.log(), HasSubstr("!  Version: Remove: "));
}

TEST_F(classes_test, version_where_nothing_was_installed) {
    const auto version = create<IVersion>();
    const auto removed = test_support::run_program(
        {"--home", process_home.path(), "registry", "delete", "--machine", "Installation"});
    ASSERT_EQ(removed.code, 0) << removed.err;
    EXPECT_EQ(number_of(*version, &IVersion::Partner), 0);
    EXPECT_EQ(text_of(*version, &IVersion::Current), u"");
    EXPECT_EQ(text_of(*version, &IVersion::Path), u"");
    EXPECT_EQ(version->Remove(), success);
    EXPECT_THAT(process_home.log(), HasSubstr("!  Version: Partner: "));
}

TEST_F(classes_test, localization) {
    const test_support::temporary_folder installed;
    installed.file("Languages/EN0.ini", "[system]\n3=English\n4=English\n[a]\nb=one\n");
    installed.file("Languages/DA0.ini", "[system]\n3=Dansk\n4=Danish\n[A]\nB=\xC3\xA9n\n");
    keep({"--machine", "Installation", "Directory", installed.path() + "/"});
    const auto texts = create<ILocalization>();
    const auto get = [](ILocalization& from, std::u16string_view item) {
        return text_of(from, &ILocalization::GetString, u"a", item);
    };
    EXPECT_EQ(get(*texts, u"b"), u"before");
    EXPECT_EQ(texts->SetLanguage(u"DA"), success);
    EXPECT_EQ(texts->Reload(), success);
    EXPECT_EQ(get(*texts, u"B"), u"\u00E9n");
    EXPECT_EQ(get(*texts, u"\xD800"), u"before");
    EXPECT_EQ(texts->SetLanguage(u"EN"), success);
    EXPECT_EQ(get(*texts, u"b"), u"\u00E9n");  // until it is loaded anew
    const u16string rows = text_of(*texts, &ILocalization::GetLanguages);
    const u16string english = u"EN\tEnglish\tEnglish\r";
    const u16string danish = u"DA\tDansk\tDanish\r";
    EXPECT_TRUE(rows == english + danish || rows == danish + english);
    EXPECT_EQ(get(*create<ILocalization>(), u"b"), u"before");  // each object has its own
}

u16string mail_of(std::u16string_view text) {
    return wide("Content-Type: text/plain; charset=utf-8\n\n" +
                replay::unicode::from_wide(text, replay::unicode::utf8));
}

TEST_F(classes_test, language_recognition) {
    const auto languages = create<ILanguageRecognition>();
    const u16string english = mail_of(test_support::paragraphs[0].text);
    const u16string danish = mail_of(test_support::paragraphs[1].text);
    EXPECT_EQ(number_of(*languages, &ILanguageRecognition::Classify, danish), 1030);
    EXPECT_EQ(number_of(*languages, &ILanguageRecognition::Classify, u""), 0);
    EXPECT_TRUE(is(*languages, &ILanguageRecognition::Accept, danish));
    keep({"--type", "multi_text", "Language Recognition", "Languages", "1030"});
    EXPECT_FALSE(is(*languages, &ILanguageRecognition::Accept, danish));
    EXPECT_TRUE(is(*languages, &ILanguageRecognition::Accept, english));

    EXPECT_EQ(number_of(*languages, &ILanguageRecognition::Classify, danish + u"\u0100"), 0);
    EXPECT_FALSE(is(*languages, &ILanguageRecognition::Accept, english + u"\u0100"));
    EXPECT_THAT(process_home.log(), HasSubstr("!  Language: Accept: "));
}

TEST_F(classes_test, http) {
    http_peer peer;
    peer.serve({{response("a\xC3\xA6\xFF")},
                {response("gone", "404 Not Found")},
                {response("", "204 No Content")},
                {response("done", "201 Created")}});
    const auto http = create<IHTTP>();
    const u16string url = wide(peer.url("/x"));
    u16string document = u"before";
    std::int32_t code = 0;
    EXPECT_EQ(http->Get(url, document, code), success);
    EXPECT_EQ(code, 200);
    EXPECT_EQ(document, u"a\u00E6\uFFFD");
    EXPECT_EQ(http->Get(url, document, code), success);
    EXPECT_EQ(code, 404);
    EXPECT_EQ(document, u"gone");
    EXPECT_EQ(number_of(*http, &IHTTP::Status, url), 204);
    EXPECT_EQ(http->Post(url, u"\u00E6\xD800", document, code), success);
    EXPECT_EQ(code, 201);
    EXPECT_EQ(document, u"done");
    EXPECT_THAT(
        peer.requests(),
        ElementsAre(StartsWith("GET /x HTTP/1.1\r\n"), StartsWith("GET /x HTTP/1.1\r\n"),
                    StartsWith("HEAD /x HTTP/1.1\r\n"),
                    AllOf(StartsWith("POST /x HTTP/1.1\r\n"), HasSubstr("CONTENT-LENGTH: 5\r\n"),
                          EndsWith("\r\n\r\n\xC3\xA6\xEF\xBF\xBD"))));
}

TEST_F(classes_test, http_without_a_response) {
    http_peer peer;
    peer.serve({{"no HTTP\r\n"}});
    const auto http = create<IHTTP>();
    for (const u16string& url :
         {wide(peer.url()), u16string(u"http://127.0.0.1:1/"), u16string(),
          u16string(u"http://127.0.0.1:1/\n"), u16string(u"http://\xD800/")}) {
        u16string document = u"before";
        std::int32_t code = 7;
        EXPECT_EQ(http->Get(url, document, code), success);
        EXPECT_EQ(code, 0);
        EXPECT_EQ(document, u"");
        EXPECT_EQ(http->Post(url, u"x", document = u"before", code = 7), success);
        EXPECT_EQ(code, 0);
        EXPECT_EQ(document, u"");
        EXPECT_EQ(number_of(*http, &IHTTP::Status, url), 0);
    }
    EXPECT_THAT(process_home.log(), HasSubstr("!  HTTP: Get: "));
}

TEST_F(classes_test, communication) {
    const auto community = create<ICommunication>();
    EXPECT_FALSE(is(*community, &ICommunication::Ping));  // no server is named
    EXPECT_FALSE(is(*community, &ICommunication::Offline));
    EXPECT_EQ(community->Shutdown(), success);
    EXPECT_EQ(community->Shutdown(), success);

    scripted_peer peer(test_support::community_server(test_support::nothing_known));
    use_community(peer.host());
    EXPECT_TRUE(is(*community, &ICommunication::Ping));
    const std::size_t searches = peer.requests_of("DISCOVER").size();
    EXPECT_TRUE(is(*community, &ICommunication::Reset));
    EXPECT_GT(peer.requests_of("DISCOVER").size(), searches);
    unload();
    EXPECT_TRUE(is(*community, &ICommunication::Ping));  // it was not unloaded
    EXPECT_EQ(community->Shutdown(), success);
    EXPECT_TRUE(is(*community, &ICommunication::Ping));  // and begins anew
    EXPECT_EQ(peer.requests_of("MATCH").size(), 3u);
}

// A vote goes out in the library's own thread, also while the library is unloaded.
TEST_F(classes_test, a_vote_reaches_the_community) {
    scripted_peer peer(test_support::community_server(test_support::nothing_known));
    use_community(peer.host());
    const auto filter = create<IFilter>();
    for (const std::size_t count : {1, 2, 3}) {
        EXPECT_EQ(number_of(*filter, &IFilter::Vote, u"Subject: a\n\nhello\n", 1), 1);
        unload();
        peer.requests_of("REPORT-MSG", count);
    }
}

string account_document(const string& url, const string& name) {
    return "<BrindlemossLogin><Login><Access>Approved</Access><Name>" + name +
           "</Name></Login><URL><Email>" + url +
           "/tag</Email></URL></BrindlemossLogin><Brindlemoss><MailTag><PlainTxt>-- \xC3\xA6|br|"
           "end</PlainTxt><HtmlTxt>&lt;b/&gt;</HtmlTxt></MailTag></Brindlemoss>";
}

TEST_F(classes_test, account) {
    http_peer peer;
    peer.serve({{response(account_document("", "\xC3\xA6"))},
                {response("<Registration><Creation>Done</Creation></Registration>")},
                {response("oh", "500 Oh")}});
    use_account_server(peer.port());
    const auto account = create<IAccount>();
    const auto name = [&] {
        return text_of(*account, &IAccount::Setting, u"BrindlemossLogin.Login.Name");
    };
    EXPECT_EQ(account->Configure(), success);
    EXPECT_TRUE(is(*account, &IAccount::Update));
    EXPECT_EQ(name(), u"\u00E6");
    EXPECT_EQ(text_of(*account, &IAccount::Setting, u"Nobody.\xD800"), u"");
    EXPECT_TRUE(is(*account, &IAccount::Create, u"\u00E6\xD800", u"pass"));
    EXPECT_THAT(peer.requests().back(), AllOf(StartsWith("GET /component/registerxml.asp?"),
                                              HasSubstr("&U=%C3%A6%EF%BF%BD&"),
                                              HasSubstr("&P=1a1dc91c907325c69271ddf0c944bc72&")));
    EXPECT_FALSE(is(*account, &IAccount::Create, u"a", u"b"));
    EXPECT_FALSE(is(*account, &IAccount::Update));
    EXPECT_EQ(name(), u"");
    EXPECT_TRUE(is(*account, &IAccount::Login));  // by the document that was kept
    EXPECT_THAT(process_home.log(), HasSubstr("!  Account: Fetching "));
}

TEST_F(classes_test, footer) {
    http_peer peer;
    peer.serve({{response(account_document(peer.url(""), "x"))}});
    use_account_server(peer.port());
    ASSERT_TRUE(is(*create<IAccount>(), &IAccount::Update));
    const auto footer = create<IFooter>();
    u16string text = u"before";
    truth is_there = 12;
    EXPECT_EQ(footer->GetFooter(u"TEXT/Plain", text, is_there), success);
    EXPECT_EQ(is_there, yes);
    EXPECT_EQ(text, u"-- \u00E6\r\nend");
    EXPECT_EQ(footer->GetFooter(u"text/css", text = u"before", is_there), success);
    EXPECT_EQ(is_there, no);
    EXPECT_EQ(text, u"before");
    const struct {
        const char16_t* message;
        bool is_changed;
        const char16_t* after;
    } rows[] = {
        {u"Content-Type: text/plain; charset=iso-8859-1\n\n\u00E9", true,
         u"Content-Type: text/plain; charset=\"iso-8859-1\"\r\n\r\n\u00E9\r\n-- \u00E6\r\nend\r\n"},
        {u"Newsgroups: a\n\nb", false, u"Newsgroups: a\n\nb"},
        {u"A: b\n\n\u0100", false, u"A: b\n\n\u0100"},
    };
    for (const auto& row : rows) {
        u16string message = row.message;
        EXPECT_EQ(footer->Insert(message, is_there), success);
        EXPECT_EQ(is_there, row.is_changed ? yes : no);
        EXPECT_EQ(message, row.after);
    }
    EXPECT_THAT(process_home.log(), HasSubstr("!  Footer: Insert: "));
}

}  // namespace
