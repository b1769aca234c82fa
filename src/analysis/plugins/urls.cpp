#include "analysis/plugins/urls.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <set>
#include <utility>

#include "analysis/plugins/canonical_url.h"
#include "analysis/plugins/url_text.h"
#include "message/character_set.h"
#include "platform/character_class.h"

namespace brindlemoss::analysis::plugins::text_analysis {
namespace {

using replay::internet::message2::part;
using replay::internet::message2::part_map;

constexpr std::u16string_view url_kind = u"tru";
constexpr std::size_t nowhere = std::u16string_view::npos;

// Collects from the outermost URL to the inmost, which comes first in the end.
void push_in_front(std::optional<std::u16string> text, signature_list& found) {
    if (!text) return;
    if (!found.empty() && found.front().digest == *text) return;
    found.emplace_front(std::u16string(url_kind), std::move(*text));
}

void analyse_url(std::u16string_view url, signature_list& signatures) {
    signature_list found;
    std::u16string text(url);
    bool may_decode_further = true;
    for (unsigned decodings = 1; may_decode_further; ++decodings) {
        strip_url(text);
        const bool decoded = decode_url(text);
        may_decode_further = decoded && decodings < most_url_decodings;
        url_nest nest(text);
        push_in_front(nest.canonical_text(), found);
        if (may_decode_further) {
            const std::size_t embedded = nest.embedded();
            if (embedded == nowhere) break;
            text.erase(0, embedded);
        } else {
            // What has nothing to decode has nothing further in either.
            while (found.size() < most_url_signatures && nest.enter_embedded()) {
                push_in_front(nest.canonical_text(), found);
            }
        }
    }
    signatures.splice(signatures.end(), found);
}

// The names of a message's attached files, read as they are asked for and then kept.
class attachment_names {
public:
    explicit attachment_names(part& root) {
        root.flatten(parts_, false);
        next_ = parts_.begin();
    }

    attachment_names(const attachment_names&) = delete;
    attachment_names& operator=(const attachment_names&) = delete;

    bool contains(const std::u16string& link) {
        if (names_.count(link) > 0) return true;
        while (next_ != parts_.end()) {
            part& item = *next_++->second.item;
            try {
                const auto name = names_.insert(replay::platform::to_lower(item.attachment().name));
                if (*name.first == link) return true;
            } catch (const replay::unicode::generic&) {
                continue;
            }
        }
        return false;
    }

private:
    part_map parts_;
    part_map::iterator next_;
    std::set<std::u16string> names_;  // ordered, as senders could choose names that hash alike
};

// The unit that closes what `opening` opens, nothing when it opens nothing.
std::optional<char16_t> closing_mate(char16_t opening) {
    switch (opening) {
        case u'"': return u'"';
        case u'(': return u')';
        case u'<': return u'>';
        case u'[': return u']';
        default: return std::nullopt;
    }
}

}  // namespace

void analyse_links(part& root, const std::vector<std::u16string>& links,
                   signature_list& signatures) {
    if (links.empty()) return;
    attachment_names names(root);
    for (const std::u16string& link : links) {
        if (signatures.size() >= most_url_signatures) return;
        if (!names.contains(link)) analyse_url(link, signatures);
    }
}

void scan_text(std::u16string_view normalised, signature_list& signatures) {
    std::size_t found = find_url_mark(normalised, 0);
    while (found != nowhere) {
        const auto mate = found > 0 ? closing_mate(normalised[found - 1]) : std::nullopt;
        const std::size_t stop = normalised.find(mate.value_or(u' '), found);
        analyse_url(normalised.substr(found, stop == nowhere ? nowhere : stop - found), signatures);
        if (stop == nowhere) return;
        found = find_url_mark(normalised, stop);
    }
}

void reduce_url_signatures(signature_list& signatures) {
    // Of the digests further on those that begin with no other: then only the last in order that
    // is not above a digest can be its beginning. Few where most are equal, so faster than sorting.
    std::set<std::u16string_view> beginnings;
    for (auto at = signatures.end(); at != signatures.begin();) {
        --at;
        if (at->kind != url_kind) continue;
        const std::u16string_view digest = at->digest;
        auto above = beginnings.upper_bound(digest);
        if (above != beginnings.begin() && digest.starts_with(*std::prev(above))) {
            at = signatures.erase(at);
            continue;
        }
        while (above != beginnings.end() && above->starts_with(digest)) {
            above = beginnings.erase(above);
        }
        beginnings.insert(above, digest);
    }
}

}  // namespace brindlemoss::analysis::plugins::text_analysis
