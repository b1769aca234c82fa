#include "image/components.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "image/label_map.h"
#include "image/line_lists.h"

namespace brindlemoss::analysis::plugins::image_analysis {

namespace {

constexpr std::size_t is_right = 0;  // rather than the number of what is wrong with a component

std::size_t fault_of_raw(const rect& box, const text_line& line) {
    const std::int64_t width = width_of(box);
    const bool full_height = height_of(box) >= height_of(line.bounding_box);
    if (full_height && box.right >= line.box.right) return 1;
    if (full_height && box.left <= line.box.left) return 2;
    if (full_height && width > 60) return 3;
    if (width >= width_of(line.box)) return 4;
    if (width > 100) return 5;
    return is_right;
}

std::size_t fault_of_glyph(const rect& box, const text_line& line) {
    const std::int64_t width = width_of(box);
    if (width < 3 && height_of(box) < 3) return 1;
    if (width >= width_of(line.box)) return 2;
    if (width > 149) return 3;
    return is_right;
}

// Marks each by its fault and reports them under the label of that.
template <typename component_range, std::size_t label_count>
void mark_faulty(component_range& components, const text_line& line,
                 std::size_t (*fault_of)(const rect&, const text_line&),
                 const std::array<std::string_view, label_count>& labels,
                 const checkpoints& checkpoint) {
    std::array<std::vector<rect>, label_count> reported;
    for (component& each : components) {
        if (!each.valid) continue;
        const std::size_t fault = fault_of(each.box, line);
        each.valid = fault == is_right;
        if (checkpoint.wanted()) reported[fault].push_back(each.box);
    }
    for (std::size_t fault = 1; fault <= label_count; ++fault) {
        const std::size_t place = fault % label_count;  // the good ones last
        if (!reported[place].empty()) checkpoint(labels[place], reported[place]);
    }
}

bool touch_in_x(const rect& a, const rect& b) {
    return horizontal_gap(a, b) <= 1;
}

void sort_components(std::list<component>& components) {
    sort_in_reading_order(components,
                          [](const component& each) -> const rect& { return each.box; });
}

template <typename map_of_labels>
void find_components_of(const text_engine& engine, const std::list<text_line*>& lines) {
    map_of_labels map(engine.pp_plane, engine.background_levels);
    const std::vector<bool> needed = needed_later(lines);
    std::size_t number = 0;
    for (text_line* line : lines) {
        const std::span<component> raw = map.label_line(*line, needed[number++]);
        if (engine.checkpoint.wanted()) engine.checkpoint("Raw components", boxes_of(raw));
        classify_components(*line, raw, engine.checkpoint);
        line->components = merge_components(raw);
        sort_components(line->components);
        if (line->components.size() == 1 &&
            area_of(line->components.front().box) > area_of(line->box)) {
            engine.checkpoint("Invalid merged components #1", line->components.front().box);
            line->components.clear();
            line->valid = false;
            continue;
        }
        // The order is not transitive, so that what is sorted once may not stay as it is.
        sort_components(line->components);
        if (engine.checkpoint.wanted()) {
            engine.checkpoint("Valid merged components", boxes_of(line->components));
        }
    }
}

}  // namespace

void find_components(text_engine& engine) {
    std::list<text_line*> lines = valid_lines(engine.lines);
    sort_in_reading_order(lines);
    if (fit_small_labels(lines)) {
        find_components_of<small_label_map>(engine, lines);
    } else {
        find_components_of<label_map>(engine, lines);
    }
}

void classify_components(const text_line& line, std::span<component> components,
                         const checkpoints& checkpoint) {
    constexpr std::array<std::string_view, 6> labels = {
        "Raw valid components",      "Raw invalid components #1", "Raw invalid components #2",
        "Raw invalid components #3", "Raw invalid components #4", "Raw invalid components #5"};
    mark_faulty(components, line, fault_of_raw, labels, checkpoint);
}

std::list<component> merge_components(std::span<const component> components) {
    struct piece {
        rect box;
        std::size_t last;
    };
    std::vector<piece> pieces;
    for (std::size_t number = 0; number < components.size(); ++number) {
        if (components[number].valid) pieces.push_back({components[number].box, number});
    }
    std::sort(pieces.begin(), pieces.end(),
              [](const piece& a, const piece& b) { return a.box.left < b.box.left; });
    std::size_t merged = 0;
    for (std::size_t next = 1; next < pieces.size(); ++next) {
        if (touch_in_x(pieces[merged].box, pieces[next].box)) {
            pieces[merged].box = hull_of(pieces[merged].box, pieces[next].box);
            pieces[merged].last = std::max(pieces[merged].last, pieces[next].last);
        } else {
            pieces[++merged] = pieces[next];
        }
    }
    if (!pieces.empty()) pieces.resize(merged + 1);
    // Adding one component after the other, the last of each would have moved it to the end.
    std::sort(pieces.begin(), pieces.end(),
              [](const piece& a, const piece& b) { return a.last < b.last; });
    std::list<component> result;
    for (const piece& each : pieces) result.push_back({each.box});
    return result;
}

void filter_components(text_engine& engine) {
    constexpr std::array<std::string_view, 4> labels = {"Valid CC", "Invalid CC 1", "Invalid CC 2",
                                                        "Invalid CC 3"};
    std::list<text_line*> lines = valid_lines(engine.lines);
    sort_in_reading_order(lines);
    for (text_line* line : lines) {
        mark_faulty(line->components, *line, fault_of_glyph, labels, engine.checkpoint);
        collect_glyphs(*line);
        line->box = hull_of_glyphs(*line);
    }
}

void collect_glyphs(text_line& line) {
    line.glyphs.clear();
    for (component& each : line.components) {
        if (each.valid) line.glyphs.push_back(&each);
    }
    line.glyphs.sort(
        [](const component* a, const component* b) { return a->box.left < b->box.left; });
}

rect hull_of_glyphs(const text_line& line) {
    rect hull = inverted_rect;
    for (const component* glyph : line.glyphs) hull = hull_of(hull, glyph->box);
    return hull;
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
