#include "rules/recipients.h"

#include "rules/sender_entry.h"

namespace brindlemoss::rules {

using replay::internet::message2::header_type::addresses_value_type;

void for_each_recipient_header(const replay::internet::message2::part& message,
                               const std::function<void(const recipients&)>& take) {
    for (const char* const header : {"To", "CC", "BCC"}) {
        addresses_value_type value;
        if (!message.find_header(header, value)) continue;
        recipients all = value.addresses();
        std::erase_if(all,
                      [](const auto& each) { return !may_be_learned(each.name, each.address); });
        take(all);
    }
}

}  // namespace brindlemoss::rules
