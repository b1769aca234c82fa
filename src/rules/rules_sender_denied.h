#pragma once

#include "rules/sender_list.h"

namespace brindlemoss::rules {

// The senders whose mail is blocked.
class rules_sender_denied : public sender_list {
public:
    // That of the process, made on first use and kept until the module is unloaded.
    static rules_sender_denied& instance();

    rules_sender_denied() : sender_list(replay::registry2::tree_key::user_rules_deny) {}
};

}  // namespace brindlemoss::rules
