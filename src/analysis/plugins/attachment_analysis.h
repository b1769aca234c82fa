#pragma once

#include "analysis/plugin.h"

namespace brindlemoss::analysis::plugins::attachment_analysis {

// Fingerprints attached files, so that the community recognises one file in many messages.
//
// Each part with a file name and a body that is not empty gives one signature of the kind "prd", in
// level order: the digest of the body, which does not depend on its transfer coding. Multiparts and
// attached messages, with all that these hold, give none. No tests, no report lines.
//
// Throws replay::coding::translate::invalid_codeword for a broken encoded word in a header; a
// header that cannot be converted to text counts as missing.
class plugin final : public generic::plugin {
public:
    void generate(replay::internet::message2::part& root, signature_list& signatures,
                  test_list& tests, report& lines) override;
    void evaluate(replay::internet::message2::part&, signature_list&, test_list&,
                  report&) override {}
};

}  // namespace brindlemoss::analysis::plugins::attachment_analysis
