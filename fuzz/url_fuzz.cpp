// Any text as a text to scan for URLs and as the links of a page, one a line. An odd first byte
// says that 16-bit units follow, low byte first; other input is UTF-8, so that a file of URLs is a
// seed.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "analysis/plugins/url_text.h"
#include "analysis/plugins/urls.h"
#include "message/character_set.h"
#include "message/part.h"
#include "support.h"

namespace {

using brindlemoss::analysis::signature_list;
using fuzz_support::require;
using fuzz_support::to_units;
using namespace brindlemoss::analysis::plugins::text_analysis;

std::vector<std::u16string> lines_of(std::u16string_view text) {
    std::vector<std::u16string> lines(1);
    for (const char16_t unit : text) {
        if (unit == u'\n') {
            lines.emplace_back();
        } else {
            lines.back() += unit;
        }
    }
    return lines;
}

bool is_reduced(const signature_list& signatures) {
    for (auto at = signatures.begin(); at != signatures.end(); ++at) {
        const bool covered = std::any_of(std::next(at), signatures.end(), [&](const auto& later) {
            return at->digest.starts_with(later.digest);
        });
        if (covered) return false;
    }
    return true;
}

void check(signature_list& signatures) {
    for (const auto& each : signatures) {
        require(each.kind == u"tru" && each.comment.empty() && each.digest.size() >= 4);
        require(std::count(each.digest.begin(), each.digest.end(), u'/') <= 3);
        require(each.digest.find_first_of(u"?#;") == std::u16string::npos);
    }
    reduce_url_signatures(signatures);
    if (signatures.size() < 1000) require(is_reduced(signatures));
}

// A decoding that finds nothing to decode only changes the case, and one that does makes the text
// shorter.
void decode(std::u16string url) {
    strip_url(url);
    for (;;) {
        const std::size_t before = url.size();
        if (!decode_url(url)) {
            require(url.size() == before);
            break;
        }
        require(url.size() < before);
    }
    const std::u16string decoded = url;
    require(!decode_url(url) && url == decoded);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::u16string text = to_units({reinterpret_cast<const char*>(data), size});
    signature_list signatures;
    scan_text(text, signatures);
    check(signatures);
    const std::vector<std::u16string> links = lines_of(text);
    replay::internet::message2::part root;
    signatures.clear();
    analyse_links(root, links, signatures);
    check(signatures);
    for (const std::u16string& link : links) decode(link);
    return 0;
}
