#include "faults/workload.h"

#include <stdexcept>
#include <string_view>

#include "analysis/filter_engine.h"
#include "foundation/counters.h"
#include "foundation/registry.h"
#include "message/part.h"
#include "rules/rules_sender_allowed.h"
#include "rules/rules_sender_denied.h"
#include "rules/rules_sender_trusted.h"
#include "support/child_process.h"

namespace kill_rounds {

namespace registry = replay::registry2;
using brindlemoss::analysis::decision;
using brindlemoss::analysis::filter_engine;
using brindlemoss::analysis::occasion;
using brindlemoss::rules::rules_sender_allowed;
using brindlemoss::rules::rules_sender_denied;
using brindlemoss::rules::rules_sender_trusted;
using replay::internet::message2::part;
using test_support::require;

namespace {

constexpr unsigned subjects = 8;
constexpr unsigned other_entries = 300;
constexpr std::string_view protocol = "Communication\\Protocol";

std::string own_name(unsigned worker, const operation& wanted) {
    return "w" + std::to_string(worker) + "-" + std::to_string(wanted.subject);
}

std::string own_address(unsigned worker, const operation& wanted) {
    return own_name(worker, wanted) + "@example.org";
}

std::string own_domain(unsigned worker, const operation& wanted) {
    return own_name(worker, wanted) + ".example";
}

std::string stranger(const operation& wanted) {
    return "stranger" + std::to_string(wanted.subject) + "@example.net";
}

std::string mail(unsigned worker, const operation& wanted) {
    const auto from = [&](const std::string& sender) {
        return "Message-ID: " + message_id(worker, wanted) + "\r\nFrom: Somebody <" + sender +
               ">\r\nSubject: lunch\r\n";
    };
    const std::string text = "\r\nShall we meet at noon, by the old bridge?\r\n";
    switch (wanted.what) {
        case deed::score_stranger: return from(stranger(wanted)) + text;
        case deed::score_denied: return from("foe@example.com") + text;
        case deed::score_allowed:
            return from("friend@example.com") + "To: " + stranger(wanted) + "\r\n" + text;
        default: return from(own_address(worker, wanted)) + text;
    }
}

void score(unsigned worker, const operation& wanted, decision expected) {
    part message(mail(worker, wanted));
    const auto reached = filter_engine::instance().score(message, occasion::first);
    require(reached.settled_by == expected, "a message was settled by something else");
}

void vote(unsigned worker, const operation& wanted) {
    const part message(mail(worker, wanted));
    const filter_engine& engine = filter_engine::instance();
    require(wanted.what == deed::report ? engine.report(message) : engine.revoke(message),
            "a vote was not taken");
}

registry::key texts() {
    return {registry::key(registry::predefined_root::current_user), texts_path,
            registry::when_missing::create};
}

}  // namespace

operation random_operation(std::mt19937& random) {
    return {static_cast<deed>(random() % static_cast<unsigned>(deed::count)),
            static_cast<std::uint8_t>(random() % subjects), static_cast<std::uint32_t>(random())};
}

void perform(unsigned worker, const operation& wanted) {
    const std::string address = own_address(worker, wanted);
    const std::string domain = own_domain(worker, wanted);
    auto& allowed = rules_sender_allowed::instance();
    auto& denied = rules_sender_denied::instance();
    switch (wanted.what) {
        case deed::score_stranger: return score(worker, wanted, decision::analysed);
        case deed::score_denied: return score(worker, wanted, decision::denied_address);
        case deed::score_allowed: return score(worker, wanted, decision::allowed_address);
        case deed::report:
        case deed::revoke: return vote(worker, wanted);
        case deed::allow: allowed.add_address(u"Somebody", address, u""); return;
        case deed::disallow: allowed.remove_address(address); return;
        case deed::deny: denied.add_address(u"Somebody", address, u""); return;
        case deed::undeny: denied.remove_address(address); return;
        case deed::allow_domain: allowed.add_domain(domain, u""); return;
        case deed::disallow_domain: allowed.remove_domain(domain); return;
        case deed::trust:
            return rules_sender_trusted::instance().increase_trust(u"Somebody", address);
        case deed::add_to_counter:
            return replay::counters::add(protocol, "Timeouts", wanted.number);
        case deed::write_text: return texts().set_text(text_name(worker), long_text(wanted.number));
        case deed::count: break;
    }
    throw std::logic_error("no such operation");
}

std::vector<effect> effects_of(unsigned worker, const operation& wanted) {
    const std::string allow = "allow " + own_address(worker, wanted);
    const std::string deny = "deny " + own_address(worker, wanted);
    const std::string domain = "allow " + own_domain(worker, wanted);
    const std::string trust = "trust " + own_address(worker, wanted);
    const effect processed{"Filter\\Processed", true, 1};
    const effect blocked{"Filter\\Blocked", true, 1};
    const effect step{"trust " + stranger(wanted), true, 1};
    switch (wanted.what) {
        case deed::score_stranger:
            return {processed, {std::string(protocol) + "\\Errors", true, 1}, step};
        case deed::score_denied: return {processed, blocked};
        case deed::score_allowed: return {processed, step};
        case deed::report: return {{trust, false, 0}, {"User\\Blocked", true, 1}};
        case deed::revoke:
            return {{allow, false, 1}, {deny, false, 0}, {"User\\Unblocked", true, 1}};
        case deed::allow: return {{allow, false, 1}};
        case deed::disallow: return {{allow, false, 0}};
        case deed::deny: return {{deny, false, 1}};
        case deed::undeny: return {{deny, false, 0}};
        case deed::allow_domain: return {{domain, false, 1}};
        case deed::disallow_domain: return {{domain, false, 0}};
        case deed::trust: return {{trust, true, 1}};
        case deed::add_to_counter:
            return {{std::string(protocol) + "\\Timeouts", true, wanted.number}};
        case deed::write_text: return {{"text " + std::to_string(worker), false, wanted.number}};
        case deed::count: break;
    }
    throw std::logic_error("no such operation");
}

std::string message_id(unsigned worker, const operation& wanted) {
    if (wanted.what > deed::score_allowed) return {};
    return "<" + std::to_string(worker) + "." + std::to_string(wanted.number) + "@example.org>";
}

void lay_ground() {
    constexpr std::uint32_t never = 0xFFFFFFFF;
    registry::at(registry::tree_key::user_thresholds).set_integer(u"Trust Activation Delay", never);
    for (unsigned i = 0; i < other_entries; ++i) {
        const std::string address = "other" + std::to_string(i) + "@example.com";
        rules_sender_allowed::instance().add_address(u"Other", address, u"");
        rules_sender_denied::instance().add_address(u"Other", address, u"");
        rules_sender_trusted::instance().increase_trust(u"Other", address);
    }
    rules_sender_allowed::instance().add_address(u"Friend", "friend@example.com", u"");
    rules_sender_denied::instance().add_address(u"Foe", "foe@example.com", u"");
}

std::u16string long_text(std::uint32_t number) {
    constexpr std::uint32_t longest = 9000;
    std::u16string text;
    for (const char digit : std::to_string(number)) text += static_cast<char16_t>(digit);
    text += u' ';
    text.append(number % longest, static_cast<char16_t>(u'a' + number % 26));
    return text;
}

std::u16string text_name(unsigned worker) {
    return std::u16string(1, static_cast<char16_t>(u'0' + worker));
}

}  // namespace kill_rounds
