#pragma once

#include <cstdint>
#include <string>

#include "analysis/filter_engine.h"
#include "message/part.h"

namespace brindlemoss::benchmarks {

// The rating of a mail by itself: no store, no log, no community.
inline std::uint16_t rate_locally(const std::string& mail) {
    static analysis::filter_services nobody;
    static const analysis::filter_engine engine(nobody);
    replay::internet::message2::part message(mail);
    return engine.score(message, analysis::occasion::first).rating;
}

}  // namespace brindlemoss::benchmarks
