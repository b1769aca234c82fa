#include "analysis/plugins/word_table.h"

#include <random>

namespace brindlemoss::analysis::plugins::text_analysis {
namespace {

struct hash_keys {
    std::uint64_t first;
    std::uint64_t second;
};

hash_keys random_keys() {
    std::random_device source;
    const auto random_bits = [&] {
        const std::uint64_t high = source();
        return high << 32 | source();
    };
    const std::uint64_t first = random_bits();
    return {first, random_bits() | 1};
}

}  // namespace

secret_hash::secret_hash() {
    static const hash_keys keys = random_keys();
    first_key_ = keys.first;
    second_key_ = keys.second;
}

}  // namespace brindlemoss::analysis::plugins::text_analysis
