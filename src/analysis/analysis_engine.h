#pragma once

#include <cstdint>

#include "analysis/analysis_run.h"

namespace brindlemoss::analysis {

// Drives a run in its two phases. Between them the community marks the signatures that it knows.
// Throws what the plugins throw; the run is then good for nothing but its end.
class analysis_engine {
public:
    // Lets the plugins look at the message, and puts the signatures in order, each once.
    void generate(analysis_run& run) const;

    // Turns the marks of the community into tests, sums all tests up, and fixes the class of the
    // message. Gives the rating, 0 to 100.
    std::uint16_t evaluate(analysis_run& run) const;
};

}  // namespace brindlemoss::analysis
