#include "rules/rules_sender_denied.h"

#include "rules/process_wide.h"

namespace brindlemoss::rules {

rules_sender_denied& rules_sender_denied::instance() {
    return process_wide<rules_sender_denied, singleton::rules_sender_denied>::instance();
}

}  // namespace brindlemoss::rules
