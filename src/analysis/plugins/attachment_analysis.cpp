#include "analysis/plugins/attachment_analysis.h"

#include "analysis/plugins/readable_headers.h"
#include "analysis/plugins/signatures.h"
#include "analysis/report_text.h"

namespace brindlemoss::analysis::plugins::attachment_analysis {

using replay::internet::message2::part;

namespace {

// A file name is what makes an attachment: pictures shown within the text count as well.
bool is_file(const part& item) {
    if (item.content_type.starts_with("message/") || item.content_type.starts_with("multipart/")) {
        return false;
    }
    return !readable_attachment(item).name.empty() && !item.body.empty();
}

}  // namespace

void plugin::generate(part& root, signature_list& signatures, test_list&, report&) {
    replay::internet::message2::part_map parts;
    root.flatten(parts, true);
    for (const auto& [level, entry] : parts) {
        const part& item = *entry.item;
        if (!is_file(item)) continue;
        push_signature(signatures, u"prd", digest_text(item.body), u"Part: " + address_text(&item));
    }
}

}  // namespace brindlemoss::analysis::plugins::attachment_analysis
