#pragma once

#include "message/part.h"
#include "rules/sender_list.h"

namespace brindlemoss::rules {

// The senders whose mail passes.
class rules_sender_allowed : public sender_list {
public:
    // That of the process, made on first use and kept until the module is unloaded.
    static rules_sender_allowed& instance();

    rules_sender_allowed() : sender_list(replay::registry2::tree_key::user_rules_allow) {}

    // Adds everybody whom a message goes to, with the comment "Added as Recipient of Outbound
    // Mail". Throws what reading the headers throws as well.
    void add_recipients(const replay::internet::message2::part& message);
};

}  // namespace brindlemoss::rules
