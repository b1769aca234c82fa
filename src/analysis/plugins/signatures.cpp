#include "analysis/plugins/signatures.h"

#include "analysis/report_text.h"
#include "foundation/md5.h"
#include "foundation/translate.h"

namespace brindlemoss::analysis::plugins {

using replay::internet::message2::part;
using replay::internet::message2::part_entry;

namespace {

// Lower is better.
enum class rank { alternative_html, alternative_plain, html, plain, not_displayable };

rank rank_of(const part_entry& entry) {
    const bool is_html = entry.item->content_type == "text/html";
    if (!is_html && entry.item->content_type != "text/plain") return rank::not_displayable;
    if (entry.parent && entry.parent->content_type == "multipart/alternative") {
        return is_html ? rank::alternative_html : rank::alternative_plain;
    }
    return is_html ? rank::html : rank::plain;
}

}  // namespace

part* displayable_part(part& message) {
    replay::internet::message2::part_map texts;
    message.flatten(texts, "text/", true);
    part* best = nullptr;
    rank best_rank = rank::not_displayable;
    for (const auto& [level, entry] : texts) {
        const rank entry_rank = rank_of(entry);
        if (entry_rank >= best_rank) continue;
        best = entry.item;
        best_rank = entry_rank;
    }
    return best;
}

std::u16string digest_text(std::string_view bytes) {
    return widen(replay::md5(bytes).base64(replay::coding::translate::padding::none));
}

}  // namespace brindlemoss::analysis::plugins
