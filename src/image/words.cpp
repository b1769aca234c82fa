#include "image/words.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <list>
#include <utility>
#include <vector>

#include "image/blocks.h"
#include "image/components.h"
#include "image/line_groups.h"
#include "image/line_lists.h"
#include "image/statistics.h"

namespace brindlemoss::analysis::plugins::image_analysis {

namespace {

using glyph_place = std::list<component*>::const_iterator;

constexpr std::int32_t widest_gap = 24;  // empty columns between glyphs of one line

void add_piece(text_engine& engine, const text_line& cut, glyph_place first, glyph_place end) {
    const rect& last_box = (*std::prev(end))->box;
    text_line& piece = engine.lines.emplace_back(
        rect{(*first)->box.left, cut.box.top, last_box.right, cut.box.bottom});
    for (glyph_place glyph = first; glyph != end; ++glyph) piece.components.push_back(**glyph);
    collect_glyphs(piece);
    if (engine.checkpoint.wanted()) engine.checkpoint("SL glyphs", boxes_of(piece.glyphs));
    piece.box = hull_of_glyphs(piece);
    engine.checkpoint("New line", piece.box);
}

void split_wide_line(text_engine& engine, text_line& line) {
    glyph_place first = line.glyphs.begin();
    for (glyph_place glyph = std::next(first); glyph != line.glyphs.end(); ++glyph) {
        const rect& before = (*std::prev(glyph))->box;
        const rect& box = (*glyph)->box;
        if (box.left - before.right - 1 <= widest_gap) continue;
        if (line.valid) engine.checkpoint("Split line", line.box);
        engine.checkpoint("Split point",
                          rect{before.right + 1, line.box.top, box.left - 1, line.box.bottom});
        line.valid = false;
        add_piece(engine, line, first, glyph);
        first = glyph;
    }
    if (!line.valid) add_piece(engine, line, first, line.glyphs.end());
}

// Groups the lines of the block that stand side by side.
void find_meta_lines(block& each, const checkpoints& checkpoint) {
    for (line_group& group : horizontal_groups(each.lines, checkpoints())) {
        const text_line* const seed = group.lines.front();
        checkpoint("Meta line seed", seed->box);
        for (text_line* line : group.lines) {
            line->visited = true;
            if (line != seed) checkpoint("Meta line tail", line->box);
        }
        sort_in_reading_order(group.lines);
        each.meta_lines.push_back(
            {.box = group.hull, .lines = std::move(group.lines), .seeded = true});
    }
}

// From the last column of each glyph to the first of the next, over all lines of the block.
running_statistics measure_gaps(const block& each) {
    running_statistics gaps;
    for (const text_line* line : each.lines) {
        const component* before = nullptr;
        for (const component* glyph : line->glyphs) {
            if (before != nullptr && glyph->box.left > before->box.right) {
                gaps.add(glyph->box.left - before->box.right);
            }
            before = glyph;
        }
    }
    return gaps;
}

void cut_into_words(text_line& line, std::int32_t widest_within, const checkpoints& checkpoint) {
    const component* before = nullptr;
    for (const component* glyph : line.glyphs) {
        const rect& box = glyph->box;
        if (before == nullptr || box.left - before->box.right > widest_within) {
            if (before != nullptr) {
                checkpoint("Word separators", rect{before->box.right + 1, line.box.top,
                                                   box.left - 1, line.box.bottom});
            }
            line.words.push_back({box});
        }
        rect& word = line.words.back().box;
        word.top = std::min(word.top, box.top);
        word.right = box.right;
        word.bottom = std::max(word.bottom, box.bottom);
        before = glyph;
    }
    if (checkpoint.wanted()) checkpoint("Words", boxes_of(line.words));
}

void validate_words(text_line& line, const checkpoints& checkpoint) {
    for (component& word : line.words) {
        if (height_of(word.box) < 4) {
            word.valid = false;
            checkpoint("Invalid words - h", word.box);
        } else if (width_of(word.box) < 5) {
            word.valid = false;
            checkpoint("Invalid words - w", word.box);
        } else {
            line.valid_words.push_back(&word);
        }
    }
    if (checkpoint.wanted()) checkpoint("Valid words", boxes_of(line.valid_words));
}

void find_words_of(block& each, const checkpoints& checkpoint) {
    if (checkpoint.wanted()) checkpoint("Raw lines #4", boxes_of(each.lines));
    const running_statistics gaps = measure_gaps(each);
    if (gaps.variance() <= 1.0) {
        for (text_line* line : each.lines) line->words.push_back({line->box});
        if (checkpoint.wanted()) {
            checkpoint("Words", boxes_of(each.lines));
            checkpoint("Words (single)", boxes_of(each.lines));
        }
        return;
    }
    const auto threshold =
        static_cast<std::int32_t>(0.4 * std::sqrt(gaps.variance()) + gaps.mean() - 0.5);
    for (text_line* line : each.lines) {
        cut_into_words(*line, threshold, checkpoint);
        validate_words(*line, checkpoint);
    }
}

}  // namespace

void split_wide_lines(text_engine& engine) {
    std::size_t left = engine.lines.size();  // the new ones need no second look
    for (auto line = engine.lines.begin(); left > 0; ++line, --left) {
        if (line->valid && line->glyphs.size() > 1) split_wide_line(engine, *line);
    }
}

void group_blocks(text_engine& engine) {
    const checkpoints& checkpoint = engine.checkpoint;
    if (checkpoint.wanted()) {
        const std::list<text_line*> lines = valid_lines(engine.lines);
        std::list<component*> glyphs;
        for (const text_line* line : lines) {
            glyphs.insert(glyphs.end(), line->glyphs.begin(), line->glyphs.end());
        }
        checkpoint("Raw lines #3", boxes_of(lines));
        checkpoint("Raw glyphs #3", boxes_of(glyphs));
    }
    engine.blocks.clear();
    find_blocks(engine.lines, engine.blocks, checkpoint);
    if (checkpoint.wanted()) checkpoint("Blocks", boxes_of(engine.blocks));
    for (block& each : engine.blocks) {
        sort_in_reading_order(each.lines);
        if (checkpoint.wanted()) checkpoint("Block lines", boxes_of(each.lines));
        find_meta_lines(each, checkpoint);
    }
}

void find_words(text_engine& engine) {
    for (block& each : engine.blocks) find_words_of(each, engine.checkpoint);
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
