#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "message/part.h"

// Headers read for evidence: one whose text cannot be converted (replay::unicode::generic) tells no
// more than one that is missing. Other exceptions of reading a header pass.
namespace brindlemoss::analysis::plugins {

// A raw value as text. Nothing where it cannot be converted.
std::optional<std::u16string> readable_text(std::string_view raw);

// The text of the first header of that name. Nothing where there is none, or where that one cannot
// be converted.
std::optional<std::u16string> readable_text(const replay::internet::message2::part& item,
                                            std::string_view header_name);

// What part::attachment() gives without those of its headers that cannot be converted.
replay::internet::message2::attachment_info readable_attachment(
    const replay::internet::message2::part& item);

}  // namespace brindlemoss::analysis::plugins
