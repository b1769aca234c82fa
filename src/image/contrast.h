#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "image/checkpoints.h"
#include "image/text_engine.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// What each grey level becomes.
using level_table = std::array<std::uint8_t, 256>;

// Stretches the levels in use over the whole range and pushes them toward its ends along half a
// wave of a sine. Never falls from one level to the next. None for fewer than two levels in use.
std::optional<level_table> contrast_table(const level_counters& histogram,
                                          const checkpoints& checkpoint);

// The histogram of a picture after its levels went through the table.
level_counters mapped(const level_counters& histogram, const level_table& table);

}  // namespace brindlemoss::analysis::plugins::image_analysis
