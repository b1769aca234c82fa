#pragma once

#include <string>
#include <string_view>

#include "message/part.h"

namespace brindlemoss::analysis::plugins {

// The part whose text stands for the message: what a reader would see first. HTML goes before plain
// text, and a part directly within "multipart/alternative" before any other. Among equals the one
// nearest to the root, then the first. Attached messages are not searched, and only "text/html" and
// "text/plain" are looked at: null where there is neither. Good as long as the tree stands.
replay::internet::message2::part* displayable_part(replay::internet::message2::part& message);

// The digest of most kinds of signatures: MD5 as base64 without padding, 22 characters.
std::u16string digest_text(std::string_view bytes);

}  // namespace brindlemoss::analysis::plugins
