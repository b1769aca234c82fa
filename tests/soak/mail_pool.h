#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "analysis/filter_engine.h"

namespace soak {

// A message to rate, and what becomes of it where there are no lists, no trust and no community.
struct pooled_mail {
    std::string name;
    std::string bytes;
    brindlemoss::analysis::decision alone;
    bool asks_community;  // before anything else settles it
    std::string sender;   // empty where there is none
};

// The example mails and, spread over the folder that BRINDLEMOSS_CORPUS names, up to `most` of the
// mails there. What cannot be read as a message is left out.
std::vector<pooled_mail> mail_pool(std::size_t most);

}  // namespace soak
