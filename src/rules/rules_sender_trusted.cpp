#include "rules/rules_sender_trusted.h"

#include <exception>

#include "foundation/process_wide.h"
#include "foundation/registry.h"
#include "platform/clock.h"
#include "rules/recipients.h"
#include "rules/trust_steps.h"

namespace brindlemoss::rules {

namespace registry = replay::registry2;
namespace clock = replay::platform::clock;
using registry::setting_of;
using registry::tree_key;
using registry::write_back;
using replay::scope;

namespace {

constexpr std::u16string_view addresses_value = u"Addresses";

constexpr const registry::setting& activation =
    setting_of(tree_key::user_thresholds, u"Trust Activation");
constexpr const registry::setting& activation_delay =
    setting_of(tree_key::user_thresholds, u"Trust Activation Delay");

const registry::key& key() {
    return registry::at(tree_key::user_rules_trust);
}

std::uint32_t present_time() {
    return static_cast<std::uint32_t>(clock::seconds_since_1970());
}

// What ends the steps early; those before it count.
std::exception_ptr add_steps(line_list& entries, const recipients& all, std::uint32_t now) {
    constexpr std::size_t few = 4;  // for more it pays to look at each entry only once
    std::exception_ptr fault;
    std::optional<trust_steps> steps;
    if (all.size() > few) steps.emplace(entries);
    try {
        for (const auto& each : all) {
            const std::u16string address = normalized(each.address);
            if (steps) {
                steps->add(each.name, address, now);
            } else {
                add_step(entries, each.name, address, now);
            }
        }
    } catch (const unpack_failed&) {
        fault = std::current_exception();
    }
    if (steps) steps->finish();
    return fault;
}

}  // namespace

rules_sender_trusted& rules_sender_trusted::instance() {
    return process_wide<rules_sender_trusted>::until_unload(singleton::rules_sender_trusted);
}

std::optional<rules_sender_trusted::trust> rules_sender_trusted::find(std::string_view address) {
    const scope guard(mutex_);
    index_.follow(key().shared_multi_text(addresses_value));
    const std::optional<std::u16string_view> entry = index_.find(normalized(address));
    if (!entry) return std::nullopt;
    const trust_entry fields = unpack_trust(*entry);
    return trust{fields.count, fields.first_seen};
}

bool rules_sender_trusted::match(std::string_view address) {
    const scope guard(mutex_);
    const std::optional<trust> found = find(address);
    if (!found) return false;
    if (found->count < registry::get_integer(activation, write_back::yes)) return false;
    const std::int64_t delay = registry::get_integer(activation_delay, write_back::yes);
    return found->first_seen + delay <= clock::seconds_since_1970();
}

void rules_sender_trusted::increase_trust(std::u16string_view name, std::string_view address) {
    const scope guard(mutex_);
    const std::u16string text = normalized(address);
    const std::uint32_t now = present_time();
    key().change_multi_text(addresses_value, [&](line_list& entries) {
        add_step(entries, name, text, now);
        return true;
    });
}

void rules_sender_trusted::increase_trust_of_recipients(
    const replay::internet::message2::part& message) {
    for_each_recipient_header(message, [this](const recipients& all) {
        if (all.empty()) return;
        const scope guard(mutex_);
        const std::uint32_t now = present_time();
        std::exception_ptr fault;
        key().change_multi_text(addresses_value, [&](line_list& entries) {
            fault = add_steps(entries, all, now);
            return true;
        });
        if (fault) std::rethrow_exception(fault);
    });
}

bool rules_sender_trusted::remove_trust(std::string_view address) {
    const scope guard(mutex_);
    bool is_there = false;
    const std::u16string text = normalized(address);
    key().change_multi_text(addresses_value, [&](line_list& entries) {
        const auto found = find_entry(entries.lines(), text, trusted_address_of);
        is_there = found != entries.lines().end();
        if (is_there) entries.erase(found);
        return is_there;
    });
    return is_there;
}

void rules_sender_trusted::empty_addresses() {
    const scope guard(mutex_);
    key().set_multi_text(addresses_value, {});
}

std::u16string rules_sender_trusted::enumerate_addresses() {
    return joined(addresses());
}

text_list rules_sender_trusted::addresses() {
    const scope guard(mutex_);
    return key().get_multi_text(addresses_value, {}, write_back::no);
}

}  // namespace brindlemoss::rules
