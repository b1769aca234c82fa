// The whole local rating of a message of any bytes: nothing may come out but a rating, and of two
// ratings of one message both must be the same.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "analysis/filter_engine.h"
#include "foundation/exception.h"
#include "message/part.h"
#include "support.h"

namespace {

using fuzz_support::require;
using namespace brindlemoss::analysis;
using replay::internet::message2::part;

// Rates by itself: no store, no log.
const filter_engine& local_engine() {
    static filter_services nobody;
    static const filter_engine engine(nobody);
    return engine;
}

verdict rate(std::string_view raw, occasion when) {
    part message(raw);
    return local_engine().score(message, when);
}

bool same_signatures(const signature_list& left, const signature_list& right) {
    return left.size() == right.size() &&
           std::equal(left.begin(), left.end(), right.begin(), [](const auto& a, const auto& b) {
               return a.kind == b.kind && a.digest == b.digest;
           });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view raw(reinterpret_cast<const char*>(data), size);
    try {
        const verdict first = rate(raw, occasion::first);
        const verdict again = rate(raw, occasion::again);
        require(first.rating <= 100);
        require(first.rating == again.rating && first.settled_by == again.settled_by);
        require(first.class_name == again.class_name);
        require(same_signatures(first.signatures, again.signatures));
    } catch (const replay::exception&) {  // a message that cannot be read
    }
    return 0;
}
