#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "analysis/plugin.h"
#include "message/html_reader.h"

namespace brindlemoss::analysis::plugins::text_analysis {

// Keeps the visible text of HTML, and what it links to.
class html_converter : public replay::html::convert_to_text {
public:
    // The values of "href" and "src" of any tag, within the body or not, in lower case and in the
    // order of the text. Those that begin with "mailto:", "cid:" or "mid:" lead to no server and
    // are left out. Case counts in all these names.
    std::vector<std::u16string> links;

    using convert_to_text::attribute;
    void attribute(std::u16string_view name, std::u16string_view value) override;
};

// Looks at the text that a reader of the message would see: its words and its URLs.
class plugin : public generic::plugin {
public:
    // The header "To" or "CC" and numeric entities of HTML may throw
    // replay::coding::translate::invalid_codeword. A text that its character set cannot convert
    // gives a test and counts as empty.
    void generate(replay::internet::message2::part& root, signature_list& signatures,
                  test_list& tests, report& lines) override;

    // Nothing.
    void evaluate(replay::internet::message2::part& root, signature_list& signatures,
                  test_list& tests, report& lines) override;
};

}  // namespace brindlemoss::analysis::plugins::text_analysis
