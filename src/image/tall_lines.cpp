#include "image/tall_lines.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <list>
#include <optional>
#include <string_view>
#include <vector>

#include "image/line_groups.h"
#include "image/line_lists.h"
#include "image/line_measures.h"
#include "image/row_profile.h"

namespace brindlemoss::analysis::plugins::image_analysis {

namespace {

// How many lines of the usual height a big line may be, 0 if none.
std::int32_t lines_in(std::int32_t height, std::int32_t usual_height) {
    constexpr std::int32_t near = 2;
    for (const std::int32_t count : {2, 3}) {
        if (std::abs(usual_height - height / count) <= near) return count;
    }
    return 0;
}

void report_rows(const text_engine& engine, std::string_view label, const rect& line,
                 const std::vector<row_range>& rows) {
    if (!engine.checkpoint.wanted()) return;
    std::vector<rect> parts;
    parts.reserve(rows.size());
    for (const row_range& each : rows) parts.push_back(part_of(line, each));
    engine.checkpoint(label, parts);
}

// As a bar chart over the line.
void report_profile(const text_engine& engine, std::string_view label, const rect& line,
                    const row_profile& profile) {
    if (!engine.checkpoint.wanted()) return;
    std::vector<rect> bars;
    for (const std::int32_t value : profile) {
        const std::int32_t y = line.top + static_cast<std::int32_t>(bars.size());
        bars.push_back({line.left, y, line.left + value - 1, y});
    }
    engine.checkpoint(label, bars);
}

std::vector<row_range> cut_at_midlines(const text_engine& engine, const rect& line,
                                       const row_profile& projection, std::int32_t parts) {
    const auto rows = static_cast<std::int32_t>(projection.size());
    std::vector<std::int32_t> cuts;
    for (std::int32_t part = 1; part < parts; ++part) {
        const std::int32_t midline = (rows - 1) * part / parts;
        cuts.push_back(true_midline(projection, midline));
        engine.checkpoint("Midline", part_of(line, {midline, midline}));
        engine.checkpoint("True midline", part_of(line, {cuts.back(), cuts.back()}));
    }
    std::vector<row_range> pieces = cut_rows(rows, cuts);
    report_rows(engine, "Raw split segments", line, pieces);
    return pieces;
}

// The rows of the lines in a big one; none if it had better stay as it is.
std::vector<row_range> find_lines_in(const text_engine& engine, const rect& line,
                                     std::int32_t parts, std::int32_t usual_height) {
    const row_profile projection = row_projection(engine.pp_plane, engine.background_levels, line);
    report_profile(engine, "Raw projection", line, projection);
    const std::vector<row_range> pieces = cut_at_midlines(engine, line, projection, parts);
    const row_profile profile = normalised(projection, pieces);
    report_profile(engine, "Normalized projection", line, profile);

    const std::optional<std::int32_t> waist = waist_of(profile);
    if (!waist) return {};
    const std::optional<std::int32_t> level = row_level(*waist);
    if (!level) return {};
    const std::vector<row_range> found = segments_above(profile, *level);
    report_rows(engine, "Found split segments", line, found);
    if (found.size() < static_cast<std::size_t>(parts)) return {};
    std::vector<row_range> kept = combined(found, line, engine.checkpoint);
    report_rows(engine, "Filtered segments", line, kept);
    if (kept.size() != static_cast<std::size_t>(parts) || !fit_height(kept, usual_height))
        return {};
    return kept;
}

void examine_lines(text_engine& engine, const line_group& group, std::int64_t usual_height) {
    for (text_line* line : group.lines) {
        examine_line(engine, *line, static_cast<std::int32_t>(usual_height));
    }
}

}  // namespace

void split_tall_lines(text_engine& engine) {
    engine.checkpoint(" magic 4");
    constexpr std::size_t enough_for_a_median = 3;
    const std::list<text_line*> lines = valid_lines(engine.lines);
    if (engine.checkpoint.wanted()) engine.checkpoint("Raw lines #5", boxes_of(lines));
    if (lines.empty()) return;
    const std::int64_t usual_everywhere = upper_median(heights_of(lines));
    for (const line_group& group : proximity_groups(lines, engine.checkpoint)) {
        const std::vector<std::int64_t> heights = heights_of(group.lines);
        const std::int64_t usual =
            heights.size() < enough_for_a_median ? usual_everywhere : upper_median(heights);
        const std::int64_t largest = *std::max_element(heights.begin(), heights.end());
        if (usual * 2 <= largest) examine_lines(engine, group, usual);
    }
}

void examine_line(text_engine& engine, text_line& line, std::int32_t usual_height) {
    constexpr std::int32_t near = 2;
    const rect box = line.box;
    const auto height = static_cast<std::int32_t>(height_of(box));
    if (std::abs(usual_height - height) <= near) return engine.checkpoint("Normal line", box);
    if (height < usual_height) return engine.checkpoint("Small line", box);
    engine.checkpoint("Big line", box);
    const std::int32_t parts = lines_in(height, usual_height);
    if (parts == 0) return;
    const std::vector<row_range> rows = find_lines_in(engine, box, parts, usual_height);
    if (rows.empty()) return;
    report_rows(engine, "Correctable line 2", box, rows);
    line.valid = false;
    for (const row_range& each : rows) engine.lines.emplace_back(part_of(box, each));
    engine.corrected = true;
    engine.correction_kinds |= correctable_line_2;
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
