#include "rules/rules_sender_allowed.h"

#include "foundation/process_wide.h"
#include "rules/recipients.h"

namespace brindlemoss::rules {

namespace {

// While it lives, a list is silent.
class silence {
public:
    explicit silence(sender_list& list) : list_(list), before_(list.silent()) {
        list_.silent(true);
    }
    ~silence() { list_.silent(before_); }
    silence(const silence&) = delete;
    silence& operator=(const silence&) = delete;

private:
    sender_list& list_;
    const bool before_;
};

}  // namespace

rules_sender_allowed& rules_sender_allowed::instance() {
    return process_wide<rules_sender_allowed>::until_unload(singleton::rules_sender_allowed);
}

void rules_sender_allowed::add_recipients(const replay::internet::message2::part& message) {
    const silence guard(*this);
    for_each_recipient_header(message, [this](const recipients& all) {
        for (const auto& each : all) {
            add_address(each.name, each.address, u"Added as Recipient of Outbound Mail");
        }
    });
}

}  // namespace brindlemoss::rules
