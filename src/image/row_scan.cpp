#include "image/row_scan.h"

#include <algorithm>
#include <cstring>

namespace brindlemoss::analysis::plugins::image_analysis {

namespace {

constexpr std::int32_t reach = 10;  // columns that count on either side of one
constexpr int least_activity = 130;
constexpr int strong_gradient = 60;
constexpr std::uint8_t falling = 1;  // marks of columns
constexpr std::uint8_t rising = 2;
constexpr std::int32_t coarse_step = 4;
constexpr double least_coarse_density = 0.1;

// The extremes of each three neighbours `step_1` and `step_2` apart. Taking them of threes, then of
// sevens, then of twenty-one columns costs the same whatever the row holds.
void take_extremes(const std::int16_t* __restrict low, const std::int16_t* __restrict high,
                   std::int32_t count, std::int32_t step_1, std::int32_t step_2,
                   std::int16_t* __restrict low_out, std::int16_t* __restrict high_out) {
    for (std::int32_t i = 0; i < count; ++i) {
        low_out[i] = std::min(std::min(low[i], low[i + step_1]), low[i + step_2]);
        high_out[i] = std::max(std::max(high[i], high[i + step_1]), high[i + step_2]);
    }
}

// The first place from `from` on that holds `wanted`, `count` where there is none.
std::int32_t find_flag(const std::vector<std::uint8_t>& flags, std::int32_t from,
                       std::uint8_t wanted) {
    const std::uint8_t* const begin = flags.data() + from;
    const void* const found =
        std::memchr(begin, wanted, flags.size() - static_cast<std::size_t>(from));
    return found == nullptr
               ? static_cast<std::int32_t>(flags.size())
               : from + static_cast<std::int32_t>(static_cast<const std::uint8_t*>(found) - begin);
}

std::string_view label_of(crossing_verdict verdict) {
    switch (verdict) {
        case crossing_verdict::like_text: break;
        case crossing_verdict::too_few: return "Too few crossings";
        case crossing_verdict::mean_too_low: return "Mean too low";
        case crossing_verdict::mean_too_high: return "Mean too high";
        case crossing_verdict::variance_too_high: return "Variance too high";
    }
    return {};
}

}  // namespace

row_scanner::row_scanner(const text_engine& engine)
    : engine_(engine),
      columns_(static_cast<std::int32_t>(width_of(engine.crop))),
      first_(std::max(engine.crop.left - reach, 0)),
      last_(std::min(engine.crop.right + reach, engine.width - 2)) {
    const auto columns = static_cast<std::size_t>(columns_);
    const std::size_t padded = columns + std::size_t{2} * reach;
    gradient_.resize(padded);
    for (auto* extremes : {&low_3_, &high_3_, &low_7_, &high_7_}) {
        extremes->resize(padded);
    }
    active_.resize(columns);
    marks_.resize(columns);
    falls_.resize(columns + 1);
    rises_.resize(columns + 1);
}

std::int32_t row_scanner::scan(std::int32_t y, std::vector<text_segment>& segments) {
    const checkpoints& checkpoint = engine_.checkpoint;
    const bool may_be_active = take_gradient(engine_.pp_plane.row(y));
    checkpoint("Gradient", rect{first_, y, last_, y});
    if (!may_be_active) return 0;
    find_active();
    find_runs();
    if (runs_.empty()) return 0;
    mark_crossings();
    report("Potential text segments", y, runs_);

    std::int32_t covered = 0;
    valid_.clear();
    invalid_.clear();
    for (const run& each : runs_) {
        const bool valid = is_like_text(each, y);
        (valid ? valid_ : invalid_).push_back(each);
        if (!valid) continue;
        const rect place = rect_of(each, y);
        segments.push_back({place.left, place.right, y});
        covered += place.right - place.left + 1;
    }
    report("Invalid text segments", y, invalid_);
    report("Valid text segments", y, valid_);
    return covered;
}

// Tells whether any window of the row can be active. Left and right of the columns that count the
// outermost gradients are repeated, which changes the extremes of no window.
bool row_scanner::take_gradient(const std::uint8_t* row) {
    const std::int32_t origin = engine_.crop.left - reach;
    const std::int32_t count = last_ - first_ + 1;
    const std::uint8_t* __restrict levels = row + first_;
    std::int16_t* __restrict out = gradient_.data() + (first_ - origin);
    std::int16_t low = 255;
    std::int16_t high = -255;
    for (std::int32_t i = 0; i < count; ++i) {
        const auto difference = static_cast<std::int16_t>(levels[i] - levels[i + 1]);
        out[i] = difference;
        low = std::min(low, difference);
        high = std::max(high, difference);
    }
    std::fill(gradient_.data(), out, out[0]);
    std::fill(out + count, gradient_.data() + gradient_.size(), out[count - 1]);
    return high - low > least_activity;
}

void row_scanner::find_active() {
    take_extremes(gradient_.data(), gradient_.data(), columns_ + 18, 1, 2, low_3_.data(),
                  high_3_.data());
    take_extremes(low_3_.data(), high_3_.data(), columns_ + 14, 3, 4, low_7_.data(),
                  high_7_.data());
    const std::int16_t* __restrict low = low_7_.data();
    const std::int16_t* __restrict high = high_7_.data();
    std::uint8_t* __restrict active = active_.data();
    const std::int32_t count = columns_;
    for (std::int32_t i = 0; i < count; ++i) {
        const std::int16_t lowest = std::min(std::min(low[i], low[i + 7]), low[i + 14]);
        const std::int16_t highest = std::max(std::max(high[i], high[i + 7]), high[i + 14]);
        active[i] = static_cast<std::int16_t>(highest - lowest) > least_activity ? 1 : 0;
    }
}

void row_scanner::find_runs() {
    runs_.clear();
    std::int32_t left = find_flag(active_, 0, 1);
    while (left < columns_) {
        const std::int32_t end = find_flag(active_, left, 0);
        runs_.push_back({left, end - 1});
        left = find_flag(active_, end, 1);
    }
}

// Marks where stretches of strong gradients begin. A stretch that reaches into the crop from the
// left does not begin in it, even if the columns left of it are too inactive to count.
void row_scanner::mark_crossings() {
    const std::int16_t* __restrict gradient = gradient_.data() + reach;
    const std::int16_t* __restrict before = gradient - 1;
    std::uint8_t* __restrict marks = marks_.data();
    const std::int32_t count = columns_;
    for (std::int32_t i = 0; i < count; ++i) {
        // Without branches, or the compiler would go from column to column.
        const int falls = (gradient[i] < -strong_gradient) & (before[i] >= -strong_gradient);
        const int rises = (gradient[i] > strong_gradient) & (before[i] <= strong_gradient);
        marks[i] = static_cast<std::uint8_t>(falls * falling | rises * rising);
    }
    if (first_ < engine_.crop.left) return;
    marks[0] = gradient[0] < -strong_gradient  ? falling
               : gradient[0] > strong_gradient ? rising
                                               : 0;
}

bool row_scanner::is_like_text(const run& stretch, std::int32_t y) {
    const std::uint8_t* __restrict marks = marks_.data();
    std::int32_t* __restrict falls = falls_.data();
    std::int32_t* __restrict rises = rises_.data();
    std::size_t fall_count = 0;
    std::size_t rise_count = 0;
    for (std::int32_t x = stretch.left; x <= stretch.right; ++x) {
        // What is no crossing is overwritten by the next.
        falls[fall_count] = x;
        fall_count += marks[x] & falling;
        rises[rise_count] = x;
        rise_count += marks[x] / rising;
    }
    return passes(judge_crossings({falls, fall_count}), stretch, y) &&
           passes(judge_crossings({rises, rise_count}), stretch, y);
}

bool row_scanner::passes(crossing_verdict verdict, const run& stretch, std::int32_t y) const {
    if (verdict == crossing_verdict::like_text) return true;
    engine_.checkpoint(label_of(verdict), rect_of(stretch, y));
    return false;
}

rect row_scanner::rect_of(const run& stretch, std::int32_t y) const {
    return {engine_.crop.left + stretch.left, y, engine_.crop.left + stretch.right, y};
}

void row_scanner::report(std::string_view label, std::int32_t y,
                         const std::vector<run>& runs) const {
    if (!engine_.checkpoint.wanted() || runs.empty()) return;
    std::vector<rect> places;
    places.reserve(runs.size());
    for (const run& each : runs) places.push_back(rect_of(each, y));
    engine_.checkpoint(label, places);
}

void scan_rows(text_engine& engine, row_segments& segments) {
    engine.covered_columns = 0;
    engine.segment_density = 0.0;
    row_scanner scanner(engine);
    const rect crop = engine.crop;
    std::int64_t scanned = 0;
    for (std::int32_t y = crop.top; y <= crop.bottom; y += coarse_step) {
        engine.covered_columns += scanner.scan(y, segments.of(y));
        scanned += width_of(crop);
    }
    if (engine.covered_columns / static_cast<double>(scanned) < least_coarse_density) return;
    for (std::int32_t y = crop.top; y <= crop.bottom; ++y) {
        if ((y - crop.top) % coarse_step == 0) continue;
        engine.covered_columns += scanner.scan(y, segments.of(y));
    }
    engine.segment_density = engine.covered_columns / static_cast<double>(area_of(crop));
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
