#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "image/row_segments.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// Finds the segments of a row that no region has used yet, without walking over those that one has:
// used ones are skipped in ever longer steps. The segments are borrowed.
class unused_segments {
public:
    explicit unused_segments(row_segments& segments);

    // The number in its row of the first unused segment that does not end left of `x`; the size of
    // the row where there is none.
    std::size_t first_from(std::int32_t y, std::int32_t x);

    // The first unused segment from `number` on.
    std::size_t next(std::int32_t y, std::size_t number);

    // One more than the number of the last unused segment in front of `number`, 0 where there is
    // none.
    std::size_t end_before(std::int32_t y, std::size_t number);

    const text_segment& at(std::int32_t y, std::size_t number) const {
        return segments_.of(y)[number];
    }
    std::size_t count(std::int32_t y) const { return segments_.of(y).size(); }

    const text_segment& use(std::int32_t y, std::size_t number);

private:
    std::uint32_t* later(std::int32_t y) { return later_.data() + begin_[y]; }
    std::uint32_t* earlier(std::int32_t y) { return earlier_.data() + begin_[y]; }

    row_segments& segments_;
    std::vector<std::size_t> begin_;  // by row, where its places in the next two begin
    // Places 0 to count of a row. Each points to itself or to one nearer to an unused segment.
    std::vector<std::uint32_t> later_;
    std::vector<std::uint32_t> earlier_;
};

}  // namespace brindlemoss::analysis::plugins::image_analysis
