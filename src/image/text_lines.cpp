#include "image/text_lines.h"

#include <cstdint>

#include "image/background.h"
#include "image/blocks.h"
#include "image/components.h"
#include "image/line_bounds.h"
#include "image/line_repair.h"
#include "image/reading_order.h"
#include "image/tall_lines.h"
#include "image/words.h"

namespace brindlemoss::analysis::plugins::image_analysis {

namespace {

void make_raw_lines(text_engine& engine) {
    for (const rect& region : engine.regions) engine.lines.emplace_back(region);
    engine.checkpoint("Raw text lines", engine.regions);
    sort_in_reading_order(engine.lines, [](const text_line& line) { return line.box; });
}

void count_lines(text_engine& engine) {
    std::int64_t area = 0;
    for (text_line& line : engine.lines) {
        if (!line.valid) continue;
        if (line.valid_words.empty()) {
            line.valid = false;
            continue;
        }
        engine.valid_line_count += 1;
        engine.valid_word_count += static_cast<std::int32_t>(line.valid_words.size());
        area += area_of(line.box);
    }
    engine.text_area = static_cast<std::int32_t>(area);
    engine.text_fraction =
        static_cast<double>(engine.text_area) / static_cast<double>(area_of(engine.crop));
}

bool reads_like_text(const text_engine& engine) {
    constexpr std::int32_t fewest_lines = 2;
    constexpr std::int32_t fewest_words = 16;
    constexpr double fewest_words_a_line = 2.0;
    return engine.valid_line_count >= fewest_lines && engine.valid_word_count >= fewest_words &&
           static_cast<double>(engine.valid_word_count) / engine.valid_line_count >=
               fewest_words_a_line;
}

}  // namespace

void find_text_lines(text_engine& engine) {
    constexpr double least_background = 0.6;
    if (engine.regions.size() < 2) return engine.stop_with(few_raw_lines);
    measure_background(engine);
    if (engine.background_fraction < least_background) return engine.stop_with(little_background);
    make_raw_lines(engine);
    repair_lines(engine);
    split_tall_lines(engine);
    find_blocks(engine.lines, engine.blocks, engine.checkpoint);
    if (!bound_lines(engine)) {
        engine.keep_going = false;
        return;
    }
    find_components(engine);
    filter_components(engine);
    split_wide_lines(engine);
    group_blocks(engine);
    find_words(engine);
    count_lines(engine);
    if (!reads_like_text(engine)) engine.keep_going = false;
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
