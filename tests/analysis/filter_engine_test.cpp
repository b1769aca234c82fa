#include "analysis/filter_engine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "message/character_set.h"
#include "support/printable.h"
#include "support/recording_services.h"

namespace {

using namespace brindlemoss::analysis;
using std::string;
using test_support::recording_services;
using texts = std::vector<string>;

const string mail =
    "Message-ID: <1@example.org>\n"
    "Date: Mon, 3 Jun 2024 10:00:00 +0200\n"
    "From: \"Bob Berg\" <Bob@Example.org>, Eve <eve@example.net>\n"
    "Subject: Hello\n"
    "\n"
    "See you at the station at noon.\n";

const texts questions = {
    "allowed address bob@example.org?",
    "denied address bob@example.org?",
    "allowed domain bob@example.org?",
    "denied domain bob@example.org?",
    "trusted bob@example.org?",
    "language <1@example.org>?",
    "offline ?",
};

texts joined(const std::initializer_list<texts> lists) {
    texts all;
    for (const texts& list : lists) all.insert(all.end(), list.begin(), list.end());
    return all;
}

texts without(texts events, const string& beginning) {
    std::erase_if(events, [&](const string& event) { return event.starts_with(beginning); });
    return events;
}

string ruled(const string& mode, std::size_t ruler) {
    return "log 1 Processing Message (" + mode + ") " + string(ruler, '-');
}

texts opening(occasion when) {
    if (when == occasion::again) return {ruled("Rescan", 92)};
    return {"count Filter/Processed", ruled("Classify", 90)};
}

const texts head = {
    "log 1 Message-ID: <1@example.org>",
    "log 1 Date:       Mon, 3 Jun 2024 10:00:00 +0200",
    "log 1 Sender:     Bob Berg <Bob@Example.org>",
    "log 1 Subject:    Hello",
};

// What a message that is judged again leaves behind of the events of a first time.
texts on_occasion(occasion when, texts events) {
    return when == occasion::first ? events : without(std::move(events), "count Filter/");
}

constexpr occasion occasions[] = {occasion::first, occasion::again};

const char* name_of(occasion when) {
    return when == occasion::first ? ", judged first" : ", judged again";
}

verdict score(recording_services& services, const string& raw, occasion when) {
    part message(raw);
    return filter_engine(services).score(message, when);
}

void expect_verdict(const verdict& reached, int rating, decision settled_by) {
    EXPECT_EQ(reached.rating, rating);
    EXPECT_EQ(reached.settled_by, settled_by);
    EXPECT_EQ(reached.class_name, u"");
}

TEST(filter_engine, the_first_judgement_that_knows_the_message_decides) {
    const string trust_recipients = "trust recipients of <1@example.org>";
    const texts allowed_address = {trust_recipients,
                                   "log 1 Analysis:   Sender address is whitelisted"};
    const texts denied_address = {"count Filter/Blocked",
                                  "log 1 Analysis:   Sender address is blacklisted"};
    const texts allowed_domain = {trust_recipients,
                                  "log 1 Analysis:   Sender domain is whitelisted"};
    const texts denied_domain = {"count Filter/Blocked",
                                 "log 1 Analysis:   Sender domain is blacklisted"};
    const texts trusted = {"trust Bob Berg <bob@example.org>", trust_recipients,
                           "log 1 Analysis:   Sender address is trusted"};
    const texts refused_language = {"count Filter/Blocked",
                                    "log 1 Analysis:   Message language (1049) is not acceptable"};
    const texts offline = {"log 1 Analysis:   Community rating is not available",
                           "log 1 Reason:     Windows is reporting the network layer is offline"};
    const struct {
        std::set<string> hits;
        int asked;
        decision settled_by;
        int rating;
        texts outcome;
    } rows[] = {
        {{"allowed address"}, 1, decision::allowed_address, 0, allowed_address},
        {{"denied address"}, 2, decision::denied_address, 100, denied_address},
        {{"allowed domain"}, 3, decision::allowed_domain, 0, allowed_domain},
        {{"denied domain"}, 4, decision::denied_domain, 100, denied_domain},
        {{"trusted"}, 5, decision::trusted, 0, trusted},
        {{"language"}, 6, decision::language, 100, refused_language},
        {{"offline"}, 7, decision::offline, 0, offline},
    };
    for (const auto& row : rows) {
        for (const occasion when : occasions) {
            SCOPED_TRACE(testing::PrintToString(row.hits) + name_of(when));
            recording_services services;
            services.hits = row.hits;
            expect_verdict(score(services, mail, when), row.rating, row.settled_by);
            const texts asked(questions.begin(), questions.begin() + row.asked);
            EXPECT_EQ(services.events,
                      joined({opening(when), head, asked, on_occasion(when, row.outcome)}));
        }
    }
}

// What an analysed message leaves behind its last question, less what tells of the analysis.
texts outcome_of_analysis(const texts& events, std::size_t asked_before) {
    const texts all(events.begin() + static_cast<std::ptrdiff_t>(asked_before), events.end());
    return without(without(without(without(all, "log 0 "), "count Communication"), "match"),
                   "touch ");
}

TEST(filter_engine, an_analysed_message_counts_by_the_threshold) {
    recording_services first_run;
    const std::uint16_t rating = score(first_run, mail, occasion::first).rating;
    const string trust = "trust Bob Berg <bob@example.org>";
    const string blocked = "count Filter/Blocked";
    const struct {
        int threshold;
        occasion when;
        texts outcome;
    } rows[] = {
        {rating, occasion::first, {blocked}},
        {rating + 1, occasion::first, {trust}},
        {0, occasion::again, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.threshold);
        recording_services services;
        services.limit = static_cast<std::uint16_t>(row.threshold);
        const verdict reached = score(services, mail, row.when);
        EXPECT_EQ(reached.rating, rating);
        EXPECT_EQ(reached.settled_by, decision::analysed);
        const texts before = joined({opening(row.when), head, questions});
        ASSERT_GE(services.events.size(), before.size() + 2);
        EXPECT_EQ(texts(services.events.begin(),
                        services.events.begin() + static_cast<std::ptrdiff_t>(before.size())),
                  before);
        EXPECT_EQ(outcome_of_analysis(services.events, before.size()),
                  joined({row.outcome,
                          {"log 1 Analysis:   Overall rating is " + std::to_string(rating) + "/" +
                           std::to_string(row.threshold)}}));
        EXPECT_EQ(services.events[services.events.size() - 2], "log 0 Analysis:   ");
    }
}

TEST(filter_engine, without_a_sender_no_rule_is_asked_and_nobody_gains_trust) {
    const struct {
        const char* from;
        texts logged;
    } rows[] = {
        {"", {}},
        {"From: , ;\n", {}},
        {"From: Bob <=?utf-8?B?\?=>\n", {"log 1 Sender:     Bob <>"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.from);
        recording_services services;
        services.hits = {"allowed address", "denied address", "allowed domain", "denied domain",
                         "trusted"};
        services.limit = 101;
        const verdict reached = score(services, string(row.from) + "\nHello\n", occasion::first);
        EXPECT_EQ(reached.settled_by, decision::analysed);
        const texts before =
            joined({opening(occasion::first), row.logged, {"language ?", "offline ?"}});
        ASSERT_GT(services.events.size(), before.size());
        EXPECT_TRUE(std::equal(before.begin(), before.end(), services.events.begin()));
        EXPECT_EQ(outcome_of_analysis(services.events, before.size()).size(), 1U);
    }
}

texts broken(const string& fault) {
    return {"count Filter/Blocked", "log 1 Analysis:   " + fault,
            "log 1 Analysis:   Message contains a broken header and is likely spam"};
}

TEST(filter_engine, settled_before_anybody_is_asked) {
    using enum decision;
    const string no_page = "=?windows-9999?Q?a?=\n";
    const string no_codeword = "=?utf-8?Q?=zz?=\n";
    const string infected = "X-Antivirus-Status: Infected\n";
    const texts none;
    const texts id = {"log 1 Message-ID: x"};
    const texts date = {"log 1 Date:       y"};
    const texts sender = {"log 1 Sender:      <a@b.example>"};  // without a name
    const texts ordered = {"log 1 Message-ID: f", "log 1 Date:       e",
                           "log 1 Sender:     Carl <c@d.example>", "log 1 Subject:    a"};
    const texts utf8 = {"log 1 Sender:     \xD0\xB0 <A@b.example>",
                        "log 1 Subject:    caf\xC3\xA9 \xF0\x9F\x98\x80"};
    const texts blocked = {"count Filter/Blocked",
                           "log 1 Analysis:   Message contained a virus infection"};
    const texts no_such_page = broken("unicode.invalid_codepage[]");
    const texts no_hex = {
        "log 2 Exception 'translate.invalid_codeword[Invalid Codeword 0x7A]' in score()"};
    const struct {
        const char* name;
        string raw;
        decision settled_by;
        texts logged;
        texts outcome;
    } rows[] = {
        {"a virus", infected + mail, virus, head, blocked},
        {"empty headers", infected + "Message-ID:\nDate: \nFrom: ,\nSubject: =?utf-8?Q?\?=\n",
         virus, none, blocked},
        {"the first header of a name, in an order of ours",
         "Subject: a\nSubject: b\nFrom: c@d.example (Carl)\nDate: e\nMessage-ID: f\n" + infected,
         virus, ordered, blocked},
        {"UTF-8 whatever the mail has",
         infected + "From: =?koi8-r?Q?=C1?= <A@b.example>\nSubject: caf\xE9 =?utf-8?B?8J+YgA==?=\n",
         virus, utf8, blocked},
        {"Message-ID", "From: a@b.example\nMessage-ID: " + no_page, broken_header, none,
         no_such_page},
        {"Date", "Message-ID: x\nDate: " + no_page, broken_header, id, no_such_page},
        {"From", "Date: y\nFrom: =?windows-9999?Q?a?= <a@b.example>", broken_header, date,
         no_such_page},
        {"an address beyond 8 bits", "From: Bob <=?utf-8?B?xIA=?=>", broken_header, none,
         broken("unicode.unmappable_character[]")},
        {"Subject", infected + "From: a@b.example\nSubject: " + no_page, broken_header, sender,
         no_such_page},
        {"a codeword in Subject", infected + "From: a@b.example\nSubject: " + no_codeword, error,
         sender, no_hex},
        {"a codeword in the virus status", "X-Antivirus-Status: " + no_codeword, error, none,
         no_hex},
    };
    for (const auto& row : rows) {
        for (const occasion when : occasions) {
            SCOPED_TRACE(row.name + string(name_of(when)));
            recording_services services;
            services.hits = {"allowed address", "trusted", "offline"};
            services.limit = 101;  // such a message is blocked whatever the threshold
            const int rating = row.settled_by == virus           ? 100
                               : row.settled_by == broken_header ? 70
                                                                 : 0;
            expect_verdict(score(services, row.raw, when), rating, row.settled_by);
            EXPECT_EQ(services.events,
                      joined({opening(when), row.logged, on_occasion(when, row.outcome)}));
        }
    }
}

TEST(filter_engine, debug_input_logs_the_message_below_its_head) {
    recording_services services;
    part message("Subject: a\n  b\nX-Antivirus-Status: Infected\n\nc\n");
    filter_engine(services, true).score(message, occasion::again);
    EXPECT_EQ(services.events,
              (texts{ruled("Rescan", 92), "log 1 Subject:    a b", "log 0 Input: Subject: a b",
                     "log 0 Input: X-Antivirus-Status: Infected",
                     "log 0 Input: Content-Type: text/plain; charset=\"iso-8859-1\"",
                     "log 0 Input: ", "log 0 Input: c", "log 0 Input: ", "log 0 Input: ",
                     "log 1 Analysis:   Message contained a virus infection"}));
}

TEST(filter_engine, debug_input_logs_nothing_of_a_message_that_cannot_be_written) {
    recording_services services;
    part message("Subject: a\nContent-Type: text/plain; name=\"\xE9\"; x=\"=?cp99?Q?\?=\"\n\nb\n");
    EXPECT_EQ(filter_engine(services, true).score(message, occasion::again).settled_by,
              decision::broken_header);
    EXPECT_THAT(services.events, testing::Not(testing::Contains(testing::HasSubstr("Input: "))));
}

TEST(filter_engine, a_service_that_fails) {
    const auto locked = [] { throw std::runtime_error("the store is locked"); };
    const auto cannot_convert = [] { throw replay::unicode::unmappable_character(); };
    const texts locked_line = {"log 2 Exception 'the store is locked' in score()"};
    const struct {
        const char* at;
        std::function<void()> fault;
        int rating;
        texts behind;
    } rows[] = {
        {"count Filter/Processed", locked, 0, locked_line},
        {"allowed address", locked, 0, locked_line},
        {"trust recipients", cannot_convert, 70, broken("unicode.unmappable_character[]")},
        {"touch HAM", locked, 0, locked_line},
        {"offline", [] { throw 7; }, 0, {"log 2 Unhandled Exception in score()"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.at);
        recording_services services;
        if (string(row.at).starts_with("trust")) services.hits = {"allowed address"};
        services.fault_at = row.at;
        services.fault = row.fault;
        expect_verdict(score(services, mail, occasion::first), row.rating,
                       row.rating == 70 ? decision::broken_header : decision::error);
        const auto failed = std::find_if(services.events.begin(), services.events.end(),
                                         [&](auto& event) { return event.starts_with(row.at); });
        ASSERT_NE(failed, services.events.end());
        EXPECT_EQ(texts(failed + 1, services.events.end()), row.behind);
    }
}

TEST(filter_engine, votes) {
    using vote = bool (filter_engine::*)(const part&) const;
    const vote report = &filter_engine::report;
    const vote revoke = &filter_engine::revoke;
    const string distrust = "distrust bob@example.org";
    const string queue_report = "queue report of <1@example.org>";
    const string allow = "allow Bob Berg <bob@example.org>, Added due to Unblock";
    const string undeny = "remove denied bob@example.org";
    const string queue_revoke = "queue revoke of <1@example.org>";
    const string fault = "log 2 Exception: no room";
    const string no_page = "log 2 Exception: unicode.invalid_codepage[]";
    const string broken_mail = "Subject: =?windows-9999?Q?a?=\n";
    const struct {
        vote cast;
        string raw;
        const char* fault_at;
        texts logged;
        texts outcome;
    } rows[] = {
        {report, mail, "none", head, {distrust, queue_report, "count User/Blocked"}},
        {revoke, mail, "none", head, {allow, undeny, queue_revoke, "count User/Unblocked"}},
        {report, "\nx", "none", {}, {"queue report of ", "count User/Blocked"}},
        {revoke, "\nx", "none", {}, {"queue revoke of ", "count User/Unblocked"}},
        {report, mail, "queue", head, {distrust, queue_report, fault}},
        {revoke, mail, "queue", head, {allow, undeny, queue_revoke, fault}},
        {report, broken_mail, "none", {}, {no_page}},
        {revoke, broken_mail, "none", {}, {no_page}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.raw + " failing at " + row.fault_at);
        recording_services services;
        services.fault_at = row.fault_at;
        services.fault = [] { throw std::runtime_error("no room"); };
        (filter_engine(services).*row.cast)(part(row.raw));
        const string mode = row.cast == report ? "Report" : "Revoke";
        EXPECT_EQ(services.events, joined({{ruled(mode, 92)}, row.logged, row.outcome}));
    }
}

TEST(filter_engine, sender_of_a_message) {
    const struct {
        const char* raw;
        bool found;
        const char* sender;
    } rows[] = {
        {"From: Bob B <Bob@EXAMPLE.org>, Eve <e@f>", true, "Bob B|bob@example.org"},
        {"From: a@b\nFrom: c@d", true, "|a@b"},
        {"From: =?utf-8?Q?B=C3=B6b?= <\xC9@b>", true, "B{F6}b|{C9}@b"},
        {"Sender: a@b", false, "was|here"},
        {"From: ,;", false, "was|here"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.raw);
        sender found{u"was", "here"};
        EXPECT_EQ(extract_sender(part(row.raw), found), row.found);
        const auto address =
            replay::unicode::to_wide(found.address, replay::unicode::byte_for_byte);
        EXPECT_EQ(test_support::printable(found.name) + "|" + test_support::printable(address),
                  row.sender);
    }
}

}  // namespace
