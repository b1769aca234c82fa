#pragma once

#include <cstdint>
#include <span>

namespace brindlemoss::analysis::plugins::image_analysis {

// How the places at which a row turns dark, or light again, are spread over a stretch of the row.
enum class crossing_verdict { like_text, too_few, mean_too_low, mean_too_high, variance_too_high };

// `columns` ascend.
crossing_verdict judge_crossings(std::span<const std::int32_t> columns);

}  // namespace brindlemoss::analysis::plugins::image_analysis
