#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "component/export.h"

namespace brindlemoss::component {

// The filter as a host program calls it. Texts are 16-bit strings that hold one byte of the raw
// message per unit. Stateless: any number of threads may call one object at a time.
//
// No method throws, whatever the message: a fault is logged and comes back as the neutral result,
// so that it never stops the flow of mail. The first call opens the log and arms the crash handler.
class BRINDLEMOSS_API filter {
public:
    // The rating of a message, from 0 (pass) to 100 (block). `orphan`: the message is judged for
    // the first time. 0 after a fault.
    std::int32_t score(std::u16string_view message, bool orphan) const noexcept;

    // The user's vote on a message: 0 and above, it is spam; below, it is not. Always 1.
    std::int32_t vote(std::u16string_view message, std::int32_t score) const noexcept;

    // `message` with the "Received" headers of `header` (a message too, or only its head) behind
    // its own headers, CR LF behind every line. `message` as it is after a fault.
    std::u16string merge_header(std::u16string_view message,
                                std::u16string_view header) const noexcept;
};

}  // namespace brindlemoss::component
