#include "image/picture_signatures.h"

#include <cstddef>
#include <cstdint>
#include <utility>

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

constexpr std::size_t shortest_signature = 150;

class quad_code {
public:
    explicit quad_code(const flatness& flat) : flatness_(flat) {}

    // Each call halves the longer side at least, so that it goes no deeper than twice the bits of a
    // coordinate.
    void visit(std::int32_t left, std::int32_t top, std::int32_t right, std::int32_t bottom) {
        if (flatness_.is_flat({left, top, right, bottom})) {
            has_flat_leaf = true;
            text += ".4";
            return;
        }
        text += ".5";
        const bool tall = bottom - top > 13;
        const bool narrow = right - left < 14;
        const std::int32_t middle_x = (left + right) / 2;
        const std::int32_t middle_y = (top + bottom) / 2;
        if (narrow && !tall) {
            text += ".0";
        } else if (narrow) {
            text += ".2";
            visit(left, top, right, middle_y);
            visit(left, middle_y + 1, right, bottom);
        } else if (tall) {
            text += ".3";
            visit(left, top, middle_x, middle_y);
            visit(middle_x + 1, top, right, middle_y);
            visit(left, middle_y + 1, middle_x, bottom);
            visit(middle_x + 1, middle_y + 1, right, bottom);
        } else {
            text += ".1";
            visit(left, top, middle_x, bottom);
            visit(middle_x + 1, top, right, bottom);
        }
    }

    std::string text;
    bool has_flat_leaf = false;

private:
    const flatness& flatness_;
};

class flat_cells {
public:
    explicit flat_cells(const flatness& flat) : flatness_(flat) {}

    void visit(const rect& area, int depth) {
        constexpr int finest = 2;
        if (depth == finest) {
            const bool flat = flatness_.is_flat(area);
            tokens += flat ? ".0" : ".1";
            flat_count += flat;
            return;
        }
        const std::int32_t columns = area.right - area.left;
        const std::int32_t rows = area.bottom - area.top;
        const std::int32_t x1 = area.left + (columns + 1) / 3;
        const std::int32_t x2 = area.left + (2 * columns + 2) / 3;
        const std::int32_t y1 = area.top + (rows + 1) / 3;
        const std::int32_t y2 = area.top + (2 * rows + 2) / 3;
        // Rows of cells share their border line, columns of cells don't: part of the format.
        for (const auto& [top, bottom] : {vertical{area.top, y1}, {y1, y2}, {y2, area.bottom}}) {
            visit({area.left, top, x1, bottom}, depth + 1);
            visit({x1 + 1, top, x2, bottom}, depth + 1);
            visit({x2 + 1, top, area.right, bottom}, depth + 1);
        }
    }

    std::string tokens;
    int flat_count = 0;

private:
    struct vertical {
        std::int32_t top, bottom;
    };

    const flatness& flatness_;
};

}  // namespace

std::string make_quad_code(const flatness& flat, const rect& picture) {
    constexpr std::int64_t smallest_side = 16;
    if (width_of(picture) < smallest_side || height_of(picture) < smallest_side) return {};
    const auto margin_x = static_cast<std::int32_t>(width_of(picture) * 5 / 100);
    const auto margin_y = static_cast<std::int32_t>(height_of(picture) * 5 / 100);
    quad_code code(flat);
    code.visit(picture.left + margin_x, picture.top + margin_y, picture.right - margin_x,
               picture.bottom - margin_y);
    if (!code.has_flat_leaf || code.text.size() < shortest_signature) return {};
    return std::move(code.text);
}

std::string make_bitmap_signature(const flatness& flat, const rect& picture) {
    constexpr int fewest_flat_cells = 3;
    if (width_of(picture) < 64 || height_of(picture) < 45) return {};
    flat_cells cells(flat);
    cells.visit(picture, 0);
    std::string text = "[bitmap-7.6-a]";
    text += width_of(picture) > height_of(picture) ? ".2" : ".3";
    text += cells.tokens;
    if (cells.flat_count < fewest_flat_cells || text.size() < shortest_signature) return {};
    return text;
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
