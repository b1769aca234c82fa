#include "image/label_map.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

#include "image/line_measures.h"
#include "image/rect_index.h"

namespace brindlemoss::analysis::plugins::image_analysis {

namespace {

constexpr std::int32_t strip_width = 16;  // columns that are read at a time, row by row
constexpr std::size_t usual_components = 1000;
constexpr std::int32_t run = 8;  // flags that are looked at in one go

bool is_zero_run(const std::uint8_t* flags) {
    std::uint64_t all;
    static_assert(sizeof all == run);
    std::memcpy(&all, flags, sizeof all);
    return all == 0;
}

template <typename label>
label first_label(label a, label b, label c, label d) {
    if (a != 0) return a;
    if (b != 0) return b;
    return c != 0 ? c : d;
}

}  // namespace

template <typename label>
label_map_of<label>::label_map_of(const plane& levels, const level_flags& background)
    : levels_(levels), stride_(static_cast<std::size_t>(levels.width) + 2) {
    for (std::size_t level = 0; level < background.size(); ++level) {
        foreground_[level] = background[level] ? 0 : 1;
    }
    // Fresh pages come zeroed from the system, and those without text are never touched.
    void* const memory =
        std::calloc(stride_ * static_cast<std::size_t>(levels.height), sizeof(label));
    labels_.reset(static_cast<label*>(memory));
    if (labels_ == nullptr) throw std::bad_alloc();
}

template <typename label>
std::span<component> label_map_of<label>::label_line(const text_line& line, bool needed_later) {
    components_.clear();
    components_.reserve(usual_components);
    components_.emplace_back();
    const rect& box = line.box;
    label_box({std::max(box.left, 0), std::max(box.top, 1), std::min(box.right, levels_.width - 1),
               std::min(box.bottom, levels_.height - 2)},
              needed_later);
    const rect& bounds = line.bounding_box;
    extend_right({std::max(box.right, 0), std::max(bounds.top, 1),
                  std::min(bounds.right, levels_.width - 1),
                  std::min(bounds.bottom, levels_.height - 2)});
    extend_rows(line);
    return std::span(components_).subspan(1);
}

template <typename label>
void label_map_of<label>::label_box(const rect& box, bool needed_later) {
    if (width_of(box) <= 0 || height_of(box) <= 0) return;
    const auto size = static_cast<std::size_t>(height_of(box)) + 2;
    column_.resize(size);
    column_before_.resize(size);
    for (std::size_t place = 0; place < size; ++place) {
        column_before_[place] = row(box.top - 1 + static_cast<std::int32_t>(place))[box.left - 1];
    }
    rect strip = box;
    for (; strip.left <= box.right; strip.left += strip_width) {
        strip.right = std::min(strip.left + strip_width - 1, box.right);
        gather_strip(strip);
        const std::uint8_t* foreground = strip_.data();
        for (std::int32_t x = strip.left; x <= strip.right; ++x, foreground += size - 2) {
            label_column(x, box.top, box.bottom, foreground);
            if (needed_later || x >= box.right - 1) {
                keep_column(x, box.top, box.bottom);
            } else {  // what lies beyond the edges may hang on them
                row(box.top)[x] = column_[1];
                row(box.bottom)[x] = column_[size - 2];
            }
            column_.swap(column_before_);
        }
    }
}

// A walk down the columns of a tall picture would leave the cache behind at every pixel.
template <typename label>
void label_map_of<label>::gather_strip(const rect& strip) {
    const auto rows = static_cast<std::size_t>(height_of(strip));
    const std::int32_t columns = strip.right - strip.left + 1;
    strip_.resize(rows * strip_width);
    std::uint8_t* flags = strip_.data();
    const std::uint8_t* level = levels_.row(strip.top) + strip.left;
    const auto gather_row = [&](std::int32_t count) {
        std::uint8_t* flag = flags++;
        for (std::int32_t column = 0; column < count; ++column, flag += rows) {
            *flag = foreground_[level[column]];
        }
        level += levels_.width;
    };
    for (std::size_t left = rows; left > 0; --left) {
        if (columns == strip_width) {
            gather_row(strip_width);
        } else {
            gather_row(columns);
        }
    }
}

template <typename label>
void label_map_of<label>::label_column(std::int32_t x, std::int32_t top, std::int32_t bottom,
                                       const std::uint8_t* foreground) {
    label* const labels = column_.data();  // one row ahead of the flags
    const label* const before = column_before_.data();
    const std::int32_t rows = bottom - top + 1;
    labels[0] = row(top - 1)[x];
    labels[rows + 1] = row(bottom + 1)[x];
    std::fill_n(labels + 1, rows, label{0});
    for (std::int32_t place = 1; place <= rows; ++place) {
        if (foreground[place - 1] == 0) {
            if (rows - place >= run && is_zero_run(foreground + place)) place += run;
            continue;
        }
        label number =
            first_label(before[place - 1], before[place], before[place + 1], labels[place - 1]);
        const std::int32_t y = top + place - 1;
        if (number == 0) {
            number = static_cast<label>(components_.size());
            components_.push_back({{x, y, x, y}});
        } else if (number < components_.size()) {
            rect& box = components_[number].box;  // begins in this column or before
            box.right = x;
            box.top = std::min(box.top, y);
            box.bottom = std::max(box.bottom, y);
        }
        labels[place] = number;
    }
}

// Background has no label in the map either.
template <typename label>
void label_map_of<label>::keep_column(std::int32_t x, std::int32_t top, std::int32_t bottom) {
    const label* number = column_.data() + 1;
    label* kept = row(top) + x;
    for (std::int32_t y = top; y <= bottom; ++y, ++number, kept += stride_) {
        if (*number != 0) *kept = *number;
    }
}

// Column by column, with labels that come from the left or from above.
template <typename label>
void label_map_of<label>::extend_right(const rect& area) {
    for (std::int32_t x = area.left; x <= area.right; ++x) {
        for (std::int32_t y = area.top; y <= area.bottom; ++y) {
            if (!is_foreground(levels_.row(y)[x])) continue;
            const label number =
                first_label(row(y - 1)[x - 1], row(y)[x - 1], row(y + 1)[x - 1], row(y - 1)[x]);
            if (number == 0) continue;
            row(y)[x] = number;
            widen(number, x, y);
        }
    }
}

template <typename label>
void label_map_of<label>::extend_rows(const text_line& line) {
    const rect& bounds = line.bounding_box;
    const std::int32_t left = std::max(bounds.left, 0);
    const std::int32_t right = std::min(bounds.right, levels_.width - 1);
    const std::int32_t top = std::max(bounds.top, 1);
    const std::int32_t bottom = std::min(bounds.bottom, levels_.height - 2);
    std::int32_t y = std::min(line.box.top - 1, levels_.height - 2);
    while (y >= top && extend_to_row(y, y + 1, left, right)) --y;
    y = std::max(line.box.bottom + 1, 1);
    while (y <= bottom && extend_to_row(y, y - 1, left, right)) ++y;
}

// Whether any pixel got a label.
template <typename label>
bool label_map_of<label>::extend_to_row(std::int32_t y, std::int32_t labelled_y, std::int32_t left,
                                        std::int32_t right) {
    const std::uint8_t* const levels = levels_.row(y);
    const label* const from = row(labelled_y);
    label* const labels = row(y);
    bool labelled = false;
    for (std::int32_t x = left; x <= right; ++x) {
        if (!is_foreground(levels[x])) continue;
        const label number = first_label(from[x - 1], from[x], from[x + 1], labels[x - 1]);
        if (number == 0) continue;
        labels[x] = number;
        widen(number, x, y);
        labelled = true;
    }
    return labelled;
}

// A number that another line has left behind need not be one of this line.
template <typename label>
void label_map_of<label>::widen(label number, std::int32_t x, std::int32_t y) {
    if (number >= components_.size()) return;
    rect& box = components_[number].box;
    box = hull_of(box, {x, y, x, y});
}

template class label_map_of<std::uint16_t>;
template class label_map_of<std::uint32_t>;

bool fit_small_labels(const std::list<text_line*>& lines) {
    return std::all_of(lines.begin(), lines.end(), [](const text_line* line) {
        return area_of(line->box) <= std::numeric_limits<std::uint16_t>::max();
    });
}

std::vector<bool> needed_later(const std::list<text_line*>& lines) {
    rect_index boxes(hull_of_lines(lines));
    std::size_t number = 0;
    for (const text_line* line : lines) boxes.add(number++, line->box);
    std::vector<bool> needed(lines.size(), false);
    std::vector<std::size_t> found;
    for (auto line = lines.rbegin(); line != lines.rend(); ++line) {
        --number;
        const rect swept = hull_of((*line)->box, (*line)->bounding_box);
        found.clear();
        boxes.take({swept.left - 1, swept.top - 1, swept.right + 1, swept.bottom + 1}, found);
        // Later lines have been taken by themselves.
        for (const std::size_t place : found) needed[place] = needed[place] || place != number;
    }
    return needed;
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
