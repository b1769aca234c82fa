#include "rules/recipients.h"

namespace brindlemoss::rules {

using replay::internet::message2::header_type::addresses_value_type;

void for_each_recipient_header(const replay::internet::message2::part& message,
                               const std::function<void(const recipients&)>& take) {
    for (const char* const header : {"To", "CC", "BCC"}) {
        addresses_value_type value;
        if (message.find_header(header, value)) take(value.addresses());
    }
}

}  // namespace brindlemoss::rules
