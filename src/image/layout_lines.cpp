#include "image/layout_lines.h"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <utility>

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

constexpr std::int32_t narrowest_line = 16;
constexpr std::int32_t lowest_line = 5;

// Rows that are not poor in text, where more than four of them follow each other.
std::vector<stretch> text_rows(const background_map& background, const rect& area, int percent) {
    std::vector<stretch> found;
    const std::int64_t enough = percent * width_of(area);
    std::int32_t first = area.top;
    const auto end_at = [&](std::int32_t y) {
        if (y - first >= lowest_line) found.push_back({first, y - 1});
        first = y + 1;
    };
    for (std::int32_t y = area.top; y <= area.bottom; ++y) {
        const std::int64_t clear = background.background_in_row(y, area.left, area.right);
        if (clear * 100 >= enough) end_at(y);
    }
    end_at(area.bottom + 1);
    return found;
}

rect with_rows(const rect& area, const stretch& rows) {
    return {area.left, rows.first, area.right, rows.last};
}

// The lines of a leaf by rows alone. What lies between lines far apart has no stretch that is high
// enough for a line, and is taken as one line whole.
std::vector<stretch> rows_of_lines(const background_map& background, const rect& leaf) {
    constexpr int poor_in_text = 93;
    constexpr std::int32_t left_out = 6;
    const std::vector<stretch> text = text_rows(background, leaf, poor_in_text);
    if (text.empty()) return {{leaf.top, leaf.bottom}};
    std::vector<stretch> lines;
    for (const stretch& line : text) {
        if (!lines.empty() && line.first - lines.back().last > widest_leading) {
            lines.push_back({lines.back().last + 1 + left_out, line.first - 1 - left_out});
        }
        lines.push_back(line);
    }
    return lines;
}

bool is_noise(const stretch& piece, std::int32_t space_behind) {
    return space_behind >= 6 && (space_behind > piece.length() || piece.length() <= 4);
}

// The columns from the first to the last piece of text, less one piece of noise at either end.
// False if there is no text.
bool fit_columns(const background_map& background, rect& line) {
    const std::vector<stretch> pieces = background.columns(line, 0);
    if (pieces.empty()) return false;
    const auto space = [&](std::size_t index) {  // behind the piece
        return pieces[index + 1].first - pieces[index].last - 1;
    };
    std::size_t first = 0;
    std::size_t last = pieces.size() - 1;
    if (first < last && is_noise(pieces[first], space(first))) ++first;
    if (first < last && is_noise(pieces[last], space(last - 1))) --last;
    line.left = pieces[first].first;
    line.right = pieces[last].last;
    return true;
}

bool is_kept(const scan_area& line) {
    return height_of(line.box) >= lowest_line && width_of(line.box) >= narrowest_line;
}

std::vector<scan_area> refined(const background_map& background,
                               const std::vector<scan_area>& lines) {
    constexpr int poor_in_text = 85;
    constexpr int rather_poor_in_text = 75;
    word_rows rows = find_word_rows(background, lines, poor_in_text);
    if (rows.lines.size() < 3 * rows.divided) {
        rows = find_word_rows(background, lines, rather_poor_in_text);
    }
    std::erase_if(rows.lines, [](const scan_area& line) { return !is_kept(line); });
    return std::move(rows.lines);
}

}  // namespace

std::vector<rect> cut_into_leaves(const background_map& background,
                                  const std::vector<rect>& pieces) {
    constexpr std::int32_t widest_space = 16;
    std::vector<rect> leaves;
    std::vector<rect> waiting(pieces.rbegin(), pieces.rend());  // the next one last
    while (!waiting.empty()) {
        const rect piece = waiting.back();
        waiting.pop_back();
        const std::vector<stretch> columns = background.columns(piece, widest_space);
        if (columns.empty()) continue;
        const std::vector<stretch> rows = background.rows(piece, widest_space);
        const rect trimmed{columns.front().first, rows.front().first, columns.back().last,
                           rows.back().last};
        if (width_of(trimmed) < narrowest_area || height_of(trimmed) < lowest_area) continue;
        if (columns.size() > 1) {
            for (auto part = columns.rbegin(); part != columns.rend(); ++part) {
                waiting.push_back({part->first, trimmed.top, part->last, trimmed.bottom});
            }
        } else if (rows.size() > 1) {
            for (auto part = rows.rbegin(); part != rows.rend(); ++part) {
                waiting.push_back(with_rows(trimmed, *part));
            }
        } else {
            leaves.push_back(trimmed);
        }
    }
    return leaves;
}

std::vector<scan_area> find_lines(const background_map& background, const rect& leaf) {
    std::vector<scan_area> lines;
    for (const stretch& rows : rows_of_lines(background, leaf)) {
        scan_area line;
        line.box = with_rows(leaf, rows);
        if (fit_columns(background, line.box) && width_of(line.box) >= narrowest_line) {
            lines.push_back(std::move(line));
        }
    }
    return lines;
}

word_rows find_word_rows(const background_map& background, const std::vector<scan_area>& lines,
                         int percent) {
    word_rows result;
    for (const scan_area& line : lines) {
        const std::size_t before = result.lines.size();
        for (const stretch& rows : text_rows(background, line.box, percent)) {
            scan_area part;
            part.box = with_rows(line.box, rows);
            if (background.trim_columns(part.box)) result.lines.push_back(std::move(part));
        }
        const std::size_t parts = result.lines.size() - before;
        if (parts == 0) result.lines.push_back(line);
        if (parts > 1) ++result.divided;
    }
    return result;
}

std::vector<scan_area> group_into_areas(std::vector<scan_area> lines) {
    std::vector<scan_area> areas;
    for (scan_area& line : lines) {
        if (areas.empty() || line.box.top - areas.back().lines.back().box.bottom > widest_leading) {
            areas.emplace_back().box = line.box;
        }
        scan_area& area = areas.back();
        area.box = hull_of(area.box, line.box);
        area.lines.push_back(std::move(line));
    }
    return areas;
}

std::vector<scan_area> areas_of_leaves(const background_map& background,
                                       const std::vector<rect>& leaves) {
    constexpr std::size_t fewest_lines = 8;
    std::vector<std::vector<scan_area>> found;
    std::size_t line_count = 0;
    for (const rect& leaf : leaves) {
        line_count += found.emplace_back(find_lines(background, leaf)).size();
    }
    std::vector<scan_area> areas;
    if (line_count < fewest_lines) return areas;
    for (const std::vector<scan_area>& lines : found) {
        std::vector<scan_area> of_leaf = group_into_areas(refined(background, lines));
        areas.insert(areas.end(), std::make_move_iterator(of_leaf.begin()),
                     std::make_move_iterator(of_leaf.end()));
    }
    return areas;
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
