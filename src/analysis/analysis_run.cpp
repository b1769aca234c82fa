#include "analysis/analysis_run.h"

namespace brindlemoss::analysis {

using replay::internet::message2::part;
using replay::internet::message2::part_map;

part& logical_root(part& message) {
    if (message.content_type != "multipart/report") return message;
    part_map parts;
    message.flatten(parts, false);
    for (const auto& [level, entry] : parts) {
        if (entry.parent != nullptr && entry.parent->content_type == "message/rfc822") {
            return *entry.item;
        }
    }
    return message;
}

}  // namespace brindlemoss::analysis
