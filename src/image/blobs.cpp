#include "image/blobs.h"

#include <algorithm>
#include <cstddef>
#include <tuple>

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

// Sets of pixels that are joined as they are found to hang together.
class joined_boxes {
public:
    std::uint32_t add(const rect& box) {
        boxes_.push_back(box);
        parents_.push_back(static_cast<std::uint32_t>(parents_.size()));
        return parents_.back();
    }

    void join(std::uint32_t a, std::uint32_t b) {
        a = root_of(a);
        b = root_of(b);
        if (a == b) return;
        parents_[std::max(a, b)] = std::min(a, b);
        boxes_[std::min(a, b)] = hull_of(boxes_[a], boxes_[b]);
    }

    template <typename visitor>
    void for_each(visitor visit) const {
        for (std::size_t id = 0; id < parents_.size(); ++id) {
            if (parents_[id] == id) visit(boxes_[id]);
        }
    }

private:
    std::uint32_t root_of(std::uint32_t id) {
        while (parents_[id] != id) {
            parents_[id] = parents_[parents_[id]];
            id = parents_[id];
        }
        return id;
    }

    std::vector<std::uint32_t> parents_;
    std::vector<rect> boxes_;  // of a set, at its root
};

struct row_of_runs {
    std::vector<stretch> runs;
    std::vector<std::uint32_t> sets;  // one for each run
};

// Joins the runs of a row with those above that touch them.
void join_rows(const row_of_runs& above, const row_of_runs& here, joined_boxes& sets) {
    std::size_t upper = 0;
    for (std::size_t lower = 0; lower < here.runs.size(); ++lower) {
        const stretch& run = here.runs[lower];
        while (upper < above.runs.size() && above.runs[upper].last + 1 < run.first) ++upper;
        for (std::size_t at = upper; at < above.runs.size() && above.runs[at].first <= run.last + 1;
             ++at) {
            sets.join(above.sets[at], here.sets[lower]);
        }
    }
}

}  // namespace

std::vector<rect> find_blobs(const background_map& background, const rect& band,
                             std::int32_t lowest) {
    joined_boxes sets;
    row_of_runs above;
    row_of_runs here;
    for (std::int32_t y = band.top; y <= band.bottom; ++y) {
        here.runs.clear();
        here.sets.clear();
        background.foreground_in_row(y, band.left, band.right, here.runs);
        for (const stretch& run : here.runs) {
            here.sets.push_back(sets.add({run.first, y, run.last, y}));
        }
        join_rows(above, here, sets);
        std::swap(above, here);
    }
    std::vector<rect> blobs;
    sets.for_each([&](const rect& box) {
        if (height_of(box) >= lowest) blobs.push_back(box);
    });
    std::sort(blobs.begin(), blobs.end(), [](const rect& a, const rect& b) {
        return std::tie(a.left, a.top, a.right, a.bottom) <
               std::tie(b.left, b.top, b.right, b.bottom);
    });
    return blobs;
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
