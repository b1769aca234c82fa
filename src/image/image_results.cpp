#include "image/image_results.h"

#include <algorithm>
#include <string>

#include "analysis/report_text.h"
#include "foundation/md5.h"

namespace brindlemoss::analysis::plugins::image_analysis {

void image_results::add(const engine_result& result, signature_list& signatures) {
    for (const std::string& each : result.signatures) {
        const std::string digest =
            replay::md5(each).base64(replay::coding::translate::padding::none);
        push_signature(signatures, u"pid", widen(digest), widen(each));
    }
    for (const image_test& each : result.tests) {
        for (strongest_test& kept : strongest_) {
            if (each.name == kept.name) kept.score = std::max(kept.score, each.score);
        }
    }
}

void image_results::push_tests(test_list& tests) const {
    for (const strongest_test& each : strongest_) {
        if (each.score != 0) push_test(tests, each.name, each.score);
    }
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
