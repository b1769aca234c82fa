#pragma once

#include <string>
#include <vector>

#include "analysis/record.h"
#include "support/printable.h"

namespace test_support {

// Each test as the report writes it: "30 Header.Forged_X-Mailer -- detail".
inline std::vector<std::string> test_texts(const brindlemoss::analysis::test_list& tests) {
    std::vector<std::string> texts;
    for (const auto& each : tests) {
        std::string text = std::to_string(each.score) + " " + printable(each.name);
        if (!each.detail.empty()) text += " -- " + printable(each.detail);
        texts.push_back(text);
    }
    return texts;
}

// Each signature with its whole kind: "hsi 192.0.2.1 -- comment".
inline std::vector<std::string> signature_texts(
    const brindlemoss::analysis::signature_list& signatures) {
    std::vector<std::string> texts;
    for (const auto& each : signatures) {
        std::string text = printable(each.kind) + " " + printable(each.digest);
        if (!each.comment.empty()) text += " -- " + printable(each.comment);
        texts.push_back(text);
    }
    return texts;
}

}  // namespace test_support
