#include "analysis/plugins/text_analysis.h"
#include "analysis/plugins/folded_words.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "analysis/plugins/signatures.h"
#include "analysis/plugins/token_signatures.h"
#include "analysis/plugins/tokens.h"
#include "analysis/plugins/urls.h"
#include "analysis/report_text.h"
#include "message/character_set.h"
#include "platform/character_class.h"
#include "platform/wide_search.h"

namespace brindlemoss::analysis::plugins::text_analysis {
namespace {

using replay::internet::message2::part;

// The text that all filters agree to call spam, for trying one out: the Generic Test for
// Unsolicited Bulk Email.
constexpr std::u16string_view gtube =
    u"XJS*C4JDBQADN1.NSBN3*2IDNEN*GTUBE-STANDARD-ANTI-UBE-TEST-EMAIL*C.34X";

bool holds_gtube(std::u16string_view text) {
    for (std::size_t at = 0;
         (at = replay::platform::find_unit(text, gtube.front(), at)) != text.npos; ++at) {
        if (text.substr(at).starts_with(gtube)) return true;
    }
    return false;
}

// A plain text as long as this is not searched for URLs.
constexpr std::size_t size_without_scan = 16384;

constexpr std::size_t most_entity_tests = 3;

// The text as it was sent; empty, and a test, where it cannot be converted.
std::u16string_view decoded_text(part& displayable, test_list& tests) {
    try {
        return displayable.text();
    } catch (const replay::unicode::generic& error) {
        push_test(
            tests, u"Part.Text.Unicode_Conversion", 40,
            u"Error: " + widen(error.message()) + u" Character Set: " + widen(displayable.charset));
        return {};
    }
}

void push_entity_tests(const html_converter& converter, test_list& tests) {
    std::size_t fired = 0;
    for (const std::u16string& name : converter.unknown_entities) {
        if (name.empty()) continue;
        if (fired++ == most_entity_tests) return;
        push_test(tests, u"Part.Text.Unknown_Markup_Entity", 10, u"Entity: \"" + name + u"\"");
    }
}

// The text that a reader sees, and the links of HTML.
std::u16string visible_text(part& displayable, std::vector<std::u16string>& links,
                            test_list& tests) {
    const std::u16string_view decoded = decoded_text(displayable, tests);
    if (displayable.content_type != "text/html") return std::u16string(decoded);
    html_converter converter;
    converter.result.reserve(decoded.size());
    replay::html::parse(decoded, converter);
    push_entity_tests(converter, tests);
    links = std::move(converter.links);
    return std::move(converter.result);
}

void analyse_words(const part& root, std::u16string_view normalised, signature_list& signatures,
                   test_list& tests) {
    token_list tokens(normalised);
    check_address_customisation(root, tokens, tests);
    check_permutated_tokens(tokens, tests);
    const folded_words words(tokens);
    push_block_signatures(words, signatures);
    push_length_curve_signatures(words, signatures);
    push_structure_signatures(words, signatures);
}

}  // namespace

void html_converter::attribute(std::u16string_view name, std::u16string_view value) {
    constexpr std::u16string_view elsewhere[] = {u"mailto:", u"cid:", u"mid:"};
    if (name != u"href" && name != u"src") return;
    const bool leads_to_no_server =
        std::any_of(std::begin(elsewhere), std::end(elsewhere),
                    [&](std::u16string_view scheme) { return value.starts_with(scheme); });
    if (!leads_to_no_server) links.push_back(replay::platform::to_lower(value));
}

void plugin::generate(part& root, signature_list& signatures, test_list& tests, report& lines) {
    part* const displayable = displayable_part(root);
    if (displayable == nullptr) {
        push_test(tests, u"MIME.Displayable", 20, u"No displayable text part found in message");
        return;
    }
    push_line(lines, 0, u"");
    push_line(lines, 0, u"Text Analysis:");
    push_line(lines, 1, u"Displayable Part: " + address_text(displayable));

    std::vector<std::u16string> links;
    std::u16string text = visible_text(*displayable, links, tests);
    if (holds_gtube(text)) {
        push_test(tests, u"Diagnostic.GTUBE", 100, u"This is a GTUBE Diagnostic Message");
    }
    normalise(text);
    analyse_words(root, text, signatures, tests);
    if (!links.empty()) {
        analyse_links(root, links, signatures);
    } else if (text.size() < size_without_scan) {
        scan_text(text, signatures);
    }
    reduce_url_signatures(signatures);
}

void plugin::evaluate(part&, signature_list&, test_list&, report&) {}

}  // namespace brindlemoss::analysis::plugins::text_analysis
