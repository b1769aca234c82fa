#include "analysis/stored_services.h"

#include "analysis/analysis_run.h"
#include "community/communication.h"
#include "foundation/counters.h"
#include "foundation/registry.h"
#include "rules/rules_sender_allowed.h"
#include "rules/rules_sender_denied.h"
#include "rules/rules_sender_trusted.h"
#include "services/language_manager.h"

namespace brindlemoss::analysis {

namespace registry = replay::registry2;
using rules::rules_sender_allowed;
using rules::rules_sender_denied;
using rules::rules_sender_trusted;
using spam::communication;

namespace {

bool is_in(rules::sender_list& list, std::string_view address, list_entries which) {
    return list.match(address, which == list_entries::addresses, which == list_entries::domains);
}

}  // namespace

bool stored_services::allowed(std::string_view address, list_entries which) {
    return is_in(rules_sender_allowed::instance(), address, which);
}

bool stored_services::denied(std::string_view address, list_entries which) {
    return is_in(rules_sender_denied::instance(), address, which);
}

void stored_services::allow_address(std::u16string_view name, std::string_view address,
                                    std::u16string_view comment) {
    if (!rules::may_be_learned(name, address)) {
        return log(2, "Sender is not allowed from now on: name and address are too long");
    }
    rules_sender_allowed::instance().add_address(name, address, comment);
}

void stored_services::remove_denied_address(std::string_view address) {
    rules_sender_denied::instance().remove_address(address);
}

bool stored_services::trusted(std::string_view address) {
    return rules_sender_trusted::instance().match(address);
}

void stored_services::increase_trust(std::u16string_view name, std::string_view address) {
    if (!rules::may_be_learned(name, address)) return;
    rules_sender_trusted::instance().increase_trust(name, address);
}

void stored_services::increase_trust_of_recipients(const part& message) {
    rules_sender_trusted::instance().increase_trust_of_recipients(message);
}

void stored_services::remove_trust(std::string_view address) {
    rules_sender_trusted::instance().remove_trust(address);
}

bool stored_services::accept_language(part& message, int& language) {
    return services::language_manager::instance().accept(message, language);
}

bool stored_services::offline() {
    return communication::offline();
}

void stored_services::match(analysis_run& run, community::community_stats& stats) {
    const auto held = communication::instance();
    held->client().match(run.signatures, run.report, stats, held->timeout());
}

void stored_services::touch(analysis_run& run, community::community_stats& stats) {
    const auto held = communication::instance();
    held->client().touch(run.class_name, run.signatures, run.report, stats);
}

void stored_services::enqueue_report(const part& message) {
    communication::instance()->enqueue_report(message);
}

void stored_services::enqueue_revoke(const part& message) {
    communication::instance()->enqueue_revoke(message);
}

std::uint16_t stored_services::threshold() {
    constexpr const registry::setting& filter =
        registry::setting_of(registry::tree_key::user_thresholds, u"Filter");
    return static_cast<std::uint16_t>(registry::get_integer(filter, registry::write_back::yes));
}

void stored_services::add_to_counter(std::string_view key, std::string_view value,
                                     std::uint32_t amount) {
    if (amount != 0) replay::counters::add(key, value, amount);
}

bool wants_message_copies() {
    constexpr const registry::setting& mode =
        registry::setting_of(registry::tree_key::user_root, u"Debug Mode");
    constexpr std::uint32_t with_messages = 2;
    try {
        return registry::get_integer(mode, registry::write_back::no) == with_messages;
    } catch (const registry::generic&) {
        return false;
    }
}

}  // namespace brindlemoss::analysis
