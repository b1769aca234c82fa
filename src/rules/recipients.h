#pragma once

#include <functional>
#include <vector>

#include "message/header_value.h"
#include "message/part.h"

namespace brindlemoss::rules {

using recipients =
    std::vector<replay::internet::message2::header_type::addresses_value_type::record>;

// Hands over whom a message goes to, header by header: "To", "CC", "BCC", of each the first. Left
// out are those that may not be learned (sender_entry.h). Throws what reading a header throws, when
// those before it have been handed over.
void for_each_recipient_header(const replay::internet::message2::part& message,
                               const std::function<void(const recipients&)>& take);

}  // namespace brindlemoss::rules
