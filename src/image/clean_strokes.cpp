#include "image/clean_strokes.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace brindlemoss::analysis::plugins::image_analysis {

namespace {

constexpr std::int32_t margin = 8;
constexpr std::int32_t last_offset = 3;  // from the first to the last column and row of a cell
constexpr std::int32_t overlapping = 2;  // cells to the right that share inner pixels written

struct stroke {
    const char* label;
    std::uint8_t* first;
    std::uint8_t* second;
};

// The two darker pixels to wipe among the four inner ones, if they form one of four strokes.
stroke find_stroke(std::uint8_t* a, std::uint8_t* b, std::uint8_t* c, std::uint8_t* d, int lowest,
                   int highest) {
    const auto kind = [&](int level) { return level < lowest ? 1 : level > highest ? 2 : 0; };
    switch (((kind(*a) * 3 + kind(*b)) * 3 + kind(*c)) * 3 + kind(*d)) {
        case 12: return {"Up right", b, c};
        case 28: return {"Up left", a, d};
        case 30: return {"Vertical", a, c};
        case 36: return {"Horizontal", a, b};
        default: return {nullptr, nullptr, nullptr};
    }
}

class stroke_cleaner {
public:
    stroke_cleaner(plane& levels, const rect& area, const checkpoints& checkpoint)
        : levels_(levels),
          area_(area),
          cells_(static_cast<std::int32_t>(width_of(area)) - last_offset),
          suspects_(static_cast<std::size_t>(std::max(cells_, 0))),
          checkpoint_(checkpoint) {}

    void clean() {
        if (cells_ <= 0) return;
        for (std::int32_t y = area_.top; y + last_offset <= area_.bottom; ++y) clean_row(y);
    }

private:
    void clean_row(std::int32_t y) {
        for (std::int32_t i = 0; i < 4; ++i) rows_[i] = levels_.row(y + i) + area_.left;
        find_suspects();
        std::int32_t cell = next_suspect(0);
        while (cell < cells_) {
            if (wipe(cell, y)) {
                const std::int32_t end = std::min(cell + overlapping, cells_ - 1);
                for (std::int32_t next = cell + 1; next <= end; ++next) suspects_[next] = 1;
            }
            cell = next_suspect(cell + 1);
        }
    }

    // Marks the cells whose inner pixels may form a stroke: a and another one, or b and c, are
    // below all of the border. Few are, and this much the compiler does for 16 cells at a time.
    void find_suspects() {
        const std::uint8_t* __restrict r0 = rows_[0];
        const std::uint8_t* __restrict r1 = rows_[1];
        const std::uint8_t* __restrict r2 = rows_[2];
        const std::uint8_t* __restrict r3 = rows_[3];
        std::uint8_t* __restrict out = suspects_.data();
        const std::int32_t count = cells_;
        for (std::int32_t x = 0; x < count; ++x) {
            const std::uint8_t c0 = std::min(r0[x], r3[x]);
            const std::uint8_t c1 = std::min(r0[x + 1], r3[x + 1]);
            const std::uint8_t c2 = std::min(r0[x + 2], r3[x + 2]);
            const std::uint8_t c3 = std::min(r0[x + 3], r3[x + 3]);
            const std::uint8_t left = std::min(r1[x], r2[x]);
            const std::uint8_t right = std::min(r1[x + 3], r2[x + 3]);
            const std::uint8_t lowest =
                std::min(std::min(std::min(c0, c1), std::min(c2, c3)), std::min(left, right));
            const std::uint8_t a = r1[x + 1], b = r1[x + 2], c = r2[x + 1], d = r2[x + 2];
            const std::uint8_t with_a = std::max(a, std::min(b, std::min(c, d)));
            const std::uint8_t pair = std::min(with_a, std::max(b, c));
            out[x] = pair < lowest ? 1 : 0;
        }
    }

    std::int32_t next_suspect(std::int32_t from) const {
        if (from >= cells_) return cells_;
        const std::uint8_t* const begin = suspects_.data();
        const void* const found =
            std::memchr(begin + from, 1, static_cast<std::size_t>(cells_ - from));
        return found == nullptr
                   ? cells_
                   : static_cast<std::int32_t>(static_cast<const std::uint8_t*>(found) - begin);
    }

    bool wipe(std::int32_t x, std::int32_t y) {
        const std::uint8_t border[] = {rows_[0][x],     rows_[0][x + 1], rows_[0][x + 2],
                                       rows_[0][x + 3], rows_[1][x + 3], rows_[2][x + 3],
                                       rows_[3][x + 3], rows_[3][x + 2], rows_[3][x + 1],
                                       rows_[3][x],     rows_[2][x],     rows_[1][x]};
        std::uint8_t lowest = 255;
        std::uint8_t highest = 0;
        for (const std::uint8_t level : border) {
            // A level that lowers the one never raises the other.
            if (level < lowest) {
                lowest = level;
            } else if (level > highest) {
                highest = level;
            }
        }
        const stroke found = find_stroke(rows_[1] + x + 1, rows_[1] + x + 2, rows_[2] + x + 1,
                                         rows_[2] + x + 2, lowest, highest);
        if (found.label == nullptr) return false;
        *found.first = lowest;
        *found.second = lowest;
        const std::int32_t left = area_.left + x;
        checkpoint_(found.label, rect{left, y, left + last_offset, y + last_offset});
        return true;
    }

    plane& levels_;
    rect area_;
    std::int32_t cells_;  // in a row
    std::vector<std::uint8_t> suspects_;
    std::uint8_t* rows_[4] = {};
    const checkpoints& checkpoint_;
};

}  // namespace

void clean_strokes(plane& levels, const rect& crop, const checkpoints& checkpoint) {
    const rect area{std::max(crop.left - margin, 0), std::max(crop.top - margin, 0),
                    std::min(crop.right + margin, levels.width - 1),
                    std::min(crop.bottom + margin, levels.height - 1)};
    checkpoint("Median 4x4", area);
    stroke_cleaner(levels, area, checkpoint).clean();
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
