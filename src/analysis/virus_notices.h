#pragma once

#include "message/part.h"

namespace brindlemoss::analysis {

// True when the text of the part holds one of the notices that virus scanners leave in place of
// what they took out. A part whose text cannot be converted holds none.
bool holds_virus_notice(replay::internet::message2::part& item);

}  // namespace brindlemoss::analysis
