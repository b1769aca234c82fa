#pragma once

#include <span>

#include "support.h"

namespace brindlemoss::benchmarks {

// Mails that make reading as dear as can be, in time or in memory, and one like any other: a file
// attached in base64.
std::span<const mail_shape> message_shapes();

}  // namespace brindlemoss::benchmarks
