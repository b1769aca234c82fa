#pragma once

#include "analysis/plugin.h"

namespace brindlemoss::analysis::plugins::header_analysis {

// Judges the headers of the root alone.
//
// Tests, in this order, each at most once: "Message.Empty", "Message.Root_Attachment",
// "Message.Root_Suspicious", "Header.Forged_X-Mailer", and one of "Header.Malformed_Message-ID" and
// "Header.Forged_Message-ID". At most one signature, of the kind "hsi": the public IPv4 address of
// the machine that first handled the message, in dotted decimal. No report lines.
//
// Throws replay::coding::translate::invalid_codeword for a broken encoded word in a header, and
// what text() of the root throws; a header that cannot be converted to text counts as missing. Time
// is linear in the size of the headers.
class plugin final : public generic::plugin {
public:
    void generate(replay::internet::message2::part& root, signature_list& signatures,
                  test_list& tests, report& lines) override;
    void evaluate(replay::internet::message2::part&, signature_list&, test_list&,
                  report&) override {}
};

}  // namespace brindlemoss::analysis::plugins::header_analysis
