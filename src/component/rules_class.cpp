#include "component/classes.h"
#include "component/component_object.h"
#include "component/guarded.h"
#include "rules/rules_sender_allowed.h"
#include "rules/rules_sender_denied.h"
#include "rules/rules_sender_trusted.h"

namespace brindlemoss::component {

using brindlemoss::rules::rules_sender_allowed;
using brindlemoss::rules::rules_sender_denied;
using brindlemoss::rules::rules_sender_trusted;
using brindlemoss::rules::sender_list;

namespace {

sender_list& allowed() {
    return rules_sender_allowed::instance();
}
sender_list& denied() {
    return rules_sender_denied::instance();
}

bool holds(sender_list& list, std::u16string_view address) {
    return list.match(utf8_of(address), true, true);
}

// Onto the one list and off the other, which are never locked together.
void move_address(std::u16string_view wide_address, sender_list& onto, sender_list& off) {
    const std::string address = utf8_of(wide_address);
    onto.add_address(wide_address, address, {});
    off.remove_address(address);
}

void move_domain(std::u16string_view wide_domain, sender_list& onto, sender_list& off) {
    const std::string domain = utf8_of(wide_domain);
    onto.add_domain(domain, {});
    off.remove_domain(domain);
}

class rules final : public component_object<IRules> {
public:
    using component_object::component_object;

    status Allowed(std::u16string_view Address, truth& Result) noexcept override {
        Result = no;
        return guarded(main_log(), "Rules: Allowed",
                       [&] { Result = as_truth(holds(allowed(), Address)); });
    }

    status AllowAddress(std::u16string_view Address, std::int32_t& Result) noexcept override {
        Result = 1;
        return guarded(main_log(), "Rules: AllowAddress",
                       [&] { move_address(Address, allowed(), denied()); });
    }

    status AllowDomain(std::u16string_view Domain, std::int32_t& Result) noexcept override {
        Result = 1;
        return guarded(main_log(), "Rules: AllowDomain",
                       [&] { move_domain(Domain, allowed(), denied()); });
    }

    status Denied(std::u16string_view Address, truth& Result) noexcept override {
        Result = no;
        return guarded(main_log(), "Rules: Denied",
                       [&] { Result = as_truth(holds(denied(), Address)); });
    }

    status DenyAddress(std::u16string_view Address, std::int32_t& Result) noexcept override {
        Result = 1;
        return guarded(main_log(), "Rules: DenyAddress",
                       [&] { move_address(Address, denied(), allowed()); });
    }

    status DenyDomain(std::u16string_view Domain, std::int32_t& Result) noexcept override {
        Result = 1;
        return guarded(main_log(), "Rules: DenyDomain",
                       [&] { move_domain(Domain, denied(), allowed()); });
    }

    status IncreaseTrust(std::u16string_view Address) noexcept override {
        return guarded(main_log(), "Rules: IncreaseTrust", [&] {
            rules_sender_trusted::instance().increase_trust(Address, utf8_of(Address));
        });
    }

    status RemoveTrust(std::u16string_view Address) noexcept override {
        return guarded(main_log(), "Rules: RemoveTrust",
                       [&] { rules_sender_trusted::instance().remove_trust(utf8_of(Address)); });
    }

    status Silent(const truth* Value) noexcept override {
        if (Value == nullptr) return invalid_call;
        return guarded(main_log(), "Rules: Silent", [is_silent = *Value != no] {
            allowed().silent(is_silent);
            denied().silent(is_silent);
        });
    }
};

}  // namespace

std::unique_ptr<object> make_rules(const class_row& row) {
    return std::make_unique<rules>(row);
}

}  // namespace brindlemoss::component
