#include "component/classes.h"
#include "component/component_object.h"
#include "component/guarded.h"
#include "rules/rules_sender_allowed.h"
#include "rules/rules_sender_denied.h"
#include "rules/rules_sender_trusted.h"

namespace brindlemoss::component {

namespace logic = brindlemoss::rules;

namespace {

// The class of `list`; what is added goes off the `other` list, after it and not together with it.
template <typename interface_type, typename list, typename other, subsystem log>
class list_class final : public component_object<interface_type> {
public:
    using component_object<interface_type>::component_object;

    status Match(std::u16string_view Address, truth& Result) noexcept override {
        Result = no;
        return guarded(log, "Match", [&] {
            Result = as_truth(list::instance().match(bytes_of(Address), true, true));
        });
    }

    status AddAddress(std::u16string_view Name, std::u16string_view Address,
                      std::u16string_view Comment) noexcept override {
        return guarded(log, "AddAddress", [&] {
            const std::string address = bytes_of(Address);
            list::instance().add_address(Name, address, Comment);
            other::instance().remove_address(address);
        });
    }

    status AddDomain(std::u16string_view Domain, std::u16string_view Comment) noexcept override {
        return guarded(log, "AddDomain", [&] {
            const std::string domain = bytes_of(Domain);
            list::instance().add_domain(domain, Comment);
            other::instance().remove_domain(domain);
        });
    }

    status RemoveAddress(std::u16string_view Address) noexcept override {
        return guarded(log, "RemoveAddress",
                       [&] { list::instance().remove_address(bytes_of(Address)); });
    }

    status RemoveDomain(std::u16string_view Domain) noexcept override {
        return guarded(log, "RemoveDomain",
                       [&] { list::instance().remove_domain(bytes_of(Domain)); });
    }

    status EnumerateAddresses(std::u16string& Result) noexcept override {
        Result.clear();
        return guarded(log, "EnumerateAddresses",
                       [&] { Result = list::instance().enumerate_addresses(); });
    }

    status EnumerateDomains(std::u16string& Result) noexcept override {
        Result.clear();
        return guarded(log, "EnumerateDomains",
                       [&] { Result = list::instance().enumerate_domains(); });
    }

    status Silent(truth Mode) noexcept override {
        return guarded(log, "Silent", [&] { list::instance().silent(Mode != no); });
    }

    status EmptyAddresses() noexcept override {
        return guarded(log, "EmptyAddresses", [] { list::instance().empty_addresses(); });
    }

    status EmptyDomains() noexcept override {
        return guarded(log, "EmptyDomains", [] { list::instance().empty_domains(); });
    }

    status WriteAddresses(std::u16string_view Addresses) noexcept override {
        return guarded(log, "WriteAddresses", [&] { list::instance().write_addresses(Addresses); });
    }

    status WriteDomains(std::u16string_view Domains) noexcept override {
        return guarded(log, "WriteDomains", [&] { list::instance().write_domains(Domains); });
    }
};

using rules_sender_allowed =
    list_class<IRulesSenderAllowed, logic::rules_sender_allowed, logic::rules_sender_denied,
               subsystem::rules_sender_allowed>;
using rules_sender_denied = list_class<IRulesSenderDenied, logic::rules_sender_denied,
                                       logic::rules_sender_allowed, subsystem::rules_sender_denied>;

class rules_sender_trusted final : public component_object<IRulesSenderTrusted> {
public:
    using component_object::component_object;

    status Match(std::u16string_view Address, truth& Result) noexcept override {
        Result = no;
        return guarded(log, "Match",
                       [&] { Result = as_truth(senders().match(bytes_of(Address))); });
    }

    status AddAddress(std::u16string_view Name, std::u16string_view Address) noexcept override {
        return guarded(log, "AddAddress",
                       [&] { senders().increase_trust(Name, bytes_of(Address)); });
    }

    status RemoveAddress(std::u16string_view Address) noexcept override {
        return guarded(log, "RemoveAddress", [&] { senders().remove_trust(bytes_of(Address)); });
    }

    status EnumerateAddresses(std::u16string& Result) noexcept override {
        Result.clear();
        return guarded(log, "EnumerateAddresses",
                       [&] { Result = senders().enumerate_addresses(); });
    }

private:
    static constexpr subsystem log = subsystem::rules_sender_trusted;

    static logic::rules_sender_trusted& senders() {
        return logic::rules_sender_trusted::instance();
    }
};

}  // namespace

std::unique_ptr<object> make_rules_sender_allowed(const class_row& row) {
    return std::make_unique<rules_sender_allowed>(row);
}

std::unique_ptr<object> make_rules_sender_denied(const class_row& row) {
    return std::make_unique<rules_sender_denied>(row);
}

std::unique_ptr<object> make_rules_sender_trusted(const class_row& row) {
    return std::make_unique<rules_sender_trusted>(row);
}

}  // namespace brindlemoss::component
