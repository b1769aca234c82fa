#include "rules/rules_sender_denied.h"

#include "foundation/process_wide.h"

namespace brindlemoss::rules {

rules_sender_denied& rules_sender_denied::instance() {
    return process_wide<rules_sender_denied>::until_unload(singleton::rules_sender_denied);
}

}  // namespace brindlemoss::rules
