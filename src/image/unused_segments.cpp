#include "image/unused_segments.h"

#include <algorithm>
#include <numeric>

namespace brindlemoss::analysis::plugins::image_analysis {

namespace {

std::size_t follow(std::uint32_t* links, std::size_t place) {
    while (links[place] != place) {
        links[place] = links[links[place]];
        place = links[place];
    }
    return place;
}

}  // namespace

unused_segments::unused_segments(row_segments& segments) : segments_(segments) {
    begin_.reserve(segments.rows.size());
    std::size_t places = 0;
    for (const std::vector<text_segment>& row : segments.rows) {
        begin_.push_back(places);
        places += row.size() + 1;
    }
    later_.resize(places);
    earlier_.resize(places);
    for (std::size_t y = 0; y < begin_.size(); ++y) {
        const std::size_t end = y + 1 < begin_.size() ? begin_[y + 1] : places;
        for (auto* links : {&later_, &earlier_}) {
            std::iota(links->data() + begin_[y], links->data() + end, 0U);
        }
    }
}

std::size_t unused_segments::first_from(std::int32_t y, std::int32_t x) {
    const std::vector<text_segment>& row = segments_.of(y);
    const auto place = std::partition_point(
        row.begin(), row.end(), [&](const text_segment& each) { return each.right < x; });
    return next(y, static_cast<std::size_t>(place - row.begin()));
}

std::size_t unused_segments::next(std::int32_t y, std::size_t number) {
    return follow(later(y), number);
}

std::size_t unused_segments::end_before(std::int32_t y, std::size_t number) {
    return follow(earlier(y), number);
}

const text_segment& unused_segments::use(std::int32_t y, std::size_t number) {
    later(y)[number] = static_cast<std::uint32_t>(number + 1);
    earlier(y)[number + 1] = static_cast<std::uint32_t>(number);
    text_segment& used = segments_.of(y)[number];
    used.used = true;
    return used;
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
