#pragma once

#include "support/heard_log.h"

namespace test_support {

using account_log = heard_log<brindlemoss::subsystem::account>;

}  // namespace test_support
