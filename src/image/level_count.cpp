#include "image/level_count.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

// Counts eight pixels at a time, and the same eight only once with the number of their repeats:
// pages are mostly paper.
class repeated_levels {
public:
    void add(const std::uint8_t* pixels) {
        if (std::memcmp(last_.data(), pixels, last_.size()) != 0) {
            count_last();
            std::memcpy(last_.data(), pixels, last_.size());
        }
        ++repeats_;
    }

    void add_to(level_counters& sum) {
        count_last();
        for (const level_counters& counts : tables_) {
            for (std::size_t level = 0; level < sum.size(); ++level) sum[level] += counts[level];
        }
    }

private:
    void count_last() {
        for (std::size_t place = 0; place < last_.size(); ++place) {
            tables_[place % tables_.size()][last_[place]] += repeats_;
        }
        repeats_ = 0;
    }

    std::array<std::uint8_t, 8> last_{};
    std::uint32_t repeats_ = 0;
    // A counter that was just written is slow to read again, and neighbours are often equal.
    std::array<level_counters, 4> tables_{};
};

}  // namespace

level_counters count_levels(const plane& levels, const rect& area) {
    level_counters sum{};
    repeated_levels repeated;
    for (std::int32_t y = area.top; y <= area.bottom; ++y) {
        const std::uint8_t* const row = levels.row(y);
        std::int32_t x = area.left;
        for (; x + 8 <= area.right + 1; x += 8) repeated.add(row + x);
        for (; x <= area.right; ++x) ++sum[row[x]];
    }
    repeated.add_to(sum);
    return sum;
}

std::uint8_t most_frequent_level(const level_counters& counts) {
    return static_cast<std::uint8_t>(std::max_element(counts.begin(), counts.end()) -
                                     counts.begin());
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
