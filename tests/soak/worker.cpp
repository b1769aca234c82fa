#include "soak/worker.h"

#include <brindlemoss.h>

#include <cstdint>

#include "analysis/filter_engine.h"
#include "component/library_life.h"
#include "message/character_set.h"
#include "support/community_home.h"

namespace soak {

using namespace brindlemoss::component;
namespace analysis = brindlemoss::analysis;
using analysis::decision;
using std::u16string;
using test_support::community_home;
using counters_key = test_support::stored_lists::key;

namespace {

u16string wide(std::string_view bytes) {
    return replay::unicode::to_wide(bytes, replay::unicode::byte_for_byte);
}

u16string numeral(std::size_t number) {
    return wide(std::to_string(number));
}

// A message of a sender whom nobody else has.
u16string mail_from(const u16string& address) {
    return u"From: N <" + address + u">\nTo: all@b.example\nSubject: a\n\nhello, how are you?\n";
}

}  // namespace

worker::worker(int number, const std::vector<pooled_mail>& mails, const town& servers, ledger& book)
    : number_(number),
      mails_(mails),
      servers_(servers),
      book_(book),
      chance_(static_cast<std::minstd_rand::result_type>(number)) {}

const std::vector<worker::operation>& worker::operations() {
    static const std::vector<operation> all = {
        {20, &worker::rate},
        {4, &worker::rate_by_c},
        {6, &worker::vote},
        {10, &worker::change_rules},
        {6, &worker::look_up_rules},
        {3, &worker::trust},
        {8, &worker::forget_trust},
        {3, &worker::log_in},
        {2, &worker::use_account},
        {3, &worker::ask_community},
        {1, &worker::end_communication},
        {3, &worker::use_footer},
        {2, &worker::use_texts},
        {4, &worker::use_languages},
        {2, &worker::fetch},
        {4, &worker::use_plain_classes},
        {3, &worker::look_at_counters},
    };
    return all;
}

std::size_t worker::pick(std::size_t count) {
    return chance_() % count;
}

void worker::work() {
    static const int all = [] {
        int sum = 0;
        for (const operation& each : operations()) sum += each.weight;
        return sum;
    }();
    int left = static_cast<int>(pick(static_cast<std::size_t>(all)));
    for (const operation& each : operations()) {
        left -= each.weight;
        if (left >= 0) continue;
        ++book_.calls;
        return (this->*each.run)();
    }
}

void worker::work_through() {
    for (const pooled_mail& each : mails_) rate(each);
    for (const operation& each : operations()) (this->*each.run)();
}

// By the engine itself, which tells what settled the rating: with that the sums of the counters are
// known exactly. It may fail, or be stopped by a header, only where it is so by itself too.
void worker::rate(const pooled_mail& mail) {
    const auto when = pick(4) == 0 ? analysis::occasion::again : analysis::occasion::first;
    analysis::verdict reached;
    {
        const running_call call;
        analysis::part message(mail.bytes);
        reached = analysis::filter_engine::instance().score(message, when);
    }
    const bool is_broken =
        reached.settled_by == decision::error || reached.settled_by == decision::broken_header;
    expect(!is_broken || reached.settled_by == mail.alone, "rating " + mail.name + " fails");
    expect(reached.rating <= analysis::block_rating, "a rating above 100");
    if (reached.settled_by == decision::analysed || (is_broken && mail.asks_community)) {
        ++book_.asked;
    }
    if (when == analysis::occasion::again) return;
    ++book_.processed;
    if (reached.rating >= analysis::filter_services::default_threshold) ++book_.blocked;
}

void worker::rate_by_c() {
    constexpr std::string_view infected = "X-Antivirus-Status: Infected\n\n";
    const bool orphan = pick(2) == 0;
    std::int32_t rating = -1;
    const auto status = brindlemoss_score(infected.data(), infected.size(), orphan, &rating);
    expect(status == BRINDLEMOSS_SUCCESS && rating == analysis::block_rating,
           "an infected message passes");
    if (!orphan) return;
    ++book_.processed;
    ++book_.blocked;
}

// The sender, whom a vote may have allowed, leaves the list again: it must not grow.
void worker::vote() {
    const bool is_spam = pick(2) == 0;
    const u16string sender = u"v" + numeral(pick(50)) + u"@voted.example";
    std::int32_t result = 0;
    expect_done(create<IFilter>()->Vote(mail_from(sender), is_spam ? 1 : -1, result), "Vote");
    expect(result == 1, "a vote is not taken");
    ++(is_spam ? book_.spam_votes : book_.good_votes);
    expect_done(create<IRulesSenderAllowed>()->RemoveAddress(sender), "RemoveAddress");
}

u16string worker::own_address(std::size_t index) const {
    return u"s" + numeral(index) + u"@w" + wide(std::to_string(number_)) + u".example";
}

void worker::change_rules() {
    const std::size_t index = pick(own_addresses);
    const u16string address = own_address(index);
    const auto now_in = [&](list where, status done, const char* what) {
        expect_done(done, what);
        entries_[index] = where;
    };
    const auto allowed = create<IRulesSenderAllowed>();
    const auto denied = create<IRulesSenderDenied>();
    std::int32_t result = 0;
    switch (pick(5)) {
        case 0:
            now_in(list::allowed, create<IRules>()->AllowAddress(address, result), "AllowAddress");
            break;
        case 1:
            now_in(list::denied, create<IRules>()->DenyAddress(address, result), "DenyAddress");
            break;
        case 2:
            now_in(list::allowed, allowed->AddAddress(u"N", address, u"c"), "AddAddress");
            break;
        case 3: now_in(list::denied, denied->AddAddress(u"N", address, u"c"), "AddAddress"); break;
        default:
            now_in(list::none, allowed->RemoveAddress(address), "RemoveAddress");
            now_in(list::none, denied->RemoveAddress(address), "RemoveAddress");
    }
    const u16string domain = u"d" + numeral(pick(own_addresses)) + u".domain.example";
    expect_done(create<IRules>()->DenyDomain(domain, result), "DenyDomain");
}

void worker::look_up_rules() {
    check_list(pick(own_addresses));
    u16string entries;
    expect_done(create<IRulesSenderDenied>()->EnumerateDomains(entries), "EnumerateDomains");
}

void worker::check_list(std::size_t index) {
    truth is_allowed = no;
    truth is_denied = no;
    expect_done(create<IRulesSenderAllowed>()->Match(own_address(index), is_allowed), "Match");
    expect_done(create<IRulesSenderDenied>()->Match(own_address(index), is_denied), "Match");
    expect((is_allowed != no) == (entries_[index] == list::allowed) &&
               (is_denied != no) == (entries_[index] == list::denied),
           "a list does not hold what it should");
}

void worker::check_lists() {
    for (std::size_t index = 0; index < own_addresses; ++index) check_list(index);
}

void worker::trust() {
    expect_done(create<IRulesSenderTrusted>()->AddAddress(u"N", shared_address), "AddAddress");
    ++book_.trust_steps;
}

// A sender who stays trusted has no mail analysed any more.
void worker::forget_trust() {
    const std::string& sender = any_mail().sender;
    if (!sender.empty()) {
        expect_done(create<IRulesSenderTrusted>()->RemoveAddress(wide(sender)), "RemoveAddress");
    }
}

// Whether it succeeds is up to the server.
void worker::log_in() {
    truth is_so = no;
    expect_done(create<IAccount>()->Login(is_so), "Login");
    u16string access;
    expect_done(create<IAccount>()->Setting(u"BrindlemossLogin.Login.Access", access), "Setting");
    expect(access.empty() || access == u"Approved", "a setting has another value");
}

void worker::use_account() {
    truth is_so = no;
    if (pick(2) == 0) {
        expect_done(create<IAccount>()->Update(is_so), "Update");
    } else {
        expect_done(create<IAccount>()->Create(u"name", u"password", is_so), "Create");
    }
}

void worker::ask_community() {
    const auto community = create<ICommunication>();
    truth is_so = no;
    if (pick(2) == 0) {
        expect_done(community->Ping(is_so), "Ping");
    } else {
        expect_done(community->Reset(is_so), "Reset");
        expect(is_so == yes, "Reset does not look anew");
    }
    expect_done(community->Offline(is_so), "Offline");
    expect(is_so == no, "the machine has no network");
}

void worker::end_communication() {
    expect_done(create<ICommunication>()->Shutdown(), "Shutdown");
}

void worker::use_footer() {
    truth is_so = no;
    u16string text;
    expect_done(create<IFooter>()->GetFooter(u"text/plain", text, is_so), "GetFooter");
    text = u"\nhello";
    expect_done(create<IFooter>()->Insert(text, is_so), "Insert");
    expect(text.find(u"hello") != text.npos, "a footer takes the text away");
}

void worker::use_texts() {
    const auto texts = create<ILocalization>();
    expect_done(texts->Reload(), "Reload");
    u16string text;
    expect_done(texts->GetString(u"mail program", u"block", text), "GetString");
    expect(text == u"Block", "a text is another");
    expect_done(texts->GetLanguages(text), "GetLanguages");
    expect(text.find(u"EN\t") != text.npos, "a language is missing");
    expect_done(texts->SetLanguage(u"EN"), "SetLanguage");
}

void worker::use_languages() {
    const auto languages = create<ILanguageRecognition>();
    std::int32_t language = 0;
    truth is_so = no;
    expect_done(languages->Classify(wide(any_mail().bytes), language), "Classify");
    expect_done(languages->Accept(mail_from(u"a@b.example"), is_so), "Accept");
    expect(is_so == yes, "a language is refused");
}

void worker::fetch() {
    u16string document;
    std::int32_t code = -1;
    expect_done(create<IHTTP>()->Get(wide(servers_.account_url()), document, code), "Get");
    expect(code == 200 || code == 500 || code == 0, "Get gives another status");
}

void worker::use_plain_classes() {
    u16string text;
    expect_done(create<IDigest>()->MD5(u"abc", text), "MD5");
    expect(text == u"900150983cd24fb0d6963f7d28e17f72", "a digest is another");
    expect_done(create<ICoding>()->Base64Encode(u"A", text), "Base64Encode");
    expect(text == u"QQ==", "a coding is another");
    const auto document = create<IXML>();
    expect_done(document->Parse(u"<a><b>c</b></a>"), "Parse");
    expect_done(document->Setting(u"a.b", text), "Setting");
    expect(text == u"c", "a setting is another");
    const u16string mail = wide(any_mail().bytes);
    expect_done(create<IFilter>()->MergeHeader(mail, u"Received: 1", text), "MergeHeader");
    expect(!text.empty(), "MergeHeader takes the message away");
    std::int32_t partner = -1;
    expect_done(create<IVersion>()->Partner(partner), "Partner");
    expect(partner == 0, "the partner is another");
}

// They may be ahead of the ledger, which is written when a call has come back; never behind it.
void worker::look_at_counters() {
    const std::uint32_t acknowledged = book_.processed;
    const running_call call;
    const auto counted =
        community_home::counter(counters_key::user_statistics_filter, u"Processed");
    expect(counted >= acknowledged, "a counter is behind what was acknowledged");
}

}  // namespace soak
